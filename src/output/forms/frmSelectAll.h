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

class PrintRun;
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
    void usePrinter(QPrinter* printer);

    bool isSelected(int row) const;
    void grdImages_Click(int row);
    void SelectAll();
    void UnselectAll();
    void cmdPrint_Click();
    void cmdEmail_Click();
    void cmdFax_Click();
    // The person has closed the viewer of annotateRequested: the file prints.
    void annotationDone();
    bool printing() const;

signals:
    void emailRequested();
    void faxRequested();
    // With "Annotate" checked each prepared file should open in a viewer in
    // annotate mode; it prints on annotationDone(). Without a receiver the
    // files print at once.
    void annotateRequested(const QString& file);

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    void GetImages();
    void markRow(int row, bool selected);
    void queueFor(bool email);

    Session& session_;
    std::unique_ptr<Ui::frmSelectAll> ui_;
    QStringList paths_;
    PrintRun* run_;
};

}  // namespace tarlox
