#include "output/forms/frmContactFM.h"

#include "output/MailSettings.h"

#include "base/Prompter.h"
#include "base/TextTools.h"
#include "data/ContactData.h"
#include "data/Session.h"
#include "data/Settings.h"
#include "ui_frmContactFM.h"

#include <QCloseEvent>
#include <QTimer>

#include <optional>

namespace tarlox {

namespace {

const QString kTag = QStringLiteral("tag");
const QString kCompanySort = QStringLiteral("Company Sort");
const QString kToName = QStringLiteral("To Name");
const QString kToNumber = QStringLiteral("To #");
const QString kToCompany = QStringLiteral("To Company");

QString TagText(const QLineEdit* box) { return box->property("tag").toString(); }

}  // namespace

frmContactFM::frmContactFM(Session& session, const QString& contactMode, QWidget* parent)
    : QDialog(parent), session_(session), ui_(std::make_unique<Ui::frmContactFM>()), contactMode_(contactMode)
{
    ui_->setupUi(this);
    setAttribute(Qt::WA_DeleteOnClose);
    for (QLineEdit* box : boxes()) {
        box->installEventFilter(this);
        connect(box, &QLineEdit::editingFinished, this, &frmContactFM::CheckChange);
    }
    connect(ui_->cboSort, &QCheckBox::clicked, this, &frmContactFM::cboSort_Click);
    connect(ui_->lstSearch, &QListWidget::itemSelectionChanged, this, &frmContactFM::lstSearch_Click);
    connect(ui_->cmdOK, &QPushButton::clicked, this, &frmContactFM::cmdOK_Click);
    connect(ui_->cmdSave, &QPushButton::clicked, this, &frmContactFM::Save);
    connect(ui_->cmdNew, &QPushButton::clicked, this, &frmContactFM::Cancel);
    connect(ui_->cmdDelete, &QPushButton::clicked, this, &frmContactFM::Delete);

    companySort_ = GetLocal(session_, section::Fax, kCompanySort).trimmed().toUpper() == u"Y";
    ui_->cboSort->setChecked(companySort_);
    Find();
    SaveValues();
    Mode(QStringLiteral("N"));
    ui_->cmdOK->setDefault(true);
}

frmContactFM::~frmContactFM() = default;

QList<QLineEdit*> frmContactFM::boxes() const
{
    return {ui_->txtComp, ui_->txtLast, ui_->txtFirst, ui_->txtNo, ui_->txtEmail};
}

void frmContactFM::Find()
{
    const QSignalBlocker block(ui_->lstSearch);
    ui_->lstSearch->clear();
    QStringList lines;
    LoadContacts(session_, lines, companySort_);
    // A row shows first name, last name and company; the tabs split it again.
    ui_->lstSearch->addItems(lines);
    haveContact_ = false;
}

void frmContactFM::Mode(const QString& state)
{
    if (state == u"C") {
        ui_->cmdSave->setEnabled(true);
        ui_->cmdSave->setDefault(true);
        return;
    }
    ui_->cmdSave->setEnabled(false);
    ui_->cmdOK->setDefault(true);
    ui_->cmdDelete->setEnabled(haveContact_);
    ui_->cmdNew->setEnabled(haveContact_);
}

void frmContactFM::SaveValues()
{
    for (QLineEdit* box : boxes())
        box->setProperty("tag", box->text());
}

void frmContactFM::CheckChange()
{
    for (QLineEdit* box : boxes()) {
        if (box->text() != TagText(box)) {
            Mode(QStringLiteral("C"));
            return;
        }
    }
    Mode(QStringLiteral("N"));
}

void frmContactFM::Cancel()
{
    haveContact_ = false;
    for (QLineEdit* box : boxes())
        box->clear();
    {
        const QSignalBlocker block(ui_->lstSearch);
        ui_->lstSearch->clearSelection();
        ui_->lstSearch->setCurrentRow(-1);
    }
    SaveValues();
    Mode(QStringLiteral("N"));
}

void frmContactFM::cboSort_Click()
{
    companySort_ = ui_->cboSort->isChecked();
    Find();
    Cancel();
}

void frmContactFM::lstSearch_Click()
{
    haveContact_ = false;
    bool found = false;
    const QList<QListWidgetItem*> chosen = ui_->lstSearch->selectedItems();
    if (!chosen.isEmpty()) {
        const QStringList parts = chosen.first()->text().split(QLatin1Char('\t'));
        ContactRecord& c = session_.contact;
        c.firstName = parts.value(0);
        c.lastName = parts.value(1);
        c.companyName = parts.value(2);
        found = ReadContact(session_);
        if (found) {
            // Empty numbers and addresses are stored as one blank.
            ui_->txtLast->setText(c.lastName);
            ui_->txtFirst->setText(c.firstName);
            ui_->txtComp->setText(c.companyName);
            ui_->txtNo->setText(c.faxNumber.trimmed());
            ui_->txtEmail->setText(c.email.trimmed());
            haveContact_ = true;
            Mode(QStringLiteral("N"));
        }
    }
    if (!found)
        Cancel();
    SaveValues();
}

void frmContactFM::Save()
{
    if (ui_->txtLast->text().isEmpty() || ui_->txtFirst->text().isEmpty() || ui_->txtComp->text().isEmpty()) {
        session_.prompter().tell(QStringLiteral("Fields Missing"), QStringLiteral("First Name, Last Name and Company must not be blank"),
                                 Icon::Critical);
        return;
    }
    ContactRecord& c = session_.contact;
    std::optional<ContactRecord> old;
    if (haveContact_) {
        // An edit is a deletion of the row as loaded and an addition.
        c.companyName = TagText(ui_->txtComp);
        c.lastName = TagText(ui_->txtLast);
        c.firstName = TagText(ui_->txtFirst);
        c.faxNumber = TagText(ui_->txtNo);
        c.email = TagText(ui_->txtEmail);
        if (DeleteContact(session_))
            old = c;
    }
    c.companyName = ui_->txtComp->text();
    c.lastName = ui_->txtLast->text();
    c.firstName = ui_->txtFirst->text();
    c.faxNumber = ui_->txtNo->text();
    c.email = ui_->txtEmail->text().trimmed();
    const bool added = AddContact(session_, false);
    if (!added && old) {
        // The new key is taken: the row as it was goes back, nothing is lost.
        c = *old;
        AddContact(session_, false);
    }
    Find();
    if (!added) {
        Cancel();
        return;
    }
    // The saved row is the one on display and the one selected.
    const QString line = c.firstName + QLatin1Char('\t') + c.lastName + QLatin1Char('\t') + c.companyName;
    const QList<QListWidgetItem*> rows = ui_->lstSearch->findItems(line, Qt::MatchExactly);
    if (!rows.isEmpty()) {
        const QSignalBlocker block(ui_->lstSearch);
        ui_->lstSearch->setCurrentItem(rows.first());
    }
    SaveValues();
    haveContact_ = true;
    Mode(QStringLiteral("N"));
}

void frmContactFM::Delete()
{
    ContactRecord& c = session_.contact;
    c.companyName = TagText(ui_->txtComp);
    c.lastName = TagText(ui_->txtLast);
    c.firstName = TagText(ui_->txtFirst);
    if (DeleteContact(session_))
        Find();
    Mode(QStringLiteral("N"));
}

void frmContactFM::cmdOK_Click()
{
    if (haveContact_) {
        const QString name = ui_->txtFirst->text() + QLatin1Char(' ') + ui_->txtLast->text();
        if (contactMode_ == u"Email") {
            PutLocal(session_, email::Section, email::ToName, name);
            PutLocal(session_, email::Section, email::ToAddress, ui_->txtEmail->text());
            PutLocal(session_, email::Section, email::ToCompany, ui_->txtComp->text());
        } else {
            PutLocal(session_, section::Fax, kToName, name);
            PutLocal(session_, section::Fax, kToNumber, ui_->txtNo->text());
            PutLocal(session_, section::Fax, kToCompany, ui_->txtComp->text());
        }
    }
    close();
}

void frmContactFM::closeEvent(QCloseEvent* event)
{
    if (!unloaded_) {
        unloaded_ = true;
        if (haveContact_) {
            CheckChange();
            if (ui_->cmdSave->isEnabled()
                && session_.prompter().ask(QStringLiteral("Save Changes"), QStringLiteral("Do you want to save your changes?"),
                                           Buttons::YesNo, Icon::Question) == Answer::Yes)
                Save();
        }
        PutLocal(session_, section::Fax, kCompanySort, companySort_ ? QStringLiteral("Y") : QStringLiteral("N"));
        emit reopenRequested(contactMode_ == u"Email" ? QStringLiteral("frmEmail") : QStringLiteral("frmFax"));
    }
    QDialog::closeEvent(event);
}

bool frmContactFM::eventFilter(QObject* watched, QEvent* event)
{
    // A box selects its whole text when it gains the focus.
    if (event->type() == QEvent::FocusIn)
        if (auto* box = qobject_cast<QLineEdit*>(watched))
            QTimer::singleShot(0, box, &QLineEdit::selectAll);
    return QDialog::eventFilter(watched, event);
}

}  // namespace tarlox
