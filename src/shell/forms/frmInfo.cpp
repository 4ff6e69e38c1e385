#include "shell/forms/frmInfo.h"

#include "shell/DriveMap.h"
#include "shell/SettingsRules.h"
#include "shell/StampFile.h"
#include "shell/SystemSettings.h"
#include "shell/forms/TagBinder.h"
#include "search/QuickFind.h"
#include "base/ErrorReport.h"
#include "base/Prompter.h"
#include "data/Session.h"
#include "startup/Startup.h"
#include "base/TextTools.h"
#include "store/SaneDeviceList.h"
#include "ui_frmInfo.h"
#include "data/Settings.h"
#include "output/FaxSettings.h"
#include "output/FaxTask.h"
#include "output/forms/frmCoverPage.h"

#include <QApplication>
#include <QDir>
#include <QFileInfo>
#include <QFocusEvent>
#include <QInputDialog>
#include <QPrinterInfo>
#include <QTimer>

namespace tarlox {

namespace {
const QString DefaultPrinterEntry = QStringLiteral("(Use System Default Printer)");
}

frmInfo::frmInfo(Session& session, QWidget* parent)
    : QDialog(parent)
    , session_(session)
    , ui_(std::make_unique<Ui::frmInfo>())
{
    ui_->setupUi(this);
    binder_ = new TagBinder(session_, this);
    chooseDevice = [this](const QStringList& devices) {
        bool ok = false;
        const QString choice = QInputDialog::getItem(this, QStringLiteral("Scanning Device"), QStringLiteral("Scanning Device:"), devices, 0, false, &ok);
        return ok ? choice : QString();
    };

    connect(binder_, &TagBinder::fieldChanged, this, &frmInfo::CheckChange);
    connect(ui_->cboPrinter, &QComboBox::currentIndexChanged, this, &frmInfo::CheckChange);
    connect(ui_->cboServerPrinter, &QComboBox::currentIndexChanged, this, &frmInfo::CheckChange);
    connect(ui_->cmdOK, &QPushButton::clicked, this, &frmInfo::cmdOK_Click);
    connect(ui_->cmdApply, &QPushButton::clicked, this, &frmInfo::cmdApply_Click);
    connect(ui_->cmdCancel, &QPushButton::clicked, this, &frmInfo::cmdCancel_Click);
    connect(ui_->cmdDevice, &QToolButton::clicked, this, &frmInfo::cmdDevice_Click);
    connect(ui_->cmdTest, &QPushButton::clicked, this, &frmInfo::emailTestRequested);
    connect(ui_->cmdCurDir, &QToolButton::clicked, this, [this] { browseDirectory(ui_->txtCurDir, QStringLiteral("Current Data Directory")); });
    connect(ui_->cmdTmpDir, &QToolButton::clicked, this, [this] {
        browseDirectory(ui_->txtTmpDir, QStringLiteral("Current Temporary Directory"));
        txtTmpDir_Validate();
    });
    connect(ui_->cmdAuthorizationStamp, &QToolButton::clicked, this, [this] {
        const QString file = session_.prompter().chooseOpenFile(QStringLiteral("Authorization Stamp File"), ui_->txtAuthorizationStamp->text(),
                                                                QStringLiteral("Paintbrush (*.pcx);;TIFF Bitmap (*.tif);;Window Bitmap (*.bmp)"));
        if (!file.isEmpty()) {
            ui_->txtAuthorizationStamp->setText(file);
            txtAuthorizationStamp_Validate();
        }
    });
    connect(ui_->cmdFaxCvr, &QToolButton::clicked, this, [this] {
        const QString current = ui_->txtFaxCvr->text();
        const QString start = current.isEmpty() ? session_.programDir + QStringLiteral("tarlox.cpe") : current;
        const QString file = session_.prompter().chooseOpenFile(QStringLiteral("Fax Cover Sheet"), start, QStringLiteral("Cover Page Files (*.cpe)"));
        if (!file.isEmpty())
            ui_->txtFaxCvr->setText(file);
    });
    for (QRadioButton* option : {ui_->optAuthorization_0, ui_->optAuthorization_1, ui_->optAuthorization_2})
        connect(option, &QRadioButton::toggled, this, &frmInfo::EnableDisableAuthorizationControls);
    for (QRadioButton* option : {ui_->optEmailAuth_0, ui_->optEmailAuth_1, ui_->optEmailAuth_2})
        connect(option, &QRadioButton::toggled, this, &frmInfo::EnableDisableEmailControls);
    connect(ui_->chkEmailClient, &QCheckBox::toggled, this, &frmInfo::EnableDisableEmailControls);
    for (QLineEdit* dpi : {ui_->txtHighDPI, ui_->txtLowDPI}) {
        connect(dpi, &QLineEdit::textEdited, this, [dpi] {
            const QString clamped = ClampDpi(dpi->text());
            if (clamped != dpi->text())
                dpi->setText(clamped);
        });
    }
    for (QWidget* w : std::initializer_list<QWidget*>{ui_->cboDrvMap, ui_->txtTmpDir, ui_->txtDefaultPages, ui_->txtAuthorizationStamp, ui_->txtQuickFindPattern,
                                                      ui_->txtFontSize, ui_->txtBright})
        w->installEventFilter(this);
    ui_->txtFaxCvr->installEventFilter(this);

    LoadValues();
    EnableDisableAuthorizationControls();
    EnableDisableEmailControls();
    ui_->tabMain->setCurrentIndex(0);
}

frmInfo::~frmInfo() = default;

void frmInfo::LoadValues()
{
    session_.traceCall(QStringLiteral("frmInfo.LoadValues"));
    loading_ = true;
    LoadSystemSettings(session_);
    binder_->LoadFields();
    LoadPrinterCombo();
    LoadDrvMapCombo();
    // The fax server's modems, as the server lists them when it answers.
    ui_->lstFaxPort->clear();
    if (auto server = fax::ServerSettings([this](const QString& key) { return GetLocal(session_, fax::Section, key); })) {
        RunFaxTask(
            this, [where = *server] { return HylafaxClient(where).devices(); },
            [this](IoResult<QList<FaxDevice>> devices) {
                ui_->lstFaxPort->clear();
                if (!devices) {
                    ui_->lstFaxPort->addItem(QStringLiteral("(no fax server: ") + devices.error() + QLatin1Char(')'));
                    return;
                }
                for (const FaxDevice& device : *devices)
                    ui_->lstFaxPort->addItem(device.name + QStringLiteral("  ") + device.number + QStringLiteral("  ") + device.status);
                if (devices->isEmpty())
                    ui_->lstFaxPort->addItem(QStringLiteral("(the fax server has no modem; jobs wait there)"));
            });
    }
    if (IntVal(ui_->txtFindRecs->text()) == 0)
        ui_->txtFindRecs->setText(QStringLiteral("100"));
    if (IntVal(ui_->txtFontSize->text()) == 0)
        ui_->txtFontSize->setText(QStringLiteral("8"));
    loading_ = false;
    CheckChange();
}

void frmInfo::LoadPrinterCombo()
{
    const QStringList printers = QPrinterInfo::availablePrinterNames();
    auto fill = [&](QComboBox* box, const QString& chosen) {
        const QSignalBlocker block(box);
        box->clear();
        box->addItem(DefaultPrinterEntry);
        box->addItems(printers);
        const int at = chosen.isEmpty() ? -1 : box->findText(chosen, Qt::MatchExactly);
        box->setCurrentIndex(at > 0 ? at : 0);
    };
    fill(ui_->cboPrinter, session_.printer);
    fill(ui_->cboServerPrinter, session_.serverPrinter);
}

void frmInfo::LoadDrvMapCombo()
{
    const QSignalBlocker block(ui_->cboDrvMap);
    ui_->cboDrvMap->clear();
    ui_->cboDrvMap->addItems(SplitDriveMap(session_.drvMap));
    ui_->cboDrvMap->addItem(QString());
    ui_->cboDrvMap->setCurrentIndex(ui_->cboDrvMap->count() - 1);
}

QStringList frmInfo::drvMapEntries() const
{
    QStringList entries;
    for (int i = 0; i < ui_->cboDrvMap->count(); ++i)
        if (!ui_->cboDrvMap->itemText(i).isEmpty())
            entries.append(ui_->cboDrvMap->itemText(i));
    return entries;
}

SystemSettingsChoices frmInfo::choices() const
{
    SystemSettingsChoices c;
    c.nextName = ui_->txtNxtimg->text();
    c.drvMapEntries = drvMapEntries();
    c.printer = ui_->cboPrinter->currentIndex() > 0 ? ui_->cboPrinter->currentText() : QString();
    c.serverPrinter = ui_->cboServerPrinter->currentIndex() > 0 ? ui_->cboServerPrinter->currentText() : QString();
    return c;
}

void frmInfo::CheckChange()
{
    if (loading_)
        return;
    bool changed = false;
    binder_->CheckFields(changed);
    changed = changed || SystemSettingsDiffer(session_, choices());
    ui_->cmdApply->setEnabled(changed);
}

void frmInfo::Save()
{
    SaveSystemSettings(session_, [this] { return binder_->SaveFields(); }, choices());
    CheckChange();
}

void frmInfo::keepFocus(QWidget* w)
{
    QTimer::singleShot(0, w, [w] {
        w->setFocus(Qt::OtherFocusReason);
        if (auto* line = qobject_cast<QLineEdit*>(w))
            line->selectAll();
        else if (auto* box = qobject_cast<QComboBox*>(w); box && box->lineEdit())
            box->lineEdit()->selectAll();
    });
}

bool frmInfo::cboDrvMap_LostFocus()
{
    QComboBox* box = ui_->cboDrvMap;
    const QString text = box->currentText().trimmed();
    const int selected = box->currentIndex();
    const bool onEntry = selected >= 0 && !box->itemText(selected).isEmpty();
    if (text.isEmpty()) {
        if (onEntry)
            box->removeItem(selected);
    } else {
        const std::optional<QString> entry = NormalizeDriveMapEntry(text);
        if (!entry) {
            session_.prompter().ask(ProgramTitle(), QStringLiteral("This is an Invalid Drive Map. Must be in the form 'F=C'"), Buttons::Ok,
                                    Icon::Critical);
            keepFocus(box);
            return false;
        }
        if (onEntry && box->itemText(selected) != *entry)
            box->setItemText(selected, *entry);
        else if (!onEntry && box->findText(*entry, Qt::MatchExactly) < 0)
            box->insertItem(box->count() - 1, *entry);
    }
    // Always exactly one empty entry, at the end, to type into.
    for (int i = box->count() - 1; i >= 0; --i)
        if (box->itemText(i).isEmpty())
            box->removeItem(i);
    box->addItem(QString());
    const int at = text.isEmpty() ? -1 : box->findText(NormalizeDriveMapEntry(text).value_or(QString()), Qt::MatchExactly);
    box->setCurrentIndex(at >= 0 ? at : box->count() - 1);
    if (at >= 0)
        box->setEditText(box->itemText(at));
    CheckChange();
    return true;
}

bool frmInfo::txtTmpDir_Validate()
{
    const QString dir = ui_->txtTmpDir->text();
    if (dir.isEmpty()) {
        session_.prompter().ask(QStringLiteral("Enter a Temporary Directory"), QStringLiteral("The Temporary Directory must not be left blank"),
                                Buttons::Ok, Icon::None);
        keepFocus(ui_->txtTmpDir);
        return false;
    }
    if (QFileInfo(dir).isDir())
        return true;
    const Answer answer = session_.prompter().ask(QStringLiteral("Create Temporary Directory"),
                                                  QStringLiteral("Invalid temporary directory! Do you want to create it?"), Buttons::YesNo,
                                                  Icon::Question);
    if (answer == Answer::Yes) {
        if (QDir().mkpath(dir))
            return true;
        ReportError(session_.prompter(), ErrorDetails{QStringLiteral("txtTmpDir_Validate"), QStringLiteral("Make directory ") + dir, 75,
                                                      QStringLiteral("Path/File access error")});
    }
    keepFocus(ui_->txtTmpDir);
    return false;
}

bool frmInfo::txtDefaultPages_Validate()
{
    if (ValidDefaultPages(ui_->txtDefaultPages->text()))
        return true;
    session_.prompter().ask(QStringLiteral("Invalid Pages"), QStringLiteral("Pages must be '', 'All' or in the form 'n,m,l'"), Buttons::Ok,
                            Icon::Exclamation);
    ui_->txtDefaultPages->clear();
    return false;
}

bool frmInfo::txtQuickFindPattern_Validate()
{
    const QString problem = QuickFindPatternProblem(ui_->txtQuickFindPattern->text());
    if (problem.isEmpty())
        return true;
    session_.prompter().ask(QStringLiteral("Quick Find Tag Pattern"), QStringLiteral("Invalid pattern: ") + problem, Buttons::Ok,
                            Icon::Exclamation);
    keepFocus(ui_->txtQuickFindPattern);
    return false;
}

bool frmInfo::txtAuthorizationStamp_Validate()
{
    const QString file = ui_->txtAuthorizationStamp->text();
    if (file.isEmpty() || StampFileLoads(file))
        return true;
    session_.prompter().ask(QStringLiteral("Stamp File"), QStringLiteral("Invalid Stamp File"), Buttons::Ok, Icon::Critical);
    ui_->txtAuthorizationStamp->clear();
    return false;
}

void frmInfo::txtFontSize_LostFocus()
{
    const QString clamped = ClampFontSize(ui_->txtFontSize->text());
    if (clamped != ui_->txtFontSize->text())
        ui_->txtFontSize->setText(clamped);
}

void frmInfo::txtBright_LostFocus()
{
    const QString clamped = ClampBrightness(ui_->txtBright->text());
    if (clamped != ui_->txtBright->text())
        ui_->txtBright->setText(clamped);
}

bool frmInfo::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == ui_->txtFaxCvr && event->type() == QEvent::MouseButtonDblClick) {
        txtFaxCvr_DblClick();
        return true;
    }
    if (event->type() == QEvent::FocusOut && !validating_) {
        // Only a move to another control of this dialog validates; a box or
        // another window taking the focus does not.
        const auto reason = static_cast<QFocusEvent*>(event)->reason();
        if (reason == Qt::TabFocusReason || reason == Qt::BacktabFocusReason || reason == Qt::MouseFocusReason || reason == Qt::ShortcutFocusReason) {
            validating_ = true;
            if (watched == ui_->cboDrvMap)
                cboDrvMap_LostFocus();
            else if (watched == ui_->txtTmpDir)
                txtTmpDir_Validate();
            else if (watched == ui_->txtDefaultPages)
                txtDefaultPages_Validate();
            else if (watched == ui_->txtAuthorizationStamp)
                txtAuthorizationStamp_Validate();
            else if (watched == ui_->txtQuickFindPattern)
                txtQuickFindPattern_Validate();
            else if (watched == ui_->txtFontSize)
                txtFontSize_LostFocus();
            else if (watched == ui_->txtBright)
                txtBright_LostFocus();
            validating_ = false;
        }
    }
    return QDialog::eventFilter(watched, event);
}

