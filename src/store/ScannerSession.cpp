#include "store/ScannerSession.h"

#include "base/ErrorReport.h"
#include "base/FileTools.h"
#include "data/Session.h"
#include "data/Settings.h"
#include "store/OffThread.h"
#include "store/SaneDevice.h"
#include "store/ScanCapabilities.h"
#include "store/TiffWriter.h"

#include <algorithm>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>

namespace tarlox {

namespace {

const QString kScannerError = QStringLiteral("Scanner Error");

// Sheets read ahead of the page being worked on: enough to keep the
// feeder moving while a page is worked on or a question is open.
constexpr size_t kSheetsAhead = 2;

}  // namespace

// The scanning thread of one feeder run and the sheets it has read.
struct ScannerSession::Feed {
    struct Sheet {
        QImage raw;
        SaneResult result;
        bool end = false;
    };

    std::mutex lock;
    std::condition_variable changed;
    std::deque<Sheet> sheets;
    std::thread thread;

    void push(Sheet sheet)
    {
        std::unique_lock<std::mutex> guard(lock);
        // The end always goes in, so the reader never waits for ever.
        if (!sheet.end)
            changed.wait(guard, [&] { return sheets.size() < kSheetsAhead; });
        sheets.push_back(std::move(sheet));
        changed.notify_all();
    }

