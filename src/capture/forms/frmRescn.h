#pragma once

#include "capture/Rescan.h"

#include <QWidget>

#include <memory>

namespace Ui {
class frmRescn;
}

namespace tarlox {

class BrightnessControls;
class Session;

// "Re-Scan": the current image scanned again whole, into the place of its
// file, keeping its number and references. Closes after every Scan.
class frmRescn : public QWidget {
    Q_OBJECT
public:
    explicit frmRescn(Session& session, QWidget* parent = nullptr);
    ~frmRescn() override;

    void Form_Load();
    void cmdScan_Click();
    void cmdScanCancel_Click();

    RescanChoices choices() const;
    bool isScanning() const { return scanning_; }
    // Whether the last Scan put a new file in place.
    bool replaced() const { return replaced_; }

    Ui::frmRescn* ui() const { return ui_.get(); }

    Q_SIGNAL void formClosed();

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    Session& session_;
    std::unique_ptr<Ui::frmRescn> ui_;
    BrightnessControls* brightness_;
    Rescan rescan_;
    bool scanning_ = false;
    bool replaced_ = false;
};

}  // namespace tarlox
