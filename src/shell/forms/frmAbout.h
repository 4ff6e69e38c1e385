#pragma once

#include <QDialog>

#include <memory>

namespace Ui {
class frmAbout;
}

namespace tarlox {

class Session;

// The program's name, the company, the user and the versions of the
// program and of the libraries it runs on.
class frmAbout : public QDialog {
    Q_OBJECT
public:
    explicit frmAbout(Session& session, QWidget* parent = nullptr);
    ~frmAbout() override;

    Ui::frmAbout* ui() const { return ui_.get(); }

private:
    std::unique_ptr<Ui::frmAbout> ui_;
};

}  // namespace tarlox
