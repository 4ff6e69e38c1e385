#include "output/forms/frmEmail.h"

#include "output/EmailSend.h"
#include "output/MailSettings.h"
#include "output/OutputPreparation.h"
#include "output/forms/SendWithStatus.h"

#include "base/Prompter.h"
#include "base/TextTools.h"
#include "data/Session.h"
#include "data/Settings.h"
#include "ui_frmEmail.h"

#include <QCloseEvent>
#include <QCoreApplication>
#include <QFile>
#include <QRegularExpression>
#include <QTimer>

namespace tarlox {

namespace {

const QString kAnnotate = QStringLiteral("Annotate");
const QString kPdf = QStringLiteral("PDF");

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
    : QDialog(parent), session_(session), ui_(std::make_unique<Ui::frmEmail>())
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
    connect(ui_->cmdCancel, &QPushButton::clicked, this, [this] {
        if (sending_)
            cancelled_ = true;  // the preparation stops between pages
        else
            close();
    });
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

void frmEmail::busy(bool on)
{
    sending_ = on;
    cancelled_ = false;
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

    // The check boxes hold for this send only: the preparation reads the
    // settings, which get their stored values back afterwards.
    const QString storedAnnotate = GetLocal(session_, section::Info, kAnnotate);
    const QString storedPdf = GetLocal(session_, section::Info, kPdf);
    PutLocal(session_, section::Info, kAnnotate, BoolToIni(ui_->chkAnnotate->isChecked()));
    PutLocal(session_, section::Info, kPdf, BoolToIni(ui_->chkPDF->isChecked()));
    const bool throughTemp = !GetLocal(session_, section::Info, QStringLiteral("Authorization")).trimmed().isEmpty()
                             || SomePages(sending.files) || ui_->chkAnnotate->isChecked() || ui_->chkPDF->isChecked()
                             || GetLocalBool(session_, section::Interface, QStringLiteral("AddMessage"));
    bool silent = false;
    QStringList files;
    QString error;
    if (throughTemp) {
        silent = true;
        ui_->txtStatus->setPlainText(QStringLiteral("Preparing the attachments"));
        IoResult<QStringList> prepared = SaveTempFiles(session_, sending.files, sending.messages, true, [this](const QString& doing) {
            ui_->txtStatus->appendPlainText(doing);
            QCoreApplication::processEvents();
            return !cancelled_;
        });
        if (prepared)
            files = *prepared;
        else
            error = prepared.error();
    } else {
        files = StoredFiles(sending.files);
    }
    PutLocal(session_, section::Info, kAnnotate, storedAnnotate);
    PutLocal(session_, section::Info, kPdf, storedPdf);

    MailMessage message{ui_->txtFromAddress->text().trimmed(), ui_->txtFrom->text(), ui_->txtToAddress->text().trimmed(),
                        ui_->txtTo->text(), ui_->txtSubject->text(), ui_->txtMessage->toPlainText(), files};
    if (error.isEmpty()) {
        ui_->txtStatus->clear();
        if (client) {
            error = UseClient(message, silent);
            if (error.isEmpty())
                ui_->txtStatus->setPlainText(QStringLiteral("The mail program was opened with the message."));
        } else {
            error = SendWithStatus(EmailServerSettings(session_), message, ui_->txtStatus).error;
        }
    }
    // The mail client reads its attachments later: temporary files stay
    // for it, and the sweep of the temporary directory takes them.
    if (throughTemp && !client)
        for (const QString& file : files)
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
    QString text = QStringLiteral("Your attempt to send mail failed for the following reason: \n") + error;
    if (!kept.isEmpty())
        text += QStringLiteral("\n\n") + QueueLine(kept.files) + QStringLiteral(". The queue is kept for another try.");
    prompter.tell(QStringLiteral("Email"), text, Icon::Exclamation);
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
        cancelled_ = true;
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