void frmInfo::txtFaxCvr_DblClick()
{
    const QString packaged = fax::CoverPagePath(QString(), session_.programDir);
    QString file = ui_->txtFaxCvr->text().trimmed();
    if (file.isEmpty())
        file = packaged;
    if (QFileInfo(file) == QFileInfo(packaged)) {
        session_.prompter().tell(QStringLiteral("Fax Cover Sheet"),
                                 QStringLiteral("Warning: This is the package cover page") + QStringLiteral(" and may be overwritten with the next update!"),
                                 Icon::Critical);
    }
    if (!QFileInfo::exists(file)) {
        session_.prompter().tell(QStringLiteral("Fax Cover Sheet"),
                                 QLatin1Char('\'') + file + QStringLiteral("' does not exist!") + QLatin1Char('\n') +
                                     QStringLiteral("Create new file and select using browse function."),
                                 Icon::Exclamation);
        file.clear();
    }
    auto* editor = new frmCoverPage(file, this);
    editor->open();
}

bool frmInfo::validateAll()
{
    validating_ = true;
    txtFontSize_LostFocus();
    txtBright_LostFocus();
    const bool ok = cboDrvMap_LostFocus() && txtTmpDir_Validate() && txtDefaultPages_Validate() && txtAuthorizationStamp_Validate()
        && txtQuickFindPattern_Validate();
    validating_ = false;
    return ok;
}

