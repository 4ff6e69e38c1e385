#pragma once

#include "search/MassUpdate.h"

#include <QWidget>

#include <memory>

namespace Ui {
class frmUpdate;
}

namespace tarlox {

class Session;

// "Update Tarlox Information": old-to-new pairs of one field, typed or read
// from a CSV file, checked (how many references and images hold each old
// value, how many the new one) and applied to all references in one
// transaction.
class frmUpdate : public QWidget {
    Q_OBJECT

public:
    explicit frmUpdate(Session& session, QWidget* parent = nullptr);
    ~frmUpdate() override;

    // The pairs of the grid, in grid order; none for the blank first row.
    QList<UpdatePair> pairs() const;
    UpdateField field() const { return field_; }

public slots:
    void ClearGrid();
    void cmdAdd_Click();
    void cmdInputFile_Click();
    void cmdRetrieve_Click();
    void grdInput_Click(int row);
    void cboField_Change();
    bool CheckInput();
    void cmdCheck_Click();
    void cmdUpdate_Click();

private:
    void addRow(const QString& oldValue, const QString& newValue);
    // Shows where a long run stands and serves the window; false once the
    // person pressed Cancel.
    bool going(int done, int total, const QString& text);
    void closeEvent(class QCloseEvent* event) override;
    bool firstRowBlank() const;

    Session& session_;
    std::unique_ptr<Ui::frmUpdate> ui;
    UpdateField field_ = UpdateField::Heat;
    bool running_ = false;
    bool cancel_ = false;
};

}  // namespace tarlox
