#include "output/forms/frmEtest.h"

#include "output/EmailSend.h"
#include "output/MailSettings.h"
#include "output/forms/SendWithStatus.h"

#include "data/Session.h"
#include "data/Settings.h"
#include "ui_frmEtest.h"

#include <QCloseEvent>

namespace tarlox {

namespace {

struct Binding {
    QLineEdit* Ui::frmEtest::*box;
    const QString& key;
};

const Binding kBindings[] = {
    {&Ui::frmEtest::txtFName, email::TestFromName},
    {&Ui::frmEtest::txtFAddress, email::TestFromAddress},
    {&Ui::frmEtest::txtTName, email::TestToName},
    {&Ui::frmEtest::txtTAddress, email::TestToAddress},
};

}  // namespace

frmEtest::frmEtest(Session& session, QWidget* parent)
    : QDialog(parent), session_(session), ui_(std::make_unique<Ui::frmEtest>())
{
    ui_->setupUi(this);
    setAttribute(Qt::WA_DeleteOnClose);
    throughClient = [this] { return EmailThroughClient(session_); };
    serverSettings = [this] { return EmailServerSettings(session_); };
    for (const Binding& b : kBindings)
        (ui_.get()->*b.box)->setText(GetLocal(session_, email::Section, b.key));
    ui_->cmdSend->setDefault(true);
    connect(ui_->cmdSend, &QPushButton::clicked, this, &frmEtest::cmdSend_Click);
    connect(ui_->cmdClose, &QPushButton::clicked, this, &QDialog::close);
}

frmEtest::~frmEtest() = default;

void frmEtest::Form_Unload()
{
    for (const Binding& b : kBindings)
        PutLocal(session_, email::Section, b.key, (ui_.get()->*b.box)->text());
}

void frmEtest::cmdSend_Click()
{
    if (sending_)
        return;
    // The message is built from the keys, so the boxes go there first.
    Form_Unload();
    const bool client = throughClient();
    MailMessage message = TestMessage(session_, client, session_.now());
    ui_->txtStatus->clear();
    if (client) {
        bool silent = false;
        const QString error = UseClient(message, silent);
        ui_->txtStatus->setPlainText(error.isEmpty() ? QStringLiteral("The mail program was opened with the test message.")
                                                     : kSendFailed + error);
        return;
    }
    sending_ = true;
    ui_->cmdSend->setEnabled(false);
    ui_->cmdClose->setEnabled(false);
    setCursor(Qt::BusyCursor);
    SendWithStatus(serverSettings(), message, ui_->txtStatus);
    unsetCursor();
    ui_->cmdSend->setEnabled(true);
    ui_->cmdClose->setEnabled(true);
    sending_ = false;
}

void frmEtest::closeEvent(QCloseEvent* event)
{
    if (sending_) {
        event->ignore();
        return;
    }
    Form_Unload();
    QDialog::closeEvent(event);
}

}  // namespace tarlox
