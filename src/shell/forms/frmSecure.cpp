#include "shell/forms/frmSecure.h"

#include "data/UserData.h"
#include "shell/SettingsRules.h"
#include "shell/SupportListing.h"
#include "data/Connection.h"
#include "base/Prompter.h"
#include "data/Session.h"
#include "ui_frmSecure.h"

#include <QClipboard>
#include <QFileInfo>
#include <QFocusEvent>
#include <QGuiApplication>
#include <QHeaderView>
#include <QMimeData>

namespace tarlox {

frmSecure::frmSecure(Session& session, QWidget* parent)
    : QDialog(parent)
    , session_(session)
    , ui_(std::make_unique<Ui::frmSecure>())
{
    ui_->setupUi(this);
    ui_->grdUsers->horizontalHeader()->setStretchLastSection(true);
    ui_->grdUsers->verticalHeader()->hide();

    for (QLineEdit* box : {ui_->txtServerIni, ui_->txtConnectionTimeout, ui_->txtDatabase, ui_->txtDatabasePassword, ui_->txtServer,
                           ui_->txtUserID, ui_->txtPassword, ui_->txtName}) {
        connect(box, &QLineEdit::textChanged, this, &frmSecure::CheckChange);
        box->installEventFilter(this);
    }
    for (QRadioButton* option : {ui_->optAccess, ui_->optSQL}) {
        connect(option, &QRadioButton::toggled, this, [this] {
            EnableDisableDataFrames();
            CheckChange();
        });
    }
    connect(ui_->cmdUpdate, &QPushButton::clicked, this, &frmSecure::cmdUpdate_Click);
    connect(ui_->cmdCancel, &QPushButton::clicked, this, &frmSecure::cmdCancel_Click);
    connect(ui_->cmdClip, &QPushButton::clicked, this, &frmSecure::cmdClip_Click);
    connect(ui_->grdUsers, &QTableWidget::cellDoubleClicked, this, [this](int row, int) { grdUsers_DblClick(row); });
    connect(ui_->tabMain, &QTabWidget::currentChanged, this, &frmSecure::tabChanged);
    connect(ui_->cmdServerIni, &QToolButton::clicked, this, [this] {
        const QString file = session_.prompter().chooseOpenFile(QStringLiteral("Server Configuration File"), ui_->txtServerIni->text(),
                                                                QStringLiteral("Configuration Files (*.ini)"));
        if (!file.isEmpty()) {
            ui_->txtServerIni->setText(file);
            txtServerIni_Validate();
        }
    });
    connect(ui_->cmdDataBase, &QToolButton::clicked, this, [this] {
        const QString file = session_.prompter().chooseOpenFile(QStringLiteral("Database Name"), ui_->txtDatabase->text(),
                                                                QStringLiteral("Data Base Files (*.db)"));
        if (!file.isEmpty())
            ui_->txtDatabase->setText(file);
    });
    loaded_ = LoadValues();
}

frmSecure::~frmSecure() = default;

void frmSecure::showEntries(const ServerEntries& e)
{
    ui_->txtServerIni->setText(e.serverIni);
    (e.sql ? ui_->optSQL : ui_->optAccess)->setChecked(true);
    ui_->txtConnectionTimeout->setText(e.timeout);
    ui_->txtDatabase->setText(e.database);
    ui_->txtDatabasePassword->setText(e.databasePassword);
    ui_->txtServer->setText(e.server);
    ui_->txtUserID->setText(e.userId);
    ui_->txtPassword->setText(e.password);
}

ServerEntries frmSecure::entries() const
{
    ServerEntries e;
    e.serverIni = ui_->txtServerIni->text();
    e.sql = ui_->optSQL->isChecked();
    e.timeout = ui_->txtConnectionTimeout->text();
    e.database = ui_->txtDatabase->text();
    e.databasePassword = ui_->txtDatabasePassword->text();
    e.server = ui_->txtServer->text();
    e.userId = ui_->txtUserID->text();
    e.password = ui_->txtPassword->text();
    return e;
}

bool frmSecure::LoadValues()
{
    loading_ = true;
    const bool ok = LoadServerSetup(session_, state_);
    stored_ = StoredServerEntries(session_);
    showEntries(stored_);
    ui_->txtName->setText(state_.userName);
    GridData& grid = state_.machines;
    ui_->grdUsers->clear();
    ui_->grdUsers->setColumnCount(int(grid.headers.size()));
    ui_->grdUsers->setHorizontalHeaderLabels(grid.headers);
    ui_->grdUsers->setRowCount(int(grid.rows.size()));
    for (int r = 0; r < grid.rows.size(); ++r)
        for (int c = 0; c < grid.rows.at(r).size(); ++c)
            ui_->grdUsers->setItem(r, c, new QTableWidgetItem(grid.rows.at(r).at(c)));
    ui_->grdUsers->resizeColumnsToContents();
    loading_ = false;
    EnableDisableDataFrames();
    CheckChange();
    return ok;
}

void frmSecure::CheckChange()
{
    if (loading_)
        return;
    ui_->cmdUpdate->setEnabled(ServerEntriesDiffer(entries(), stored_) || ui_->txtName->text() != state_.userName);
}

void frmSecure::EnableDisableDataFrames()
{
    const bool sql = ui_->optSQL->isChecked();
    ui_->fraSQL->setEnabled(sql);
    ui_->fraAccess->setEnabled(!sql);
}

void frmSecure::txtConnectionTimeout_LostFocus()
{
    ui_->txtConnectionTimeout->setText(QString::number(ClampTimeout(ui_->txtConnectionTimeout->text())));
}

void frmSecure::txtServerIni_Validate()
{
    const QString path = ui_->txtServerIni->text();
    if (path == stored_.serverIni)
        return;
    if (QFileInfo(path).isFile()) {
        ReadServerIni(session_, path);
        LoadValues();
    } else if (session_.prompter().ask(QStringLiteral("File doesn't exist!"), path + QStringLiteral(" does not exist! Do you want to create it?"),
                                       Buttons::YesNo, Icon::Critical)
               == Answer::No) {
        ui_->txtServerIni->clear();
    }
    CheckChange();
}

bool frmSecure::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() == QEvent::FocusIn) {
        if (auto* box = qobject_cast<QLineEdit*>(watched))
            QMetaObject::invokeMethod(box, &QLineEdit::selectAll, Qt::QueuedConnection);
    } else if (event->type() == QEvent::FocusOut && !validating_) {
        const auto reason = static_cast<QFocusEvent*>(event)->reason();
        if (reason == Qt::TabFocusReason || reason == Qt::BacktabFocusReason || reason == Qt::MouseFocusReason) {
            validating_ = true;
            if (watched == ui_->txtConnectionTimeout)
                txtConnectionTimeout_LostFocus();
            else if (watched == ui_->txtServerIni)
                txtServerIni_Validate();
            validating_ = false;
        }
    }
    return QDialog::eventFilter(watched, event);
}

