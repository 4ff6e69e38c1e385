#pragma once

#include "output/SmtpSender.h"

#include <QDialog>

#include <functional>
#include <memory>

class QLineEdit;

namespace Ui {
class frmInfo;
}

namespace tarlox {

class Session;
class TagBinder;
struct SystemSettingsChoices;

// "Change System Information": the settings of this machine, the shared
// image counter and the system options, one tab per area. Almost every
// control is bound by its tag; OK, Apply and closing reload the session.
class frmInfo : public QDialog {
    Q_OBJECT
public:
    explicit frmInfo(Session& session, QWidget* parent = nullptr);
    ~frmInfo() override;

    void LoadValues();
    // The cover page editor on the field's file (or the program's tarlox.cpe).
    void txtFaxCvr_DblClick();
    void Save();
    void CheckChange();
    void LoadPrinterCombo();
    void LoadDrvMapCombo();
    void EnableDisableAuthorizationControls();
    void EnableDisableEmailControls();

    // Field checks run when a field is left, and all of them before saving.
    // False keeps the focus in the field.
    bool cboDrvMap_LostFocus();
    bool txtTmpDir_Validate();
    bool txtDefaultPages_Validate();
    bool txtAuthorizationStamp_Validate();
    bool txtQuickFindPattern_Validate();
    void txtFontSize_LostFocus();
    void txtBright_LostFocus();

    void cmdOK_Click();
    void cmdApply_Click();
    void cmdCancel_Click();
    void cmdDevice_Click();

    // The drive map entries as the list holds them, without the empty one.
    QStringList drvMapEntries() const;

    // Picks one of the scanners found; empty when cancelled. Replaceable for tests.
    std::function<QString(const QStringList& devices)> chooseDevice;

    Ui::frmInfo* ui() const { return ui_.get(); }
    TagBinder* binder() const { return binder_; }

    // The e-mail server settings as they stand on screen, saved or not:
    // what the Test button proves.
    SmtpSettings emailSettingsOnScreen() const;

    // Asked when the Test button of the e-mail tab is pressed.
    Q_SIGNAL void emailTestRequested();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void done(int result) override;

private:
    SystemSettingsChoices choices() const;
    bool validateAll();
    void keepFocus(QWidget* w);
    void browseDirectory(QLineEdit* field, const QString& title);

    Session& session_;
    std::unique_ptr<Ui::frmInfo> ui_;
    TagBinder* binder_;
    bool loading_ = false;
    bool validating_ = false;
};

}  // namespace tarlox
