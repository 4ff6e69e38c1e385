#pragma once

#include <QDialog>

#include <memory>

namespace Ui {
class frmVTRec;
}

namespace tarlox {

class Session;

// Rectangle Properties: border width, filled or not, black or white.
// Closing the form keeps the settings.
class frmVTRec : public QDialog {
    Q_OBJECT
public:
    explicit frmVTRec(Session& session, QWidget* parent = nullptr);
    ~frmVTRec() override;

    Ui::frmVTRec* ui() const { return ui_.get(); }
    void Form_Unload();
    static void Show(Session& session, QWidget* owner);

protected:
    void done(int result) override;

private:
    Session& session_;
    std::unique_ptr<Ui::frmVTRec> ui_;
    bool unloaded_ = false;
};

}  // namespace tarlox
