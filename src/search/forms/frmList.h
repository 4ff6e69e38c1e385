#pragma once

#include "search/Listing.h"

#include <QWidget>

#include <memory>

class QLineEdit;

namespace Ui {
class frmList;
}

namespace tarlox {

class DateBoxes;

class Session;

// "Listing": the entry listing grouped by one field, over From/To ranges
// and an entry date range, to the screen (ListingPreview) or the printer.
class frmList : public QWidget {
    Q_OBJECT

public:
    explicit frmList(Session& session, QWidget* parent = nullptr);
    ~frmList() override;

    // What the boxes and the sort option ask for.
    ListingRequest request() const;

public slots:
    void cmdPrint_Click();

signals:
    // The preview window opened by Print to Window.
    void previewOpened(QWidget* preview);

private:
    int CheckDate(QLineEdit* box);

    Session& session_;
    std::unique_ptr<Ui::frmList> ui;
    DateBoxes* dateBoxes_ = nullptr;
};

}  // namespace tarlox
