#pragma once

#include "base/Prompter.h"
#include "store/ReportTags.h"
#include "store/ScannedPage.h"

#include <QImage>
#include <QList>
#include <QObject>
#include <QString>

#include <atomic>
#include <functional>
#include <memory>
#include <optional>

namespace tarlox {

class Session;
class SaneDevice;

// How the capture forms differ in a scan.
struct ScanProfile {
    // Pages are appended to this file as Group 4, the first one creating
    // it. Empty: pages are only collected (the viewer's page scan).
    QString outputFile;
    // Written with the first page of a new output file (frmScan).
    std::optional<ReportTags> tags;
    // A page was taken before the first arrives (frmBatch), so the check
    // dialog appears even after a failed first page.
    bool scanDoneAtStart = false;
    // The step labels "Set device to ", "Set Pixel type to B&W for " and
    // "Enable Feeder for " (not frmRescn), and "Enable ADF for " (neither
    // frmRescn nor frmBatch).
    bool deviceStepLabels = true;
    bool adfStepLabel = true;
    // The too-small test (not frmBatch), with a Help button on frmScan.
    bool sizeTest = true;
    bool sizeTestHelp = false;
    // The frame length as a 32-bit float (frmBarcode, frmBatch).
    bool singlePrecisionFrame = false;
    // Removed when the operator cancels in the check dialog.
    QString deleteOnCancel;
    // The text of the too-small question, when a form words it its own way.
    std::function<QString(double frameLength, int height, double dpi)> sizeMessage;
    // Looks at each page as it arrives, before any other work, until one has
    // been saved (frmBarcode: the first page must carry barcodes). False
    // ends the scan: nothing is saved and the feeder stops. The test tells
    // the person why.
    std::function<bool(const QImage& page)> firstPageTest;

    static ScanProfile forScanEntry(const QString& workFile, const ReportTags& tags, const QString& imageFile);
    static ScanProfile forRescan(const QString& target);
    static ScanProfile forPage();
};

// What a scan is set to: the form's choices and the settings of section
// Info, read when the scan starts.
struct ScanSettings {
    QString device;  // key Device: a SANE device name or its vendor and model
    int dpi = 200;
    int brightness = 0;  // -1000 .. 1000
    QString pageSizeCode = QStringLiteral(" ");
    bool useAdf = false;
    bool showInvert = false;
    bool checkPalette = false;
    bool ignoreSize = false;
    bool deskew = false;
    bool invert = false;
    bool scannerInterface = false;
    // Sheets one feeder run may deliver.
    int transferCount = 999;

    // Device, UseADF, ShowInvert, CheckPalette, IgnoreSize, Deskew and
    // Invert from the local settings; ScannerInterface from the session.
    static ScanSettings read(Session& session, int dpi, int brightness, const QString& pageSizeCode);
};

// One acquisition from a SANE scanner, the same for every capture form:
// set the device up, take the pages the feeder delivers, work on each,
// ask the person where a page needs it, and add it to the form's file.
// The scanner is read and the pages are worked on off the interface
// thread; questions, the page display and the file checks stay on it, one
// page after another in the order scanned. Failures are told to the person
// here; callers look at the output file to learn what was produced.
class ScannerSession : public QObject {
    Q_OBJECT
public:
    ScannerSession(Session& session, ScanProfile profile, ScanSettings settings, QObject* parent = nullptr);
    ~ScannerSession() override;

    // The whole scan: returns when the last page is done or abandoned.
    void Scan();

    // One page with the session's settings, for the viewer's page
    // commands: the page worked on as every scanned page is (size test
    // included), not written anywhere. Nothing when the scan failed, was
    // refused or delivered nothing; the person has been told why.
    std::optional<QImage> ScanOnePage();

    // Asks the feeder to stop before the next sheet. Pages already read
    // are still worked on and kept.
    void requestStop();
    bool stopRequested() const { return stop_.load(); }
    bool isScanning() const { return scanning_; }

    // A page was taken in the current or last scan (and added to the file).
    bool scanDone() const { return scanDone_; }
    int pagesSaved() const { return pagesSaved_; }
    // The label of the step in hand, as the error report shows it.
    QString stepLabel() const { return step_; }
    const ScanSettings& settings() const { return settings_; }
    const ScanProfile& profile() const { return profile_; }

    // The check dialog (frmScanChk): "Scan Another Page?" with Yes, No and
    // Cancel. page is the page about to be saved when the person may still
    // invert it (ShowInvert), else null. Unset: asked through the prompter.
    std::function<Answer(QImage* page)> scanCheck;
    // With ScannerInterface on: the device's own settings shown to the
    // person before the pages are taken; false cancels the scan. Unset: none shown.
    std::function<bool(SaneDevice& device)> deviceDialog;
    // Runs on the scanning thread before each sheet of a feeder run, with
    // the number of sheets already read in that run: a caller may change
    // device options there that the standard settings don't cover.
    std::function<void(SaneDevice& device, int sheetsRead)> beforeSheet;

Q_SIGNALS:
    // A page as it is about to be saved, numbered from 1 within this scan.
    void pageReady(const QImage& page, int number);
    void stepChanged(const QString& label);
    void scanningChanged(bool scanning);

private:
    struct Feed;
    enum class PassEnd { Normal, Failed };

    void setStep(const QString& label);
    QString forDevice() const;
    bool openDevice();
    bool setUp(bool first);
    bool reportRejected(const QString& procedure, int status, const QString& text);
    void runPass(int maxSheets);
    void pageScanned(const QImage& scanned);
    void pageFailed(const QString& text);
    bool savePage(const QImage& page);
    Answer askScanCheck(QImage* page);
    void finish();

    Session& session_;
    ScanProfile profile_;
    ScanSettings settings_;
    std::unique_ptr<SaneDevice> device_;
    double frameLength_ = 11;
    double dpiX_ = 200;
    double dpiY_ = 200;
    QString step_;
    bool firstPage_ = true;
    bool scanDone_ = false;
    bool scanning_ = false;
    bool collectOnly_ = false;
    bool firstPageRefused_ = false;
    int pagesSaved_ = 0;
    int pagesShown_ = 0;
    Answer checkResult_ = Answer::None;
    QList<QImage> collected_;
    std::atomic<bool> stop_{false};
};

}  // namespace tarlox