    Sheet take()
    {
        std::unique_lock<std::mutex> guard(lock);
        changed.wait(guard, [&] { return !sheets.empty(); });
        Sheet sheet = std::move(sheets.front());
        sheets.pop_front();
        changed.notify_all();
        return sheet;
    }
};

ScanProfile ScanProfile::forScanEntry(const QString& workFile, const ReportTags& tags, const QString& imageFile)
{
    ScanProfile p;
    p.outputFile = workFile;
    p.tags = tags;
    p.sizeTestHelp = true;
    p.deleteOnCancel = imageFile;
    return p;
}

ScanProfile ScanProfile::forRescan(const QString& target)
{
    ScanProfile p;
    p.outputFile = target;
    p.deviceStepLabels = false;
    p.adfStepLabel = false;
    p.deleteOnCancel = target;
    return p;
}

ScanProfile ScanProfile::forPage()
{
    return ScanProfile{};
}

ScanSettings ScanSettings::read(Session& s, int dpi, int brightness, const QString& pageSizeCode)
{
    ScanSettings settings;
    settings.device = GetLocal(s, section::Info, QStringLiteral("Device")).trimmed();
    settings.dpi = dpi;
    settings.brightness = brightness;
    settings.pageSizeCode = pageSizeCode;
    settings.useAdf = GetLocalBool(s, section::Info, QStringLiteral("UseADF"));
    settings.showInvert = GetLocalBool(s, section::Info, QStringLiteral("ShowInvert"));
    settings.checkPalette = GetLocalBool(s, section::Info, QStringLiteral("CheckPalette"));
    settings.ignoreSize = GetLocalBool(s, section::Info, QStringLiteral("IgnoreSize"));
    settings.deskew = GetLocalBool(s, section::Info, QStringLiteral("Deskew"));
    settings.invert = GetLocalBool(s, section::Info, QStringLiteral("Invert"));
    settings.scannerInterface = s.scannerInterface;
    return settings;
}

ScannerSession::ScannerSession(Session& session, ScanProfile profile, ScanSettings settings, QObject* parent)
    : QObject(parent)
    , session_(session)
    , profile_(std::move(profile))
    , settings_(std::move(settings))
{
}

ScannerSession::~ScannerSession()
{
    if (device_)
        RunOffThread([this] { device_.reset(); });
}

void ScannerSession::setStep(const QString& label)
{
    step_ = label;
    Q_EMIT stepChanged(label);
}

QString ScannerSession::forDevice() const
{
    return QStringLiteral(" for ") + settings_.device;
}

void ScannerSession::requestStop()
{
    stop_ = true;
}

void ScannerSession::Scan()
{
    session_.traceCall(QStringLiteral("Scan"));
    if (scanning_)
        return;
    scanning_ = true;
    Q_EMIT scanningChanged(true);
    firstPage_ = true;
    scanDone_ = false;
    pagesSaved_ = 0;
    pagesShown_ = 0;
    firstPageRefused_ = false;
    checkResult_ = Answer::None;
    collected_.clear();
    session_.prompter().setBusy(true);
    frameLength_ = FrameLengthFor(settings_.pageSizeCode, profile_.singlePrecisionFrame);

    if (!openDevice() || !setUp(true)) {
        finish();
        return;
    }
    setStep(QStringLiteral("Scanning with ") + (settings_.scannerInterface ? QStringLiteral("True") : QStringLiteral("False")));
    const int sheets = collectOnly_ ? 1 : settings_.useAdf ? std::max(1, settings_.transferCount) : 1;
    bool go = true;
    if (settings_.scannerInterface && deviceDialog) {
        session_.prompter().setBusy(false);
        go = deviceDialog(*device_);
        session_.prompter().setBusy(true);
    }
    if (go)
        runPass(sheets);
    setStep(QStringLiteral("Waiting for scan to finish"));

    while (scanDone_ && !collectOnly_) {
        setStep(QStringLiteral("Scan finished"));
        if (!settings_.showInvert)
            checkResult_ = askScanCheck(nullptr);
        if (checkResult_ == Answer::Cancel) {
            if (!profile_.deleteOnCancel.isEmpty())
                KillFile(profile_.deleteOnCancel);
            break;
        }
        if (checkResult_ != Answer::Yes)
            break;
        firstPage_ = false;
        scanDone_ = false;
        if (!setUp(false))
            break;
        runPass(sheets);
    }
    finish();
}

std::optional<QImage> ScannerSession::ScanOnePage()
{
    collectOnly_ = true;
    Scan();
    collectOnly_ = false;
    if (collected_.isEmpty())
        return std::nullopt;
    return collected_.first();
}

void ScannerSession::finish()
{
    if (device_)
        RunOffThread([this] { device_.reset(); });
    session_.prompter().setBusy(false);
    scanning_ = false;
    Q_EMIT scanningChanged(false);
}

bool ScannerSession::openDevice()
{
    if (!settings_.device.isEmpty() && profile_.deviceStepLabels)
        setStep(QStringLiteral("Set device to ") + settings_.device);
    std::optional<IoResult<std::unique_ptr<SaneDevice>>> opened;
    const QString wanted = settings_.device;
    RunOffThread([&] { opened.emplace(SaneDevice::open(wanted)); });
    if (!*opened) {
        pageFailed(opened->error());
        return false;
    }
    device_ = std::move(*opened).value();
    return true;
}

bool ScannerSession::reportRejected(const QString& procedure, int status, const QString& text)
{
    ReportError(session_.prompter(), ErrorDetails{procedure, step_, status, text});
    return false;
}

bool ScannerSession::setUp(bool first)
{
    SaneDevice& device = *device_;
    SaneResult result;
    Dpi actual{double(settings_.dpi), double(settings_.dpi)};
    const auto run = [&](const std::function<SaneResult()>& call) {
        RunOffThread([&] { result = call(); });
        return result.ok();
    };
    const auto resolution = [&] { return ApplyResolution(device, settings_.dpi, &actual); };
    const auto brightness = [&] { return ApplyBrightness(device, settings_.brightness); };
    const auto duplexOff = [&] { return ApplyDuplexOff(device); };
    const auto frame = [&] { return ApplyFrame(device, kFrameWidth, frameLength_, actual.x); };
    const auto blackAndWhite = [&] { return ApplyBlackAndWhite(device); };
    const QString procedure = QStringLiteral("Scan");

    if (!first) {
        // Another pass: frame, pixel type, resolution, brightness and
        // duplex again; the feeder stays as set.
        actual = Dpi{dpiX_, dpiY_};
        if (!run(frame) || !run(blackAndWhite) || !run(resolution) || !run(brightness) || !run(duplexOff))
            return reportRejected(procedure, result.status, result.text);
        dpiX_ = actual.x;
        dpiY_ = actual.y;
        return true;
    }

    setStep(QStringLiteral("Set DPI to ") + QString::number(settings_.dpi) + forDevice());
    if (!run(resolution))
        return reportRejected(procedure, result.status, result.text);
    dpiX_ = actual.x;
    dpiY_ = actual.y;
    setStep(QStringLiteral("Set Brightness to ") + QString::number(settings_.brightness) + forDevice());
    if (!run(brightness) || !run(duplexOff))
        return reportRejected(procedure, result.status, result.text);
    setStep(QStringLiteral("Set Frame length to ") + NumberText(frameLength_, profile_.singlePrecisionFrame) + forDevice());
    scanDone_ = profile_.scanDoneAtStart;
    setStep(QStringLiteral("Set Frame for ") + settings_.device);
    if (!run(frame))
        return reportRejected(procedure, result.status, result.text);
    if (profile_.deviceStepLabels)
        setStep(QStringLiteral("Set Pixel type to B&W") + forDevice());
    if (!run(blackAndWhite))
        return reportRejected(procedure, result.status, result.text);
    if (profile_.deviceStepLabels)
        setStep(QStringLiteral("Enable Feeder") + forDevice());
    if (!run([&] { return ApplyFeeder(device); }))
        return reportRejected(procedure, result.status, result.text);
    if (settings_.useAdf && profile_.adfStepLabel)
        setStep(QStringLiteral("Enable ADF") + forDevice());
    // The resolution is read back once the mode is set: some devices offer
    // other resolutions in two colours than in grey.
    RunOffThread([&] { actual = CurrentResolution(device, settings_.dpi); });
    dpiX_ = actual.x;
    dpiY_ = actual.y;
    return true;
}

void ScannerSession::runPass(int maxSheets)
{
    stop_ = false;
    Feed feed;
    SaneDevice* device = device_.get();
    const double dpiX = dpiX_;
    const double dpiY = dpiY_;
    const auto before = beforeSheet;
    feed.thread = std::thread([&feed, device, dpiX, dpiY, before, maxSheets, this] {
        int read = 0;
        while (read < maxSheets && !stop_) {
            if (before)
                before(*device, read);
            SaneDevice::Page page = device->readPage(dpiX, dpiY);
            if (!page.result.ok()) {
                // An empty feeder after the first sheet is the end of the stack.
                if (!(page.result.status == SaneNoDocuments() && read > 0))
                    feed.push(Feed::Sheet{QImage(), page.result, false});
                break;
            }
            ++read;
            feed.push(Feed::Sheet{std::move(page.image), {}, false});
        }
        device->cancel();
        feed.push(Feed::Sheet{QImage(), {}, true});
    });

    while (true) {
        Feed::Sheet sheet;
        RunOffThread([&] { sheet = feed.take(); });
        if (sheet.end)
            break;
        if (!sheet.result.ok())
            pageFailed(sheet.result.text);
        else
            pageScanned(sheet.raw);
    }
    feed.thread.join();
}

void ScannerSession::pageFailed(const QString& text)
{
    session_.traceCall(QStringLiteral("twnMain_PageScanned"), {QStringLiteral("failed")});
    session_.prompter().ask(kScannerError, text, Buttons::Ok, Icon::None);
    scanDone_ = false;
}

void ScannerSession::pageScanned(const QImage& scanned)
{
    session_.traceCall(QStringLiteral("twnMain_PageScanned"));
    // Sheets the feeder read ahead of a refused first page are dropped.
    if (firstPageRefused_)
        return;
    if (profile_.firstPageTest && pagesSaved_ == 0 && !collectOnly_ && !profile_.firstPageTest(scanned)) {
        firstPageRefused_ = true;
        scanDone_ = false;
        stop_ = true;
        return;
    }
    PageWork work;
    work.frameLength = frameLength_;
    work.checkPalette = settings_.checkPalette;
    work.deskew = settings_.deskew;
    work.invert = settings_.invert;
    std::optional<IoResult<PreparedPage>> prepared;
    RunOffThread([&] { prepared.emplace(PrepareScannedPage(scanned, work)); });
    if (!*prepared) {
        ReportError(session_.prompter(), ErrorDetails{QStringLiteral("twnMain_PageScanned"), QStringLiteral("Processing the page"), 0, prepared->error()});
        return;
    }
    PreparedPage& ready = prepared->value();

    if (profile_.sizeTest && ready.tooSmall && !settings_.ignoreSize) {
        Prompt question;
        question.title = kScannerError;
        question.text = profile_.sizeMessage ? profile_.sizeMessage(frameLength_, ready.scanHeight, ready.dpi)
                                             : TooSmallMessage(frameLength_, ready.scanHeight, ready.dpi, profile_.singlePrecisionFrame);
        question.buttons = Buttons::YesNo;
        question.icon = Icon::Critical;
        question.defaultAnswer = Answer::No;
        question.withHelp = profile_.sizeTestHelp;
        const Answer answer = session_.prompter().ask(question);
        if (answer != Answer::Yes)
            return;
    }

    QImage page = std::move(ready.page);
    Q_EMIT pageReady(page, ++pagesShown_);
    if (collectOnly_) {
        collected_.append(page);
        scanDone_ = true;
        return;
    }
    if (settings_.showInvert)
        checkResult_ = askScanCheck(&page);
    if (savePage(page))
        scanDone_ = true;
}

bool ScannerSession::savePage(const QImage& page)
{
    const std::optional<ReportTags> tags = firstPage_ ? profile_.tags : std::nullopt;
    const QString target = profile_.outputFile;
    std::optional<IoStatus> saved;
    RunOffThread([&] {
        auto writer = TiffWriter::append(target, tags);
        if (!writer) {
            saved.emplace(writer.failure());
            return;
        }
        IoStatus added = writer->addPage(page);
        saved.emplace(added ? writer->commit() : added);
    });
    if (!*saved) {
        ReportError(session_.prompter(), ErrorDetails{QStringLiteral("twnMain_PageScanned"),
                                                       QStringLiteral("Saving page to ") + target, 0, saved->error()});
        return false;
    }
    ++pagesSaved_;
    return true;
}

Answer ScannerSession::askScanCheck(QImage* page)
{
    session_.prompter().setBusy(false);
    Answer answer;
    if (scanCheck)
        answer = scanCheck(page);
    else
        answer = session_.prompter().ask(QStringLiteral("Scan Next Page"), QStringLiteral("Scan Another Page?"), Buttons::YesNoCancel,
                                         Icon::Question, Answer::No);
    session_.prompter().setBusy(true);
    return answer;
}

}  // namespace tarlox