void frmSecure::cmdUpdate_Click()
{
    txtConnectionTimeout_LostFocus();
    if (UpdateServerSetup(session_, entries(), ui_->txtName->text(), state_.newMachine)) {
        QDialog::accept();
        return;
    }
    if (ui_->txtName->text().trimmed().isEmpty()) {
        ui_->tabMain->setCurrentIndex(0);
        ui_->txtName->setFocus();
    }
}

void frmSecure::cmdCancel_Click()
{
    reject();
}

void frmSecure::reject()
{
    CancelServerSetup(session_);
    QDialog::reject();
}

void frmSecure::tabChanged(int index)
{
    const int left = lastTab_;
    lastTab_ = index;
    if (left != 0 || index == 0 || !ui_->cmdUpdate->isEnabled())
        return;
    if (!CheckServerEntries(session_, entries()))
        return;
    const Answer answer = session_.prompter().ask(QStringLiteral("Save changes"), QStringLiteral("Do you want to save your changes?"),
                                                  Buttons::OkCancel, Icon::Question);
    if (answer == Answer::Ok) {
        SaveServerInfo(session_, entries());
        LoadValues();
        CheckChange();
    } else {
        cmdCancel_Click();
    }
}

void frmSecure::grdUsers_DblClick(int row)
{
    if (row < 0 || row >= ui_->grdUsers->rowCount() || !ui_->grdUsers->item(row, 0))
        return;
    if (RemoveMachine(session_, ui_->grdUsers->item(row, 0)->text()) == RemoveOutcome::Removed)
        LoadValues();
}

void frmSecure::cmdClip_Click()
{
    SupportFacts facts;
    facts.now = session_.now();
    facts.programVersion = session_.programVersion;
    facts.serverIni = ui_->txtServerIni->text();
    facts.serverName = GetHostName(session_);
    facts.companyName = session_.options.companyName.trimmed();
    facts.sql = ui_->optSQL->isChecked();
    facts.timeout = ui_->txtConnectionTimeout->text();
    facts.server = ui_->txtServer->text();
    facts.userId = ui_->txtUserID->text();
    facts.password = ui_->txtPassword->text();
    facts.databasePassword = ui_->txtDatabasePassword->text();
    facts.database = ui_->txtDatabase->text();
    facts.machines = state_.machines;
    const SupportListing listing = BuildSupportListing(facts);

    auto* data = new QMimeData;
    data->setText(SupportListingText(listing));
    data->setHtml(SupportListingHtml(listing));
    const QByteArray rtf = SupportListingRtf(listing);
    data->setData(QStringLiteral("text/rtf"), rtf);
    data->setData(QStringLiteral("application/rtf"), rtf);
    QClipboard* clipboard = QGuiApplication::clipboard();
    clipboard->clear();
    clipboard->setMimeData(data);
}

void frmSecure::Open(Session& session, QWidget* parent)
{
    auto* screen = new frmSecure(session, parent);
    screen->setAttribute(Qt::WA_DeleteOnClose);
    if (!screen->loaded()) {
        screen->deleteLater();
        return;
    }
    screen->open();
}

bool RunServerSetupForNewMachine(Session& session, QWidget* parent)
{
    frmSecure screen(session, parent);
    if (!screen.loaded())
        return false;
    screen.exec();
    return ReadUser(session, QString());
}

}  // namespace tarlox
