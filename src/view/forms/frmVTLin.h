#pragma once

#include <QDialog>

#include <memory>

class QLineEdit;

namespace Ui {
class frmVTLin;
}

namespace tarlox {

class Session;

// Line Properties: the pen width of the line tool. There is no Cancel:
// closing the form is what keeps the width.
class frmVTLin : public QDialog {
    Q_OBJECT
public:
    explicit frmVTLin(Session& session, QWidget* parent = nullptr);
    ~frmVTLin() override;

    Ui::frmVTLin* ui() const { return ui_.get(); }

    // The box is clamped to 1..100 at each change.
    void txtLineWidth_Change();
    // LineWidth takes the box and is written to the settings.
    void Form_Unload();

    // Shown modally over owner, as the line command and the toolbar's arrow do.
    static void Show(Session& session, QWidget* owner);

protected:
    void done(int result) override;

private:
    Session& session_;
    std::unique_ptr<Ui::frmVTLin> ui_;
    bool unloaded_ = false;
};

// Keeps a width box within 1..100 as the person types.
void ClampWidthBox(QLineEdit* box);

}  // namespace tarlox
