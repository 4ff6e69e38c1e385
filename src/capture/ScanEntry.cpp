#include "capture/ScanEntry.h"

#include "capture/ScanChoices.h"
#include "data/ImageData.h"
#include "data/InfoData.h"
#include "startup/FileTools.h"
#include "startup/Prompter.h"
#include "startup/Session.h"
#include "startup/Settings.h"
#include "startup/TextTools.h"
#include "store/ImageStore.h"
#include "store/ReportTags.h"
#include "store/ScannerSession.h"

#include <QFileInfo>

namespace tarlox {

namespace {
const QString kInfo = QStringLiteral("Info");
}

ScanEntry::ScanEntry(Session& session, QObject* parent)
    : QObject(parent)
    , session_(session)
{
}

void ScanEntry::setStep(const QString& label)
{
    step_ = label;
    Q_EMIT stepChanged(label);
}

ScanEntry::Result ScanEntry::cmdScan_Click(const ScanEntryFields& fields)
{
    Session& s = session_;
    s.traceCall(QStringLiteral("cmdScan_Click"));
    setStep({});
    Result result;
    if (s.prompter().ask(QStringLiteral("Prepare to Scan"), QStringLiteral("Put the Test Report in the Scanner"), Buttons::OkCancel,
                         Icon::Critical)
        == Answer::Cancel)
        return result;

    // The connection stays open through the sequence and is closed once at the end.
    struct CloseAtEnd {
        Session& session;
        ~CloseAtEnd() { session.db().close(); }
    } closeAtEnd{s};

    s.pageSizeCode = fields.pageSizeCode;
    const QString dpi = fields.dpi ? QString::number(*fields.dpi) : ReadResolutionChoice(s).dpiFor(fields.highResolution);

    const QDateTime now = s.now();
    ImageRecord& image = s.image;
    image.imageNumber = s.currentImage;
    image.path = s.storedPath;
    image.volumeId = s.dataVolume;
    image.entryDate = now;
    image.size = s.pageSizeCode;
    image.type = QStringLiteral("4");
    InfoRecord& info = s.info;
    info.heat = fields.heat;
    info.part = fields.part;
    info.po = fields.po;
    info.vend = SpaceIfEmpty(fields.vend);
    info.mfg = SpaceIfEmpty(fields.mfg);
    info.entryDate = now;
    info.imageNumber = s.currentImage;

    const bool valid = ValidateInfo(s, true);
    GetInfoFieldLengths(s, true);
    if (!valid) {
        result.outcome = Outcome::Refused;
        return result;
    }

    setStep(QStringLiteral("GetNextImage"));
    if (!GetNextImage(s, true)) {
        result.outcome = Outcome::NoNumber;
        return result;
    }
    s.imageFileName = s.imageFileName.trimmed();
    image.imageNumber = info.imageNumber = s.currentImage;
    image.path = s.storedPath;
    result.imageNumber = s.currentImage;

    PutLocal(s, kInfo, QStringLiteral("Last Image"), s.imageFileName);
    PutLocal(s, kInfo, QStringLiteral("ImageDir"), s.storedPath);
    PutLocal(s, kInfo, QStringLiteral("Size"), s.pageSizeCode);
    PutLocal(s, kInfo, QStringLiteral("DPI"), dpi);

    if (!AddImage(s, false, true)) {
        result.outcome = Outcome::NoImageRow;
        return result;
    }
    setStep(QStringLiteral("Scanning"));

    // The tags carry the fields as typed, blanks included.
    const ReportTags tags = ReportTags::forReport(fields.heat, fields.part, fields.po, fields.vend, fields.mfg);
    ScanSettings settings = ScanSettings::read(s, IntVal(dpi), fields.brightness, s.pageSizeCode);
    if (fields.device)
        settings.device = *fields.device;
    if (fields.useAdf)
        settings.useAdf = *fields.useAdf;
    {
        ScannerSession scanner(s, ScanProfile::forScanEntry(s.tempFilePath, tags, s.imageFilePath), settings);
        scanner_ = &scanner;
        if (prepareScanner)
            prepareScanner(scanner);
        scanner.Scan();
        scanner_ = nullptr;
    }

    // Whatever the scan said, the work file decides.
    const qint32 number = image.imageNumber;
    if (QFileInfo::exists(s.tempFilePath)) {
        setStep(QStringLiteral("Copy from Temp"));
        FromTemp(s);
        setStep(QStringLiteral("Add data"));
        if (AddInfoRecords(s, false, true)) {
            result.outcome = Outcome::Stored;
        } else {
            DeleteImage(s, number, true);
            KillFile(s.imageFilePath);
            result.outcome = Outcome::NotIndexed;
        }
    } else {
        setStep(QStringLiteral("Image not created"));
        s.prompter().ask(QStringLiteral("Error"), QStringLiteral("Image file was not created!"), Buttons::Ok, Icon::Exclamation);
        DeleteImage(s, number, true);
        s.currentImage = 0;
        result.outcome = Outcome::NotCreated;
    }
    return result;
}

}  // namespace tarlox
