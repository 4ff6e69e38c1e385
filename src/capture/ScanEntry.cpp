#include "capture/ScanEntry.h"

#include "capture/ScanChoices.h"
#include "base/FileTools.h"
#include "base/Prompter.h"
#include "data/Session.h"
#include "data/Settings.h"
#include "base/TextTools.h"
#include "store/ImageStore.h"
#include "store/ReportTags.h"
#include "store/ScannerSession.h"

#include <QFileInfo>

namespace tarlox {

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
    s.pageSizeCode = fields.pageSizeCode;
    const QString dpi = fields.dpi ? QString::number(*fields.dpi) : ReadResolutionChoice(s).dpiFor(fields.highResolution);

    InfoRecord& info = s.info;
    info.heat = fields.heat;
    info.part = fields.part;
    info.po = fields.po;
    info.vend = SpaceIfEmpty(fields.vend);
    info.mfg = SpaceIfEmpty(fields.mfg);

    // The entry is checked before the operator is asked to load the paper:
    // a missing heat is found before the report lies in the feeder.
    if (!GetInfoFieldLengths(s) || !ValidateInfo(s, fields.duplicates)) {
        result.outcome = Outcome::Refused;
        return result;
    }
    if (s.prompter().ask(QStringLiteral("Prepare to Scan"), QStringLiteral("Put the Test Report in the Scanner"), Buttons::OkCancel,
                         Icon::Critical)
        == Answer::Cancel)
        return result;

    // The tags carry the fields as typed, blanks included.
    const ReportTags tags = ReportTags::forReport(fields.heat, fields.part, fields.po, fields.vend, fields.mfg);
    ScanSettings settings = ScanSettings::read(s, IntVal(dpi), fields.brightness, s.pageSizeCode);
    if (fields.device)
        settings.device = *fields.device;
    if (fields.useAdf)
        settings.useAdf = *fields.useAdf;

    // The scan is the page writer of the one way a report is stored: the
    // image row and its references are added only once the file is in place.
    StoreOptions options;
    options.validated = true;
    options.onStep = [this](const QString& label) { setStep(label); };
    options.keepWorkFile = true;
    const auto scanInto = [&](const QString& workFile) {
        ScannerSession scanner(s, ScanProfile::forScanEntry(workFile, tags, s.imageFilePath), settings);
        scanner_ = &scanner;
        if (prepareScanner)
            prepareScanner(scanner);
        scanner.Scan();
        scanner_ = nullptr;
        // Whatever the scan said, the work file decides.
        return QFileInfo::exists(workFile);
    };
    const StoreResult stored = SaveMTR(s, IntVal(dpi), scanInto, options);
    switch (stored.outcome) {
    case StoreResult::Outcome::Refused: result.outcome = Outcome::Refused; break;
    case StoreResult::Outcome::NoNumber: result.outcome = Outcome::NoNumber; break;
    case StoreResult::Outcome::NotCreated: result.outcome = Outcome::NotCreated; break;
    case StoreResult::Outcome::NotIndexed: result.outcome = Outcome::NotIndexed; break;
    case StoreResult::Outcome::Stored: result.outcome = Outcome::Stored; break;
    }
    result.imageNumber = stored.imageNumber;
    return result;
}

}  // namespace tarlox
