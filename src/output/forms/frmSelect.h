#pragma once

#include "output/SelectImage.h"

#include <QDialog>

#include <functional>
#include <memory>
#include <optional>

namespace Ui {
class frmSelect;
}

namespace tarlox {

class Session;

// Print, View, Fax and Re-Scan: the facts of one found image (the image in
// hand, session.currentImage) and what can be done with it. Print and
// E-mail stay hidden until those parts of the program exist; Fax shows once
// setFaxAvailable says a fax server answered.
class frmSelect : public QDialog {
    Q_OBJECT
public:
    explicit frmSelect(Session& session, QWidget* parent = nullptr);
    ~frmSelect() override;

    Ui::frmSelect* ui() const { return ui_.get(); }

    // Locates the file and fills the form; false, after telling why, when
    // the image can't be shown (the form should then close).
    bool Form_Activate();
    // Asks for a viewer on the image; the form closes.
    void cmdView_Click();
    // The rescan form for the image; the form closes.
    void cmdReScan_Click();
    // The fax form for the image; the form closes.
    void cmdFax_Click();
    // Fax is offered only where a fax server answered.
    void setFaxAvailable(bool available);

    const std::optional<SelectedImage>& selected() const { return selected_; }

    // Find's Select: makes number the image in hand and opens the form, or
    // tells why it can't and returns nullptr.
    static frmSelect* Open(Session& session, qint32 number, QWidget* parent = nullptr);

signals:
    // frmRescn should open for this image.
    void rescanRequested(qint32 image);
    // A viewer should open on this image, now the image in hand; the
    // frame, which knows the viewer, opens it.
    void viewRequested(qint32 image);
    // The fax form should open for this image, now the image in hand.
    void faxRequested(qint32 image);

private:
    Session& session_;
    std::unique_ptr<Ui::frmSelect> ui_;
    std::optional<SelectedImage> selected_;
};

}  // namespace tarlox
