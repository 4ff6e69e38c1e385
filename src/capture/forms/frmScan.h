#pragma once

#include "capture/ScanEntry.h"

#include <QWidget>

#include <memory>

namespace Ui {
class frmScan;
}

namespace tarlox {

class BrightnessControls;
class Session;

// "Scanning Information Entry": the operator types the reference data of
// one report, lays it in the scanner and presses Scan; the form stays
// open for the next report with Heat # and Part # cleared. The scanned
// pages show beside the fields while the scan runs.
class frmScan : public QWidget {
    Q_OBJECT
public:
    explicit frmScan(Session& session, QWidget* parent = nullptr);
    ~frmScan() override;

    void Form_Load();
    void cmdScan_Click();
    void cmdCancel_Click();

    // The form's fields as the scan takes them.
    ScanEntryFields fields() const;
    bool isScanning() const { return scanning_; }
    // The last Scan button's result.
    ScanEntry::Result lastResult() const { return lastResult_; }

    Ui::frmScan* ui() const { return ui_.get(); }

    // Emitted when the form has closed (the main window drops it from its list).
    Q_SIGNAL void formClosed();
    // Emitted when a scanned page is shown beside the fields.
    Q_SIGNAL void pageShown(int number);
    // Emitted after each Scan button press has finished.
    Q_SIGNAL void scanFinished(const tarlox::ScanEntry::Result& result);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void closeEvent(QCloseEvent* event) override;

private:
    void applySiteNames();
    void setScanning(bool scanning);

    Session& session_;
    std::unique_ptr<Ui::frmScan> ui_;
    BrightnessControls* brightness_;
    ScanEntry entry_;
    bool scanning_ = false;
    ScanEntry::Result lastResult_;
};

}  // namespace tarlox
