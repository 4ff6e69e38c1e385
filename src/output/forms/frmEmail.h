#pragma once

#include "output/BackgroundTask.h"
#include "output/MessageQueue.h"

#include <QDialog>

#include <memory>

namespace Ui {
class frmEmail;
}

namespace tarlox {

class AnnotateFiles;
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
    // Cancel: stops a preparation between pages, else closes the form.
    void cmdCancel_Click();
    // "" becomes "All"; anything but "All" or n,m,l is refused and reverts to "All".
    bool txtPages_Validate();
    // A send is being prepared or on its way.
    bool sending() const { return sending_; }
    // The person has closed the viewer of annotateRequested: the next file
    // is offered, or the mail goes.
    void annotationDone();

signals:
    // The contact form should open (mode "Email"); this form has closed.
    void findRequested();
    // With "Annotate" checked each prepared attachment should open in a
    // viewer in annotate mode before the mail goes. Without a receiver it
    // goes at once.
    void annotateRequested(const QString& file);

protected:
    void closeEvent(QCloseEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    bool imageCurrent() const;
    MessageFields messageFields() const;
    void AddImageToQueue(Queue& queue);
    void Form_Unload();
    void busy(bool on);
    void send(const QStringList& files, bool throughTemp);
    // The prepared files go; the form is ready for another try.
    void stopped(const QStringList& prepared);
    // Removes the temporary files; clears the queue after a send, else
    // keeps it with the image in hand and says why.
    void finishSend(const QStringList& remove, bool preparing, const QString& error);

    Session& session_;
    std::unique_ptr<Ui::frmEmail> ui_;
    Queue queue_;
    QString company_;
    AnnotateFiles* annotating_;
    QStringList prepared_;  // waiting for their annotation
    StopFlag stop_ = NewStopFlag();
    bool sending_ = false;
};

}  // namespace tarlox
