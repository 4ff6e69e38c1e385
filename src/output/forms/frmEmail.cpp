#include "output/forms/frmEmail.h"

#include "output/EmailSend.h"
#include "output/MailSettings.h"
#include "output/OutputPreparation.h"
#include "output/forms/AnnotateFiles.h"
#include "output/forms/SendWithStatus.h"

#include "base/Prompter.h"
#include "base/TextTools.h"
#include "data/Session.h"
#include "data/Settings.h"
#include "ui_frmEmail.h"

#include <QCloseEvent>
#include <QFile>
#include <QMetaMethod>
#include <QRegularExpression>
#include <QTimer>

namespace tarlox {

namespace {

const QString kAnnotate = QStringLiteral("Annotate");
const QString kPdf = QStringLiteral("PDF");  // the check boxes' first state

struct Binding {
    QLineEdit* Ui::frmEmail::*box;
    const QString& key;
};

const Binding kBindings[] = {
    {&Ui::frmEmail::txtTo, email::ToName},         {&Ui::frmEmail::txtToAddress, email::ToAddress},
    {&Ui::frmEmail::txtComp, email::ToCompany},    {&Ui::frmEmail::txtFrom, email::FromName},
    {&Ui::frmEmail::txtFromAddress, email::FromAddress}, {&Ui::frmEmail::txtSubject, email::Subject},
};

// True when any path;pages entry of the queue names some pages only.
bool SomePages(const QString& files)
{
    const QStringList parts = files.split(QLatin1Char(';'));
    for (qsizetype i = 1; i < parts.size(); i += 2)
        if (!parts[i].isEmpty() && parts[i].compare(QLatin1String("All"), Qt::CaseInsensitive) != 0)
            return true;
    return false;
}

// The stored files of a queue, as they are.
QStringList StoredFiles(const QString& files)
{
    QStringList paths;
    const QStringList parts = files.split(QLatin1Char(';'));
    for (qsizetype i = 0; i < parts.size(); i += 2)
        if (!parts[i].isEmpty())
            paths << parts[i];
    return paths;
}

}  // namespace

frmEmail::frmEmail(Session& session, QWidget* parent)
    : QDialog(parent), session_(session), ui_(std::make_unique<Ui::frmEmail>()), annotating_(new AnnotateFiles(this))
{
    ui_->setupUi(this);
    setAttribute(Qt::WA_DeleteOnClose);
    if (!GetLocalBool(session_, section::Interface, QStringLiteral("AddMessage")))
        ui_->fraMessage->hide();
    for (const Binding& b : kBindings)
        (ui_.get()->*b.box)->setText(GetLocal(session_, email::Section, b.key));
    company_ = GetLocal(session_, section::Fax, QStringLiteral("CompanyName"));
    ui_->chkAnnotate->setChecked(GetLocalBool(session_, section::Info, kAnnotate));
    ui_->chkPDF->setChecked(GetLocalBool(session_, section::Info, kPdf));
    queue_ = ReadQueue(session_, QueueMode::Email);
    ui_->txtStatus->setPlainText(QueueLine(queue_.files));
    const QString defaultPages = GetLocal(session_, section::Info, QStringLiteral("DefaultPages")).trimmed();
    ui_->txtPages->setText(defaultPages.isEmpty() ? QStringLiteral("All") : defaultPages);
    if (!imageCurrent()) {
        // Opened for the queue alone.
        ui_->cmdQueue->setEnabled(false);
        ui_->txtPages->setEnabled(false);
        ui_->txtPages->clear();
    }
    for (QLineEdit* box : findChildren<QLineEdit*>())
        box->installEventFilter(this);
    connect(ui_->txtPages, &QLineEdit::editingFinished, this, &frmEmail::txtPages_Validate);
    connect(ui_->cmdEmail, &QPushButton::clicked, this, &frmEmail::cmdEmail_Click);
    connect(ui_->cmdQueue, &QPushButton::clicked, this, &frmEmail::cmdQueue_Click);
    connect(ui_->cmdClear, &QPushButton::clicked, this, &frmEmail::cmdClear_Click);
    connect(ui_->cmdFind, &QPushButton::clicked, this, &frmEmail::cmdFind_Click);
    connect(ui_->cmdCancel, &QPushButton::clicked, this, &frmEmail::cmdCancel_Click);
    connect(annotating_, &AnnotateFiles::annotateRequested, this, &frmEmail::annotateRequested);
    ui_->cmdEmail->setDefault(true);
}

frmEmail::~frmEmail() = default;

bool frmEmail::imageCurrent() const { return !session_.imageFilePath.isEmpty(); }

bool frmEmail::txtPages_Validate()
{
    if (!ui_->txtPages->isEnabled())
        return true;
    const QString pages = ui_->txtPages->text().trimmed();
    static const QRegularExpression numbers(QStringLiteral("^[0-9,]+$"));
    if (pages.isEmpty()) {
        ui_->txtPages->setText(QStringLiteral("All"));
        return true;
    }
    if (pages.compare(QLatin1String("All"), Qt::CaseInsensitive) == 0 || numbers.match(pages).hasMatch())
        return true;
    session_.prompter().tell(QStringLiteral("Invalid Pages"), QStringLiteral("Pages must be 'All' or in the form 'n,m,l'"), Icon::Exclamation);
    ui_->txtPages->setText(QStringLiteral("All"));
    return false;
}

MessageFields frmEmail::messageFields() const
{
    MessageFields f;
    f.from = company_;
    f.to = ui_->txtComp->text();
    f.order = ui_->txtOrder->text();
    f.invoice = ui_->txtInvoice->text();
    f.lineNum = ui_->txtLineNum->text();
    f.custPO = ui_->txtCustPO->text();
    f.partDesc = ui_->txtPartDesc->text();
    f.quantity = ui_->txtQuantity->text();
    f.heat = ui_->txtHeat->text();
    f.tag = ui_->txtTag->text();
    return f;
}

void frmEmail::AddImageToQueue(Queue& queue)
{
    if (imageCurrent())
        AddFileAndMessage(queue, session_.imageFilePath, ui_->txtPages->text(), messageFields());
}

void frmEmail::cmdQueue_Click()
{
    if (!txtPages_Validate())
        return;
    if (const QString problem = CheckMessageFields(messageFields()); !problem.isEmpty()) {
        session_.prompter().tell(QStringLiteral("Email"), problem, Icon::Exclamation);
        return;
    }
    AddImageToQueue(queue_);
    WriteQueue(session_, QueueMode::Email, queue_);
    close();
}

void frmEmail::cmdClear_Click()
{
    queue_ = {};
    ClearQueue(session_, QueueMode::Email);
    close();
}

void frmEmail::cmdFind_Click()
{
    emit findRequested();
    close();
}

void frmEmail::cmdCancel_Click()
{
    if (!sending_) {
        close();
        return;
    }
    *stop_ = true;  // the preparation stops between pages
    if (annotating_->waiting()) {
        annotating_->cancel();
        stopped(std::exchange(prepared_, {}));
    }
}

void frmEmail::busy(bool on)
{
    sending_ = on;
    if (on)
        stop_ = NewStopFlag();
    for (QPushButton* b : {ui_->cmdEmail, ui_->cmdQueue, ui_->cmdClear, ui_->cmdFind})
        b->setEnabled(!on && (b != ui_->cmdQueue || imageCurrent()));
    session_.prompter().setBusy(on);
}

void frmEmail::cmdEmail_Click()
{
    if (sending_ || !txtPages_Validate())
        return;
    Prompter& prompter = session_.prompter();
    const bool client = EmailThroughClient(session_);
    if (const QString problem = RecipientProblem(ui_->txtToAddress->text(), client); !problem.isEmpty()) {
        prompter.tell(QStringLiteral("Email"), problem, Icon::Exclamation);
        ui_->txtToAddress->setFocus();
        return;
    }
    if (const QString problem = CheckMessageFields(messageFields()); !problem.isEmpty()) {
        prompter.tell(QStringLiteral("Email"), problem, Icon::Exclamation);
        return;
    }
    Queue sending = queue_;
    if (imageCurrent() && !queue_.isEmpty()) {
        const Answer answer = prompter.ask(QStringLiteral("Email Queued Images?"),
                                           QStringLiteral("There are other images queued up to email. \n"
                                                          "Hit 'Yes' to email these images along with the current one, \n"
                                                          "'No' to only email the current image, or 'Cancel' to end \n"
                                                          "without emailing"),
                                           Buttons::YesNoCancel, Icon::Question);
        if (answer == Answer::Cancel) {
            close();
            return;
        }
        if (answer == Answer::No)
            sending = {};
    }
    AddImageToQueue(sending);
    busy(true);

    // The check boxes hold for this send only.
    OutputSettings settings = ReadOutputSettings(session_);
    settings.annotate = ui_->chkAnnotate->isChecked();
    settings.pdf = ui_->chkPDF->isChecked();
    const bool throughTemp =
        !settings.authorization.isEmpty() || SomePages(sending.files) || settings.annotate || settings.pdf || settings.addMessage;
    if (!throughTemp) {
        send(StoredFiles(sending.files), false);
        return;
    }
    // The attachments are prepared on a thread of their own; Cancel stops
    // between pages, and the queue stays as it was.
    ui_->txtStatus->setPlainText(QStringLiteral("Preparing the attachments"));
    const ProgressStep step = RelayedStep(this, stop_, [this](const QString& doing) { ui_->txtStatus->appendPlainText(doing); });
    const bool annotate = settings.annotate && isSignalConnected(QMetaMethod::fromSignal(&frmEmail::annotateRequested));
    RunInBackground(
        this,
        // Annotating works on TIFF; the PDF is made afterwards.
        [settings, annotate, today = session_.now().date(), items = QueueItems(sending.files, sending.messages), step] {
            return PrepareFiles(settings, today, !annotate, items, step);
        },
        [this, annotate, settings](IoResult<PreparedFiles> run) {
            if (!run) {
                if (run.error() == kOutputCancelled)
                    stopped({});
                else
                    finishSend({}, true, run.error());
                return;
            }
            for (const QString& problem : std::as_const(run->problems))
                session_.prompter().tell(QStringLiteral("Error"), problem, Icon::Exclamation);
            if (*stop_) {
                stopped(run->files);
                return;
            }
            if (!annotate) {
                send(run->files, true);
                return;
            }
            prepared_ = run->files;
            ui_->txtStatus->setPlainText(QStringLiteral("Annotate the attachments; closing the viewer sends them."));
            annotating_->start(run->files, [this, pdf = settings.pdf] {
                const QStringList files = std::exchange(prepared_, {});
                if (!pdf) {
                    send(files, true);
                    return;
                }
                RunInBackground(
                    this,
                    [files] {
                        IoResult<QStringList> made = QStringList();
                        for (const QString& file : files) {
                            IoResult<QString> pdf = AnnotatedToPdf(file);
                            if (!pdf)
                                return IoResult<QStringList>(pdf.failure());
                            made->append(*pdf);
                        }
                        return made;
                    },
                    [this, files](IoResult<QStringList> made) {
                        if (made)
                            send(*made, true);
                        else
                            finishSend(files, true, made.error());
                    });
            });
        });
}

void frmEmail::annotationDone()
{
    annotating_->annotationDone();
}

void frmEmail::stopped(const QStringList& prepared)
{
    for (const QString& file : prepared)
        QFile::remove(file);
    busy(false);
    ui_->txtStatus->setPlainText(QueueLine(queue_.files));
}

void frmEmail::send(const QStringList& files, bool throughTemp)
{
    const bool client = EmailThroughClient(session_);
    bool silent = throughTemp;
    MailMessage message{ui_->txtFromAddress->text().trimmed(), ui_->txtFrom->text(), ui_->txtToAddress->text().trimmed(),
                        ui_->txtTo->text(), ui_->txtSubject->text(), ui_->txtMessage->toPlainText(), files};
    ui_->txtStatus->clear();
    QString error;
    if (client) {
        error = UseClient(message, silent);
        if (error.isEmpty())
            ui_->txtStatus->setPlainText(QStringLiteral("The mail program was opened with the message."));
    } else {
        error = SendWithStatus(EmailServerSettings(session_), message, ui_->txtStatus).error;
    }
    // The mail client reads its attachments later: temporary files stay
    // for it, and the sweep of the temporary directory takes them.
    finishSend(throughTemp && !client ? files : QStringList(), false, error);
}

void frmEmail::finishSend(const QStringList& remove, bool preparing, const QString& error)
{
    for (const QString& file : remove)
        QFile::remove(file);
    busy(false);
    Form_Unload();
    if (error.isEmpty()) {
        ClearQueue(session_, QueueMode::Email);
        queue_ = {};
        close();
        return;
    }
    // A failed send spends nothing: what was queued stays queued, with the
    // image in hand added, for another try.
    Queue kept = queue_;
    AddImageToQueue(kept);
    WriteQueue(session_, QueueMode::Email, kept);
    queue_ = kept;
    QString text = (preparing ? QString() : QStringLiteral("Your attempt to send mail failed for the following reason: \n")) + error;
    if (!kept.isEmpty())
        text += QStringLiteral("\n\n") + QueueLine(kept.files) + QStringLiteral(". The queue is kept for another try.");
    session_.prompter().tell(QStringLiteral("Email"), text, Icon::Exclamation);
    close();
}

void frmEmail::Form_Unload()
{
    for (const Binding& b : kBindings)
        PutLocal(session_, email::Section, b.key, (ui_.get()->*b.box)->text());
}

void frmEmail::closeEvent(QCloseEvent* event)
{
    if (sending_) {
        cmdCancel_Click();
        event->ignore();
        return;
    }
    Form_Unload();
    QDialog::closeEvent(event);
}

bool frmEmail::eventFilter(QObject* watched, QEvent* event)
{
    // A box selects its whole text when it gains the focus.
    if (event->type() == QEvent::FocusIn)
        if (auto* box = qobject_cast<QLineEdit*>(watched))
            QTimer::singleShot(0, box, &QLineEdit::selectAll);
    return QDialog::eventFilter(watched, event);
}

}  // namespace tarlox