void frmInfo::EnableDisableAuthorizationControls()
{
    const bool stamp = ui_->optAuthorization_2->isChecked();
    const bool text = ui_->optAuthorization_1->isChecked();
    ui_->txtAuthorizationStamp->setEnabled(stamp);
    ui_->cmdAuthorizationStamp->setEnabled(stamp);
    ui_->lblAuthorizationStamp->setEnabled(stamp);
    ui_->txtAuthorizationText->setEnabled(text);
    ui_->lblAuthorizationText->setEnabled(text);
}

SmtpSettings frmInfo::emailSettingsOnScreen() const
{
    SmtpSettings settings;
    settings.server = ui_->txtEmailServer->text().trimmed();
    settings.port = ui_->txtServerPort->text().trimmed();
    settings.authentication = ui_->optEmailAuth_0->isChecked()   ? MailAuthentication::Smtp
                              : ui_->optEmailAuth_2->isChecked() ? MailAuthentication::Pop
                                                                 : MailAuthentication::None;
    settings.user = ui_->txtEmailUser->text();
    settings.password = ui_->txtEmailPassword->text();
    settings.popServer = ui_->txtEmailPOP->text().trimmed();
    settings.bcc = ui_->chkBCC->isChecked();
    return settings;
}

void frmInfo::EnableDisableEmailControls()
{
    const bool client = ui_->chkEmailClient->isChecked();
    ui_->fraEmailServer->setEnabled(!client);
    if (client)
        return;
    const bool smtp = ui_->optEmailAuth_0->isChecked();
    const bool pop = ui_->optEmailAuth_2->isChecked();
    for (QWidget* w : std::initializer_list<QWidget*>{ui_->txtEmailUser, ui_->lblEmailUser, ui_->txtEmailPassword, ui_->lblEmailPassword})
        w->setEnabled(smtp || pop);
    ui_->txtEmailPOP->setEnabled(pop);
    ui_->lblEmailPOP->setEnabled(pop);
}

