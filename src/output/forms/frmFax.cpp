#include "output/forms/frmFax.h"

#include "base/Prompter.h"
#include "data/Session.h"
#include "data/Settings.h"
#include "output/FaxTask.h"
#include "output/forms/AnnotateFiles.h"
#include "output/HylafaxClient.h"
#include "store/FileLists.h"
#include "ui_frmFax.h"

#include <QMetaMethod>
#include <QCloseEvent>
#include <QFocusEvent>
#include <QTimer>

namespace tarlox {

namespace {

// The form stays this long after a send.
constexpr int HoldMs = 3000;

fax::KeyReader FaxKeys(Session& s)
{
    return [&s](const QString& key) { return GetLocal(s, fax::Section, key); };
}

}  // namespace

frmFax::frmFax(Session& session, QWidget* parent)
    : QDialog(parent), session_(session), ui_(std::make_unique<Ui::frmFax>()), annotating_(new AnnotateFiles(this))
{
    ui_->setupUi(this);
    setAttribute(Qt::WA_DeleteOnClose);
    connect(ui_->cmdFax, &QPushButton::clicked, this, &frmFax::cmdFax_Click);
    connect(ui_->cmdQueue, &QPushButton::clicked, this, &frmFax::cmdQueue_Click);
    connect(ui_->cmdClear, &QPushButton::clicked, this, &frmFax::cmdClear_Click);
    connect(ui_->cmdFind, &QPushButton::clicked, this, &frmFax::cmdFind_Click);
    connect(ui_->cmdCancel, &QPushButton::clicked, this, &frmFax::cmdCancel_Click);
    connect(annotating_, &AnnotateFiles::annotateRequested, this, &frmFax::annotateRequested);
    ui_->txtPages->installEventFilter(this);
    ui_->cmdFax->setDefault(true);
    Form_Load();
}

frmFax::~frmFax() = default;

QString frmFax::QueueLine(int files)
{
    if (files <= 0)
        return {};
    if (files == 1)
        return QStringLiteral("There is 1 file queued to fax");
    return QStringLiteral("There are ") + QString::number(files) + QStringLiteral(" files queued to fax");
}

int frmFax::queuedFiles() const
{
    return queue_.count();
}

MessageFields frmFax::messageFields() const
{
    MessageFields fields;
    fields.to = ui_->txtComp->text();
    fields.order = ui_->txtOrder->text();
    fields.custPO = ui_->txtCustPO->text();
    fields.invoice = ui_->txtInvoice->text();
    fields.lineNum = ui_->txtLineNum->text();
    fields.partDesc = ui_->txtPartDesc->text();
    fields.quantity = ui_->txtQuantity->text();
    fields.heat = ui_->txtHeat->text();
    fields.tag = ui_->txtTag->text();
    return fields;
}

void frmFax::Form_Load()
{
    session_.traceCall(QStringLiteral("frmFax.Form_Load"));
    // Without added messages the message fields are not needed.
    ui_->fraMessage->setVisible(session_.addMessage);
    if (!session_.addMessage)
        adjustSize();
    ui_->txtTo->setText(GetLocal(session_, fax::Section, fax::ToName));
    ui_->txtNo->setText(GetLocal(session_, fax::Section, fax::ToNumber));
    ui_->txtComp->setText(GetLocal(session_, fax::Section, fax::ToCompany));
    ui_->txtFrom->setText(GetLocal(session_, fax::Section, fax::FromName));
    ui_->chkAnnotate->setChecked(session_.annotate);
    queue_ = ReadQueue(session_, QueueMode::Fax);
    ui_->txtStatus->setText(QueueLine(queuedFiles()));
    ui_->txtPages->setText(session_.defaultPages.trimmed().isEmpty() ? QStringLiteral("All") : session_.defaultPages);
    if (session_.imageFilePath.isEmpty()) {
        // No report in hand: the form sends the queue alone.
        ui_->cmdQueue->setEnabled(false);
        ui_->txtPages->setEnabled(false);
        ui_->txtPages->clear();
    }
}

bool frmFax::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == ui_->txtPages && event->type() == QEvent::FocusOut && !validating_) {
        const auto reason = static_cast<QFocusEvent*>(event)->reason();
        if (reason == Qt::TabFocusReason || reason == Qt::BacktabFocusReason || reason == Qt::MouseFocusReason)
            txtPages_Validate();
    }
    return QDialog::eventFilter(watched, event);
}

