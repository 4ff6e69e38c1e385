#pragma once

#include <QDialog>

#include <memory>

class QLineEdit;

namespace Ui {
class frmContactFM;
}

namespace tarlox {

class Session;

// "Contact Maintenance": the fax and e-mail recipients. Picks one for the
// form that opened it (mode "Email" or "Fax") through the "To ..." keys of
// that form's section, and asks for that form again when it closes.
class frmContactFM : public QDialog {
    Q_OBJECT
public:
    frmContactFM(Session& session, const QString& contactMode, QWidget* parent = nullptr);
    ~frmContactFM() override;

    Ui::frmContactFM* ui() const { return ui_.get(); }
    QString contactMode() const { return contactMode_; }
    bool haveContact() const { return haveContact_; }

    void Find();
    // "C": a change to save; "N": nothing changed.
    void Mode(const QString& state);
    void SaveValues();
    void CheckChange();
    void Cancel();
    void Save();
    void Delete();

    void cboSort_Click();
    void lstSearch_Click();
    void cmdOK_Click();

signals:
    // The form closed; the form of this mode ("frmEmail" or "frmFax") should open again.
    void reopenRequested(const QString& formName);

protected:
    void closeEvent(QCloseEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    QList<QLineEdit*> boxes() const;

    Session& session_;
    std::unique_ptr<Ui::frmContactFM> ui_;
    QString contactMode_;
    bool companySort_ = false;
    bool haveContact_ = false;
    bool unloaded_ = false;
};

}  // namespace tarlox
