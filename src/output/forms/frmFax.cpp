#include "output/forms/frmFax.h"

#include "base/Prompter.h"
#include "data/Session.h"
#include "data/Settings.h"
#include "output/FaxTask.h"
#include "output/HylafaxClient.h"
#include "ui_frmFax.h"

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

frmFax::frmFax(Session& session, QWidget* parent) : QDialog(parent), session_(session), ui_(std::make_unique<Ui::frmFax>())
{
    ui_->setupUi(this);
    setAttribute(Qt::WA_DeleteOnClose);
    connect(ui_->cmdFax, &QPushButton::clicked, this, &frmFax::cmdFax_Click);
    connect(ui_->cmdQueue, &QPushButton::clicked, this, &frmFax::cmdQueue_Click);
    connect(ui_->cmdClear, &QPushButton::clicked, this, &frmFax::cmdClear_Click);
    connect(ui_->cmdFind, &QPushButton::clicked, this, &frmFax::cmdFind_Click);
    connect(ui_->cmdCancel, &QPushButton::clicked, this, &QDialog::close);
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
    // path;pages pairs
    return faxFiles_.trimmed().isEmpty() ? 0 : int(faxFiles_.split(QLatin1Char(';')).size() / 2);
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
    faxFiles_ = GetLocal(session_, section::Info, fax::FaxFiles);
    faxMessages_ = GetLocal(session_, section::Info, fax::FaxMessages);
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
    // The image's pair behind the queue; its message follows when the output
    // preparation adds message strings.
    const QString pages = ui_->txtPages->text() == QLatin1String("All") ? QString() : ui_->txtPages->text();
    faxFiles_ += (faxFiles_.isEmpty() ? QString() : QStringLiteral(";")) + session_.imageFilePath + QLatin1Char(';') + pages;
    PutLocal(session_, section::Info, fax::FaxFiles, faxFiles_);
    PutLocal(session_, section::Info, fax::FaxMessages, faxMessages_);
    close();
}

void frmFax::cmdClear_Click()
{
    faxFiles_.clear();
    faxMessages_.clear();
    PutLocal(session_, section::Info, fax::FaxFiles, QString());
    PutLocal(session_, section::Info, fax::FaxMessages, QString());
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
    QString files = faxFiles_;
    bool withQueue = true;
    if (current && queuedFiles() > 0) {
        const Answer answer = session_.prompter().ask(
            QStringLiteral("Fax Queued Images?"),
            QStringLiteral("There are other images queued up to fax. Hit 'Yes' to fax these images along with the current one, "
                           "'No' to only fax the current image, or 'Cancel' to end without faxing"),
            Buttons::YesNoCancel, Icon::Question);
        if (answer == Answer::Cancel) {
            session_.annotate = GetLocalBool(session_, section::Info, QStringLiteral("Annotate"));
            close();
            return;
        }
        withQueue = answer == Answer::Yes;
    }
    // The pages go out annotated as the box says, this time.
    session_.annotate = ui_->chkAnnotate->isChecked();
    FaxRequest request;
    request.toName = ui_->txtTo->text();
    request.toCompany = ui_->txtComp->text();
    request.number = ui_->txtNo->text();
    request.fromName = ui_->txtFrom->text();
    request.message = ui_->txtMessage->toPlainText();
    if (withQueue) {
        const QStringList pairs = files.split(QLatin1Char(';'));
        for (qsizetype i = 0; i + 1 < pairs.size(); i += 2)
            request.pageFiles << pairs[i];
    }
    if (current)
        request.pageFiles << session_.imageFilePath;
    if (request.pageFiles.isEmpty()) {
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
    const fax::Sender sender = fax::SenderSettings(FaxKeys(session_), session_.programDir);
    sending_ = true;
    for (QPushButton* b : {ui_->cmdFax, ui_->cmdQueue, ui_->cmdClear, ui_->cmdFind})
        b->setEnabled(false);
    setCursor(Qt::BusyCursor);
    ui_->txtStatus->setText(QStringLiteral("Handing the fax to the fax server..."));
    RunFaxTask(
        this,
        [where = *server, request, sender, tempDir = session_.tempDir, today = session_.now().date()] {
            HylafaxClient engine(where);
            return SendFax(engine, request, sender, tempDir, today);
        },
        [this, withQueue](IoResult<SentFax> result) { finishSend(result, withQueue); });
}

void frmFax::finishSend(const IoResult<SentFax>& result, bool clearQueue)
{
    sending_ = false;
    unsetCursor();
    if (!result) {
        // The queue stays as it was; the person may try again.
        for (QPushButton* b : {ui_->cmdFax, ui_->cmdClear, ui_->cmdFind})
            b->setEnabled(true);
        ui_->cmdQueue->setEnabled(!session_.imageFilePath.isEmpty());
        ui_->txtStatus->setText(QueueLine(queuedFiles()));
        session_.annotate = GetLocalBool(session_, section::Info, QStringLiteral("Annotate"));
        session_.prompter().tell(QStringLiteral("Fax Test Report"), result.error(), Icon::Exclamation);
        emit sent({}, result.error());
        return;
    }
    // The server has the job: the queue is taken over by it.
    if (clearQueue) {
        faxFiles_.clear();
        faxMessages_.clear();
        PutLocal(session_, section::Info, fax::FaxFiles, QString());
        PutLocal(session_, section::Info, fax::FaxMessages, QString());
    }
    saveAddress();
    session_.annotate = GetLocalBool(session_, section::Info, QStringLiteral("Annotate"));
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
