#pragma once

#include "output/MessageQueue.h"

#include <QDialog>

#include <memory>

namespace Ui {
class frmEmail;
}

namespace tarlox {

class Session;

// "Email Test Report": recipient, sender, subject, text and message fields
// of an e-mail that carries the image in hand (session.imageFilePath) and
// the images queued to email, as attachments. Sends through the server or
// the desktop's mail client, as the settings say.
class frmEmail : public QDialog {
    Q_OBJECT
public:
    explicit frmEmail(Session& session, QWidget* parent = nullptr);
    ~frmEmail() override;

    Ui::frmEmail* ui() const { return ui_.get(); }
    const Queue& queue() const { return queue_; }

    void cmdEmail_Click();
    void cmdQueue_Click();
    void cmdClear_Click();
    void cmdFind_Click();
    // "" becomes "All"; anything but "All" or n,m,l is refused and reverts to "All".
    bool txtPages_Validate();

signals:
    // The contact form should open (mode "Email"); this form has closed.
    void findRequested();

protected:
    void closeEvent(QCloseEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    bool imageCurrent() const;
    MessageFields messageFields() const;
    void AddImageToQueue(Queue& queue);
    void Form_Unload();
    void busy(bool on);

    Session& session_;
    std::unique_ptr<Ui::frmEmail> ui_;
    Queue queue_;
    QString company_;
    bool sending_ = false;
    bool cancelled_ = false;
};

}  // namespace tarlox
