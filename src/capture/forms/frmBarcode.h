#pragma once

#include "capture/BarcodeCapture.h"

#include <QWidget>

#include <array>
#include <atomic>
#include <memory>
#include <optional>

class QLineEdit;
class QThread;

namespace Ui {
class frmBarcode;
}

namespace tarlox {

class BarcodeReader;
class BrightnessControls;
class RbqClient;
class ScannerSession;
class Session;
class TiffReader;

// "Add Barcoded Documents": a stack of reports, each behind a barcode sheet
// naming its purchase order line, scanned (or read from a file) in one
// pass; one grid row per sheet, filled from the business system and
// corrected by the operator; Update stores one new image per row. The
// stack is read off the interface thread, with a progress bar and Cancel.
class frmBarcode : public QWidget {
    Q_OBJECT
public:
    explicit frmBarcode(Session& session, QWidget* parent = nullptr);
    ~frmBarcode() override;

    void Form_Load();
    void ClearGrid();
    void cmdScan_Click();
    // Reads the stack file into the grid; returns at once, gridLoaded follows.
    void LoadGrid(const QString& stackFile);
    void grdMain_Click(int row, int column);
    void txtGrid_LostFocus();
    void cmdUpdate_Click();
    // Read: a stack scanned elsewhere, chosen through the prompter.
    void Command1_Click();
    void cmdSheets_Click();
    void cmdCancel_Click();

    const QList<BarcodeRow>& rows() const { return rows_; }
    QString bufferFile() const { return buffer_; }
    bool isBusy() const { return reading_ || updating_; }
    const BarcodeUpdate& lastUpdate() const { return lastUpdate_; }
    Ui::frmBarcode* ui() const { return ui_.get(); }

    Q_SIGNAL void formClosed();
    // The grid is filled (or refused) after LoadGrid.
    Q_SIGNAL void gridLoaded();
    Q_SIGNAL void updateFinished();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void closeEvent(QCloseEvent* event) override;

private:
    void gridRead(const BarcodeGrid& grid);
    void showPage(int page);
    void setBusy(bool reading, bool updating);
    void moveOnFrom(int row, int column);
    void fitColumns();
    int formDpi() const;
    QString pageSizeCode() const;

    Session& session_;
    std::unique_ptr<Ui::frmBarcode> ui_;
    BrightnessControls* brightness_;
    QLineEdit* txtGrid_;
    std::array<bool, 9> fitColumns_{};
    int gridRow_ = -1;
    int gridColumn_ = -1;
    std::unique_ptr<BarcodeReader> reader_;
    std::unique_ptr<RbqClient> client_;
    QList<BarcodeRow> rows_;
    QString buffer_;
    std::unique_ptr<TiffReader> stack_;
    QThread* worker_ = nullptr;
    ScannerSession* scanner_ = nullptr;
    std::atomic<bool> cancel_{false};
    bool reading_ = false;
    bool updating_ = false;
    bool stored_ = false;
    BarcodeUpdate lastUpdate_;
};

}  // namespace tarlox
