#pragma once

#include "data/Database.h"
#include "data/FindCriteria.h"
#include "data/Records.h"
#include "search/ReferenceEdit.h"

#include <QList>
#include <QPalette>
#include <QWidget>

#include <memory>

class QLineEdit;
class QPushButton;
class QTableView;

namespace Ui {
class frmFind;
}

namespace tarlox {

class DateBoxes;

class Session;
class FindResultsModel;

// "Find Information Entry": nine criteria boxes, a find, and the found
// references one at a time in the record boxes, where they can also be
// changed, added to or removed. The search and the edits are the core's
// (search/FindQuery.h, search/ReferenceEdit.h); the form binds them.
class frmFind : public QWidget {
    Q_OBJECT

public:
    explicit frmFind(Session& session, QWidget* parent = nullptr);
    ~frmFind() override;

    // The screens that work on the found set; each button stays disabled
    // until its screen is there, and then asks for it by its signal.
    enum class Screen { SelectAll, Export, Delete, Move };
    void setScreenAvailable(Screen screen, bool available);

    // The results of the last find and the one shown.
    const QList<InfoRow>& results() const { return results_; }
    int lastIndex() const { return lastIndex_; }
    int currentIndex() const { return currentIndex_; }
    int findRecords() const { return findRecords_; }
    // The list below the record boxes; its current row is the current index.
    QTableView* resultsList() const;

    // Window geometry in the local settings file (section "Form", keys
    // "frmFindState", "frmFindHeight", ...). Applied to the MDI sub-window
    // that holds the form, or to the form when it is a window of its own.
    void GetFormSize();
    void SaveFormSize();

    // Fills the criteria boxes and finds with criteria as they are (their
    // AssumeWild included): the quick find hands its heat over this way.
    // False, touching nothing, while a reference is being changed.
    bool ShowFound(const FindCriteria& criteria);

public slots:
    void cmdFind_Click();
    void cmdSelect_Click();
    void cmdChange_Click();
    void cmdAddCur_Click();
    void cmdDelCur_Click();

signals:
    // session.currentImage holds the image to select.
    void selectRequested(qint32 imageNumber);
    // The criteria of the find are in session.findQuery.
    void selectAllRequested();
    void exportRequested();
    void deleteRequested();
    void moveRequested();

protected:
    void showEvent(QShowEvent* event) override;
    void closeEvent(QCloseEvent* event) override;

private:
    void runFind(FindCriteria criteria);
    void SetData();
    void ClearInput();
    void ChangeOn();
    void ChangeOff();
    void EndChange();
    int CheckDate(QLineEdit* box);
    void navigate(int index);
    void enableButton(QPushButton* button, bool enabled);
    void colour(QLineEdit* box, QPalette::ColorRole role);
    void closeForm();
    void applyCustomLabels();
    void setUpResultsList();
    void showCurrentRow();
    void saveColumnWidths();

    QList<QLineEdit*> criteriaBoxes() const;
    QList<QLineEdit*> recordBoxes() const;  // the seven the edits read, without the path
    ReferenceEntry recordTexts() const;
    void setRecordTexts(const ReferenceEntry& entry);

    Session& session_;
    // The connection stays open from one find to the next while the screen
    // is open: this screen is where the users spend their day.
    ConnectionScope connection_;
    std::unique_ptr<Ui::frmFind> ui;
    QList<InfoRow> results_;
    int lastIndex_ = -1;
    int currentIndex_ = 0;
    int findRecords_ = 100;
    QList<QPushButton*> unavailable_;
    bool geometryRead_ = false;
    DateBoxes* dateBoxes_ = nullptr;
    FindResultsModel* model_ = nullptr;
    bool followingList_ = false;
};

}  // namespace tarlox
