#pragma once

#include "data/GridData.h"
#include "shell/ServerSetup.h"

#include <QDialog>

#include <memory>

namespace Ui {
class frmSecure;
}

namespace tarlox {

class Session;

// Server setup: the server settings file this machine uses, the database
// it names, the connection timeout, the user of this machine and the
// machines of the installation. Every change is proven by a connection
// before it is saved.
class frmSecure : public QDialog {
    Q_OBJECT
public:
    explicit frmSecure(Session& session, QWidget* parent = nullptr);
    ~frmSecure() override;

    // False when the database could not be read; the screen is then not shown.
    bool loaded() const { return loaded_; }
    bool newMachine() const { return state_.newMachine; }

    bool LoadValues();
    void CheckChange();
    void EnableDisableDataFrames();
    void txtServerIni_Validate();
    void txtConnectionTimeout_LostFocus();
    void cmdUpdate_Click();
    void cmdCancel_Click();
    void cmdClip_Click();
    void grdUsers_DblClick(int row);

    // What the screen holds now.
    ServerEntries entries() const;

    Ui::frmSecure* ui() const { return ui_.get(); }

    // Opens the screen without waiting for it (the menu command). Nothing
    // is shown when the database can't be read.
    static void Open(Session& session, QWidget* parent);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void reject() override;

private:
    void tabChanged(int index);
    void showEntries(const ServerEntries& e);

    Session& session_;
    std::unique_ptr<Ui::frmSecure> ui_;
    ServerSetupState state_;
    ServerEntries stored_;
    bool loaded_ = false;
    bool loading_ = false;
    bool validating_ = false;
    int lastTab_ = 0;
};

// Start-up for a machine without a row: shows the server setup modally.
// True when the machine has its row afterwards.
bool RunServerSetupForNewMachine(Session& session, QWidget* parent);

}  // namespace tarlox