bool frmFax::txtPages_Validate()
{
    const QString pages = ui_->txtPages->text();
    if (pages.isEmpty() || pages.compare(QLatin1String("All"), Qt::CaseInsensitive) == 0) {
        if (ui_->txtPages->isEnabled())
            ui_->txtPages->setText(QStringLiteral("All"));
        return true;
    }
    for (QChar c : pages) {
        if (!QStringLiteral(",0123456789").contains(c)) {
            validating_ = true;
            session_.prompter().tell(QStringLiteral("Invalid Pages"), QStringLiteral("Pages must be 'All' or in the form 'n,m,l'"), Icon::Exclamation);
            ui_->txtPages->setText(QStringLiteral("All"));
            ui_->txtPages->setFocus();
            validating_ = false;
            return false;
        }
    }
    return true;
}

void frmFax::cmdQueue_Click()
{
    if (!txtPages_Validate() || session_.imageFilePath.isEmpty())
        return;
    session_.traceCall(QStringLiteral("frmFax.cmdQueue_Click"));
    const MessageFields fields = messageFields();
    if (const QString problem = CheckMessageFields(fields); !problem.isEmpty()) {
        session_.prompter().tell(QStringLiteral("Fax Test Report"), problem, Icon::Exclamation);
        return;
    }
    AddFileAndMessage(queue_, session_.imageFilePath, ui_->txtPages->text(), fields);
    WriteQueue(session_, QueueMode::Fax, queue_);
    close();
}

void frmFax::cmdClear_Click()
{
    queue_ = Queue{};
    ClearQueue(session_, QueueMode::Fax);
    close();
}

void frmFax::cmdFind_Click()
{
    emit findNameRequested();
    close();
}

void frmFax::cmdFax_Click()
{
    if (sending_ || !txtPages_Validate())
        return;
    session_.traceCall(QStringLiteral("frmFax.cmdFax_Click"));
    const bool current = !session_.imageFilePath.isEmpty();
    bool withQueue = true;
    if (current && queuedFiles() > 0) {
        const Answer answer = session_.prompter().ask(
            QStringLiteral("Fax Queued Images?"),
            QStringLiteral("There are other images queued up to fax. Hit 'Yes' to fax these images along with the current one, "
                           "'No' to only fax the current image, or 'Cancel' to end without faxing"),
            Buttons::YesNoCancel, Icon::Question);
        if (answer == Answer::Cancel) {
            close();
            return;
        }
        withQueue = answer == Answer::Yes;
    }
    FaxRequest request;
    request.toName = ui_->txtTo->text();
    request.toCompany = ui_->txtComp->text();
    request.number = ui_->txtNo->text();
    request.fromName = ui_->txtFrom->text();
    request.message = ui_->txtMessage->toPlainText();
    Queue job = withQueue ? queue_ : Queue{};
    const MessageFields fields = messageFields();
    if (const QString problem = CheckMessageFields(fields); current && !problem.isEmpty()) {
        session_.prompter().tell(QStringLiteral("Fax Test Report"), problem, Icon::Exclamation);
        return;
    }
    if (current)
        AddFileAndMessage(job, session_.imageFilePath, ui_->txtPages->text(), fields);
    if (job.isEmpty()) {
        session_.prompter().tell(QStringLiteral("Fax Test Report"),
                                 QStringLiteral("There is nothing to fax: no test report is open and the fax queue is empty."), Icon::Exclamation);
        return;
    }
    if (request.number.trimmed().isEmpty()) {
        session_.prompter().tell(QStringLiteral("Fax Test Report"), QStringLiteral("Enter the fax number to send to."), Icon::Exclamation);
        ui_->txtNo->setFocus();
        return;
    }
    auto server = fax::ServerSettings(FaxKeys(session_));
    if (!server) {
        session_.prompter().tell(QStringLiteral("Fax Test Report"), server.error(), Icon::Exclamation);
        return;
    }
    sending_ = true;
    for (QPushButton* b : {ui_->cmdFax, ui_->cmdQueue, ui_->cmdClear, ui_->cmdFind})
        b->setEnabled(false);
    setCursor(Qt::BusyCursor);
    // The pages are prepared and the server is spoken to on threads of
    // their own; Cancel stops the preparation between pages.
    preparing_ = true;
    stop_ = NewStopFlag();
    ui_->txtStatus->setText(QStringLiteral("Preparing the pages..."));
    const bool annotate = ui_->chkAnnotate->isChecked() && isSignalConnected(QMetaMethod::fromSignal(&frmFax::annotateRequested));
    const ProgressStep step = RelayedStep(this, stop_, [this](const QString& doing) { ui_->txtStatus->setText(doing); });
    RunInBackground(
        this,
        [settings = ReadOutputSettings(session_), today = session_.now().date(), job, annotate, step] {
            return PrepareFaxPages(settings, today, job, annotate, step);
        },
        [this, request, withQueue, annotate, where = *server](IoResult<FaxPages> pages) mutable {
            preparing_ = false;
            if (!pages) {
                finishSend(pages.failure(), false, {});
                return;
            }
            if (*stop_) {
                finishSend(Failure(kOutputCancelled), false, *pages);
                return;
            }
            request.pageFiles = pages->files;
            const auto submit = [this, request, withQueue, where, staged = *pages] {
                const fax::Sender sender = fax::SenderSettings(FaxKeys(session_), session_.programDir);
                ui_->txtStatus->setText(QStringLiteral("Handing the fax to the fax server..."));
                RunFaxTask(
                    this,
                    [where, request, sender, tempDir = session_.tempDir, today = session_.now().date()] {
                        HylafaxClient engine(where);
                        return SendFax(engine, request, sender, tempDir, today);
                    },
                    [this, withQueue, staged](IoResult<SentFax> result) { finishSend(result, withQueue, staged); });
            };
            if (annotate && pages->staged) {
                pending_ = *pages;
                ui_->txtStatus->setText(QStringLiteral("Annotate the pages; closing the viewer sends them."));
                annotating_->start(pages->files, [this, submit] {
                    pending_.reset();
                    submit();
                });
                return;
            }
            submit();
        });
}

