#pragma once

#include "data/SqlCondition.h"

#include <QDialog>
#include <QStringList>

#include <memory>

class QPrinter;

namespace Ui {
class frmSelectAll;
}

namespace tarlox {

class Session;

// Select All: the references of the last find in a grid, every row chosen at
// first; prints the chosen images (each once per copy, however many rows
// refer to it) or queues them for e-mail or fax.
class frmSelectAll : public QDialog {
    Q_OBJECT
public:
    frmSelectAll(Session& session, const SqlCondition& found, QWidget* parent = nullptr);
    ~frmSelectAll() override;

    Ui::frmSelectAll* ui() const { return ui_.get(); }
    // Shows E-mail and Fax once the program has those forms.
    void setSendForms(bool email, bool fax);
    void usePrinter(QPrinter* printer) { printer_ = printer; }

    bool isSelected(int row) const;
    void grdImages_Click(int row);
    void SelectAll();
    void UnselectAll();
    void cmdPrint_Click();
    void cmdEmail_Click();
    void cmdFax_Click();

signals:
    void emailRequested();
    void faxRequested();

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    void GetImages();
    void markRow(int row, bool selected);
    void queueFor(bool email);

    Session& session_;
    std::unique_ptr<Ui::frmSelectAll> ui_;
    QStringList paths_;
    QPrinter* printer_ = nullptr;
    bool running_ = false;
    bool stop_ = false;
};

}  // namespace tarlox
