#include "store/FileReplacement.h"
#include "capture/Rescan.h"

#include "capture/ScanChoices.h"
#include "data/ImageData.h"
#include "base/ErrorReport.h"
#include "base/FileTools.h"
#include "base/Prompter.h"
#include "data/Session.h"
#include "base/TextTools.h"
#include "store/ImageFiles.h"
#include "store/ScannerSession.h"

#include <QFileInfo>

namespace tarlox {

namespace {
const QString kError = QStringLiteral("Error");
}

Rescan::Rescan(Session& session, QObject* parent)
    : QObject(parent)
    , session_(session)
{
}

QString Rescan::targetPath() const
{
    return JoinPath(session_.storedPath, RescanPathOf(ImageFileNameFor(session_.currentImage)));
}

bool Rescan::Load(RescanChoices& choices)
{
    Session& s = session_;
    s.traceCall(QStringLiteral("frmRescn.Form_Load"));
    if (!ReadImage(s, s.currentImage)) {
        s.prompter().ask(kError, QStringLiteral("Can't Read Image"), Buttons::Ok, Icon::Critical);
        return false;
    }
    const QString size = s.image.size.trimmed();
    choices.pageSizeCode = size == QLatin1String("G") || size == QLatin1String("A") ? size : QStringLiteral(" ");
    // The form always opens on the low resolution.
    choices.highResolution = false;
    choices.brightness = DefaultBrightness(s);
    return true;
}

bool Rescan::cmdScan_Click(const RescanChoices& choices)
{
    Session& s = session_;
    s.traceCall(QStringLiteral("frmRescn.cmdScan_Click"));
    if (s.prompter().ask(QStringLiteral("Prepare to Scan"), QStringLiteral("Put the Test Report in the Scanner"), Buttons::OkCancel,
                         Icon::Critical)
        == Answer::Cancel)
        return false;

    const QString target = targetPath();
    const QString dpi = ReadResolutionChoice(s).dpiFor(choices.highResolution);
    // A "TM" file left by an earlier attempt must not lend its pages to this one.
    KillFile(target);
    {
        ScannerSession scanner(s, ScanProfile::forRescan(target), ScanSettings::read(s, IntVal(dpi), choices.brightness, choices.pageSizeCode));
        scanner_ = &scanner;
        if (prepareScanner)
            prepareScanner(scanner);
        scanner.Scan();
        scanner_ = nullptr;
    }

    if (!QFileInfo::exists(target)) {
        s.prompter().ask(kError, QStringLiteral("Image file '") + target + QStringLiteral("' was not created!"), Buttons::Ok, Icon::Exclamation);
        return false;
    }
    // One rename replaces the old file, so there is no moment without a file.
    if (const IoStatus placed = CommitWrittenFile(target, s.imageFilePath); !placed) {
        ReportError(s.prompter(), ErrorDetails{QStringLiteral("cmdScan_Click"), QStringLiteral("Replacing ") + s.imageFilePath, 75, placed.error()});
        return false;
    }
    s.pageSizeCode = choices.pageSizeCode;
    // Only the size changes: the row is read again so that nothing else in
    // it is written back from an older copy.
    bool updated = ReadImage(s, s.currentImage);
    if (updated) {
        s.image.size = choices.pageSizeCode;
        updated = UpdateImage(s, s.currentImage);
    }
    s.db().close();
    if (!updated)
        s.prompter().ask(kError, QStringLiteral("Can't update image size"), Buttons::Ok, Icon::Critical);
    return true;
}

}  // namespace tarlox