void frmFax::annotationDone()
{
    annotating_->annotationDone();
}

void frmFax::cmdCancel_Click()
{
    if (!sending_) {
        close();
        return;
    }
    *stop_ = true;
    if (annotating_->waiting()) {  // nothing is under way: the send ends here
        annotating_->cancel();
        const FaxPages pages = *std::exchange(pending_, std::nullopt);
        finishSend(Failure(kOutputCancelled), false, pages);
    }
}

void frmFax::finishSend(const IoResult<SentFax>& result, bool clearQueue, const FaxPages& pages)
{
    sending_ = false;
    unsetCursor();
    // The job file holds the pages now (or nothing was sent).
    if (pages.staged)
        DeleteTempFiles(session_, pages.files.join(QLatin1Char('+')), QStringLiteral("+"));
    if (!result) {
        // The queue stays as it was; the person may try again.
        if (result.error() == kOutputCancelled) {
            for (QPushButton* b : {ui_->cmdFax, ui_->cmdClear, ui_->cmdFind})
                b->setEnabled(true);
            ui_->cmdQueue->setEnabled(!session_.imageFilePath.isEmpty());
            ui_->txtStatus->setText(QueueLine(queuedFiles()));
            return;
        }
        for (QPushButton* b : {ui_->cmdFax, ui_->cmdClear, ui_->cmdFind})
            b->setEnabled(true);
        ui_->cmdQueue->setEnabled(!session_.imageFilePath.isEmpty());
        ui_->txtStatus->setText(QueueLine(queuedFiles()));
        session_.prompter().tell(QStringLiteral("Fax Test Report"), result.error(), Icon::Exclamation);
        emit sent({}, result.error());
        return;
    }
    // The server has the job: the queue is taken over by it.
    if (clearQueue) {
        queue_ = Queue{};
        ClearQueue(session_, QueueMode::Fax);
    }
    saveAddress();
    ui_->txtStatus->setText(QStringLiteral("Fax job %1 is with the fax server (%2).").arg(result->jobId, result->jobFile));
    sentAt_.emplace();
    sentAt_->start();
    emit sent(result->jobId, {});
    close();
}

void frmFax::saveAddress()
{
    PutLocal(session_, fax::Section, fax::ToName, ui_->txtTo->text());
    PutLocal(session_, fax::Section, fax::ToNumber, ui_->txtNo->text());
    PutLocal(session_, fax::Section, fax::ToCompany, ui_->txtComp->text());
    PutLocal(session_, fax::Section, fax::FromName, ui_->txtFrom->text());
}

void frmFax::closeEvent(QCloseEvent* event)
{
    // Held while the job is on its way, and three seconds after a send so
    // that the person sees the job's number; then it closes by itself.
    // A preparation is stopped first.
    if (preparing_ || annotating_->waiting())
        cmdCancel_Click();
    const qint64 since = sentAt_ ? sentAt_->elapsed() : HoldMs;
    if (sending_ || since < HoldMs) {
        event->ignore();
        QTimer::singleShot(sending_ ? 200 : int(HoldMs - since), this, &QWidget::close);
        return;
    }
    session_.traceCall(QStringLiteral("frmFax.Form_Unload"));
    saveAddress();
    QDialog::closeEvent(event);
}

}  // namespace tarlox
