#pragma once

#include "output/SmtpSender.h"

#include <QDialog>

#include <functional>
#include <memory>

namespace Ui {
class frmEtest;
}

namespace tarlox {

class Session;

// "Test Email Settings": sends a test message by the chosen route and shows
// the conversation with the server in txtStatus, line by line.
class frmEtest : public QDialog {
    Q_OBJECT
public:
    explicit frmEtest(Session& session, QWidget* parent = nullptr);
    ~frmEtest() override;

    Ui::frmEtest* ui() const { return ui_.get(); }

    // The route and the server settings to prove. By default those stored
    // in section "Email"; the settings screen gives those on its screen.
    std::function<bool()> throughClient;
    std::function<SmtpSettings()> serverSettings;

    void cmdSend_Click();
    bool sending() const { return sending_; }

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    void Form_Unload();

    Session& session_;
    std::unique_ptr<Ui::frmEtest> ui_;
    bool sending_ = false;
};

}  // namespace tarlox
