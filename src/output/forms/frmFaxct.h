#pragma once

#include "base/forms/ChildMenus.h"
#include "output/FaxControl.h"
#include "output/FaxSettings.h"

#include <QElapsedTimer>
#include <QWidget>

#include <functional>
#include <memory>
#include <optional>

namespace Ui {
class frmFaxct;
}

class QAction;
class QMenu;
class QMenuBar;
class QPrinter;
class QTimer;

namespace tarlox {

class Session;

// Tarlox Fax Control: the fax server's pending, sending, sent and failed
// jobs, with delete, resend and a printed log. Every call to the server
// runs off the interface thread; the list is read again every few seconds
// while the form is open.
class frmFaxct : public QWidget, public ChildMenus {
    Q_OBJECT
public:
    // ChildMenus: File and View join the frame's bar.
    QList<QMenu*> framedMenus() const override;
    void showOwnMenuBar(bool shown) override;

    explicit frmFaxct(Session& session, QWidget* parent = nullptr);
    ~frmFaxct() override;

    Ui::frmFaxct* ui() const { return ui_.get(); }
    QAction* action(const QString& name) const;

    // The view shown: 0 pending, 1 sending, 2 sent, 3 failed.
    int view() const { return int(view_); }
    const QList<FaxJobInfo>& rows() const { return rows_; }
    // -1: none.
    int selectedRow() const;
    void setSelectedRow(int row);
    // Nothing asked of the server is still on its way.
    bool idle() const { return pending_ == 0; }

    void mnuView_Click(int index);
    void mnuDelete_Click();
    void mnuDeleteAll_Click();
    void mnuResend_Click();
    void mnuPrint_Click();
    // Reads the shown view from the server again.
    void Refresh();

    // The "Re-Fax" input box; nullopt for Cancel. Tests answer it.
    std::function<std::optional<QString>(const QString& title, const QString& prompt, const QString& value)> inputBox;
    // Makes the printer ready (the session's printer by default); false stops the print.
    std::function<bool(QPrinter&)> preparePrinter;

signals:
    // A command of the Window menu for the main window: "Cascade", ...
    void windowCommand(const QString& name);
    // The list shows what the server just said; error is blank when it answered.
    void refreshed(const QString& error);
    // A resend was handed to the server (jobId) or refused (error).
    void resent(const QString& jobId, const QString& error);

protected:
    void closeEvent(QCloseEvent* event) override;
    void showEvent(QShowEvent* event) override;

private:
    void createMenus();
    void Form_Load();
    void setView(FaxState view);
    void showRows(QList<FaxJobInfo> rows);
    void applyColumns();
    QList<FaxColumn> currentColumns() const;
    void resend();
    void removeJobs(const QStringList& ids);
    void working(bool start);
    // Where the server is; blank error when the settings name one.
    IoResult<HylafaxServer> server();

    Session& session_;
    std::unique_ptr<Ui::frmFaxct> ui_;
    QMenuBar* menuBar_;
    QHash<QString, QAction*> actions_;
    QList<FaxColumn> columns_;
    fax::Sender sender_;
    FaxState view_ = FaxState::Pending;
    QList<FaxJobInfo> rows_;
    QTimer* refreshTimer_;
    int pending_ = 0;
    bool geometryRead_ = false;
    // Since the last resend: the form stays three seconds after it.
    std::optional<QElapsedTimer> sentAt_;
};

}  // namespace tarlox
