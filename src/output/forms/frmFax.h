#pragma once

#include "output/BackgroundTask.h"
#include "output/FaxSend.h"
#include "output/FaxSettings.h"

#include <QDialog>
#include <QElapsedTimer>

#include <memory>
#include <optional>

namespace Ui {
class frmFax;
}

namespace tarlox {

class AnnotateFiles;
class Session;

// Fax Test Report: sends the image in hand and the fax queue as one fax job
// with our cover page, or adds the image to the queue. The pages are
// prepared here (stamp, message block, page lists); the job goes to the fax
// server off the interface thread, and the queue is cleared only once the
// server has taken the job.
class frmFax : public QDialog {
    Q_OBJECT
public:
    explicit frmFax(Session& session, QWidget* parent = nullptr);
    ~frmFax() override;

    Ui::frmFax* ui() const { return ui_.get(); }

    // The queue line: "There is 1 file queued to fax", ... or blank.
    static QString QueueLine(int files);
    int queuedFiles() const;

    // True when the field holds "All" or only ",0123456789"; otherwise says
    // so, sets "All" and keeps the focus in the field.
    bool txtPages_Validate();
    void cmdQueue_Click();
    void cmdClear_Click();
    void cmdFind_Click();
    void cmdFax_Click();
    // Cancel: stops a preparation between pages, else closes the form.
    void cmdCancel_Click();
    // A send is being prepared or on its way to the server.
    bool sending() const { return sending_; }
    // The person has closed the viewer of annotateRequested: the next file
    // is offered, or the fax goes.
    void annotationDone();

signals:
    // The job reached the server (jobId) or did not (error).
    void sent(const QString& jobId, const QString& error);
    // The contact form should open in fax mode; this form has closed.
    void findNameRequested();
    // With "Annotate" checked each prepared file should open in a viewer in
    // annotate mode before the fax goes. Without a receiver it goes at once.
    void annotateRequested(const QString& file);

protected:
    void closeEvent(QCloseEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void Form_Load();
    void saveAddress();
    // txtComp and the message boxes, as the message block prints them.
    MessageFields messageFields() const;
    void finishSend(const IoResult<SentFax>& result, bool clearQueue, const FaxPages& pages);

    Session& session_;
    std::unique_ptr<Ui::frmFax> ui_;
    Queue queue_;
    AnnotateFiles* annotating_;
    std::optional<FaxPages> pending_;  // waiting for their annotation
    StopFlag stop_ = NewStopFlag();
    bool sending_ = false;
    bool preparing_ = false;
    bool validating_ = false;
    std::optional<QElapsedTimer> sentAt_;
};

}  // namespace tarlox
