#pragma once

#include "capture/BarcodeKey.h"

#include <QDialog>

#include <optional>

class QLabel;
class QPlainTextEdit;

namespace tarlox {

class Session;

// "Separator Sheets": the keys of the sheets to print, one a line (P/O,
// receipt, line, tag), typed or taken from a CSV file; printed on a
// printer or saved as a PDF, one sheet per key.
class SeparatorSheetsDialog : public QDialog {
    Q_OBJECT
public:
    SeparatorSheetsDialog(Session& session, const QList<BarcodeKey>& keys, QWidget* parent = nullptr);

    void cmdOpen_Click();
    // Writes the sheets to a PDF file; false after telling why.
    bool saveAs(const QString& file);
    void cmdSave_Click();
    void cmdPrint_Click();

private:
    // The keys typed, or nothing after the person was told what is wrong.
    std::optional<QList<BarcodeKey>> keys();

    Session& session_;
    QPlainTextEdit* txtKeys_;
    QLabel* lblStatus_;
};

}  // namespace tarlox
