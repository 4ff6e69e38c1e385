#pragma once

#include "search/Listing.h"

#include <QDialog>

#include <memory>

class QLabel;
class QPushButton;

namespace tarlox {

class Session;

// The listing on the screen, a page at a time: each page is read from the
// database when it is shown, so the first page of any listing is there at
// once and paging holds one page. From here the listing goes to the
// printer, to a PDF file or, as its rows, to a CSV file.
class ListingPreview : public QDialog {
    Q_OBJECT

public:
    ListingPreview(Session& session, const ListingRequest& request, QWidget* parent = nullptr);
    ~ListingPreview() override;

    int currentPage() const { return current_ ? current_->number : 0; }
    // Shows page number (from 1); false past the last page.
    bool showPage(int number);
    void showLastPage();
    void printListing();
    void savePdf();
    void saveCsv();

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    void updateButtons();
    QRect pageRect() const;

    Session& session_;
    ListingRequest request_;
    ListingLayout layout_;
    ListingTitles titles_;
    QString title_;
    ListingPager pager_;
    std::optional<ListingPage> current_;
    QLabel* pageLabel_;
    QPushButton* first_;
    QPushButton* previous_;
    QPushButton* next_;
    QPushButton* last_;
    QWidget* bar_;
};

// Asks for a printer and prints the listing on it page by page, with a
// progress box whose Cancel stops after the page in hand.
void PrintListing(Session& session, const ListingRequest& request, QWidget* parent);

}  // namespace tarlox
