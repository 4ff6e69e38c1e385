#pragma once

#include "output/forms/PrintDoc.h"

#include <QDialog>

#include <memory>

class QPrinter;

namespace Ui {
class frmPrint;
}

namespace tarlox {

class Session;

// Print: copies, pages and message fields for printing the image in hand
// (session.imageFilePath), each row shown only when the settings ask for it.
class frmPrint : public QDialog {
    Q_OBJECT
public:
    explicit frmPrint(Session& session, QWidget* parent = nullptr);
    ~frmPrint() override;

    // Keeps the page size code and lays the form out; prints at once and
    // returns false when there is nothing to ask, else shows the form.
    bool StartPrint(const QString& size);
    // Reads the form and starts printing; the form closes when it has printed.
    void PrintImage();
    // A printer of the caller's instead of the system's (tests print to PDF).
    void usePrinter(QPrinter* printer) { run_->usePrinter(printer); }
    // The row layout: hidden rows take no room. True when nothing is left to ask.
    bool FormatWindow();

    Ui::frmPrint* ui() const { return ui_.get(); }

    // The person has closed the viewer of annotateRequested: the file prints.
    void annotationDone();

signals:
    // With "Annotate:" checked the prepared file should open in a viewer in
    // annotate mode; printing waits for annotationDone(). Without a receiver
    // the file prints at once.
    void annotateRequested(const QString& file);

private:
    Session& session_;
    std::unique_ptr<Ui::frmPrint> ui_;
    QString size_;
    PrintRun* run_;

protected:
    void closeEvent(QCloseEvent* event) override;
};

}  // namespace tarlox
