#pragma once

#include "base/Prompter.h"

#include <QDialog>
#include <QImage>

#include <functional>
#include <memory>

namespace Ui {
class frmScanChk;
}

namespace tarlox {

// "Scan Next Page": asked after each pass of the scanner, or before each
// page is saved when the invert question is on; then "Invert Scan" turns
// the page in hand black for white and back.
class frmScanChk : public QDialog {
    Q_OBJECT
public:
    // page: the page about to be saved, when it may still be inverted
    // (the check box shows only then); refresh shows it again after a change.
    frmScanChk(QImage* page, std::function<void(const QImage&)> refresh, QWidget* parent = nullptr);
    ~frmScanChk() override;

    // The answer: Yes (6), No (7) or Cancel (2); No when the dialog was closed otherwise.
    Answer ScanCheckResult() const { return result_; }
    // Shows the dialog and waits for the answer.
    Answer ask();

    Ui::frmScanChk* ui() const { return ui_.get(); }

protected:
    void showEvent(QShowEvent* event) override;
    void reject() override;

private:
    void answer(Answer a);
    void chkInvert_Click();

    std::unique_ptr<Ui::frmScanChk> ui_;
    QImage* page_;
    std::function<void(const QImage&)> refresh_;
    Answer result_ = Answer::No;
};

}  // namespace tarlox
