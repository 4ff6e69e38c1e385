#pragma once

#include <QDialog>

#include <memory>

namespace Ui {
class frmVScan;
}

namespace tarlox {

class BrightnessControls;
class Session;

// "Scanning Dialog" of the viewer's page commands: resolution and
// brightness for one page. Scan accepts, writing the choice to
// session.dpi and session.brightness; Cancel rejects. The viewer sets the
// caption ("ReScan Page", "Insert Page", "Append Page").
class frmVScan : public QDialog {
    Q_OBJECT
public:
    explicit frmVScan(Session& session, QWidget* parent = nullptr);
    ~frmVScan() override;

    // True once Scan was pressed.
    bool scanWanted() const { return scanWanted_; }

    void cmdScan_Click();
    void cmdScanCancel_Click();

    Ui::frmVScan* ui() const { return ui_.get(); }

private:
    Session& session_;
    std::unique_ptr<Ui::frmVScan> ui_;
    BrightnessControls* brightness_;
    bool scanWanted_ = false;
};

}  // namespace tarlox