void frmInfo::browseDirectory(QLineEdit* field, const QString& title)
{
    const QString dir = session_.prompter().chooseDirectory(title, field->text());
    if (!dir.isEmpty())
        field->setText(QDir::toNativeSeparators(dir));
}

void frmInfo::cmdDevice_Click()
{
    session_.prompter().setBusy(true);
    const QStringList devices = ListSaneDeviceEntries();
    session_.prompter().setBusy(false);
    if (devices.isEmpty()) {
        session_.prompter().ask(QStringLiteral("Scanning Device"), QStringLiteral("No scanner was found."), Buttons::Ok, Icon::Exclamation);
        return;
    }
    const QString choice = chooseDevice ? chooseDevice(devices) : QString();
    if (!choice.isEmpty())
        ui_->txtDevice->setText(SaneDeviceName(choice));
}

void frmInfo::cmdOK_Click()
{
    if (!validateAll())
        return;
    Save();
    accept();
}

void frmInfo::cmdApply_Click()
{
    if (!validateAll())
        return;
    Save();
    GetInfo(session_);
    CheckChange();
}

void frmInfo::cmdCancel_Click()
{
    reject();
}

void frmInfo::done(int result)
{
    QDialog::done(result);
    // Closing in any way reloads what is stored.
    GetInfo(session_);
}

}  // namespace tarlox
