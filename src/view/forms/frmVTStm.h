#pragma once

#include <QDialog>
#include <QFont>

#include <functional>
#include <memory>
#include <optional>

namespace Ui {
class frmVTStm;
}

namespace tarlox {

class Session;

// Stamp properties (caption "Text Properties"): an image stamp from a file,
// or a text stamp with its font and maximum size; overlay or replace.
// Closing the form keeps the settings.
class frmVTStm : public QDialog {
    Q_OBJECT
public:
    explicit frmVTStm(Session& session, QWidget* parent = nullptr);
    ~frmVTStm() override;

    Ui::frmVTStm* ui() const { return ui_.get(); }

    void optType_Click();
    void cmdFont_Click();
    void cmdImageName_Click();
    void Form_Unload();

    // The font dialog (scalable screen fonts); replaceable for tests.
    std::function<std::optional<QFont>(const QFont& start, QWidget* owner)> chooseFont;

    static void Show(Session& session, QWidget* owner);

protected:
    void done(int result) override;

private:
    void showFont();

    Session& session_;
    std::unique_ptr<Ui::frmVTStm> ui_;
    QFont boxFont_;
    int fontSize_ = 0;
    bool unloaded_ = false;
};

}  // namespace tarlox
