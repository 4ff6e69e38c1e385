#include "search/forms/ListingPreview.h"

#include "base/Prompter.h"
#include "base/ErrorReport.h"
#include "data/Session.h"

#include <QApplication>
#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QPrintDialog>
#include <QPrinter>
#include <QProgressDialog>
#include <QPushButton>
#include <QVBoxLayout>

namespace tarlox {

namespace {

// The busy pointer while the database is read.
struct Busy {
    Busy() { QApplication::setOverrideCursor(Qt::WaitCursor); }
    ~Busy() { QApplication::restoreOverrideCursor(); }
};

}  // namespace

ListingPreview::ListingPreview(Session& session, const ListingRequest& request, QWidget* parent)
    : QDialog(parent)
    , session_(session)
    , request_(request)
    , titles_(ReadListingTitles(session))
    , title_(ListingTitle(request.sort, titles_))
    , pager_(session, request, layout_.linesPerPage())
{
    setObjectName(QStringLiteral("ListingPreview"));
    setWindowTitle(title_);
    bar_ = new QWidget(this);
    auto* buttons = new QHBoxLayout(bar_);
    const auto button = [&](const char* name, const QString& text, const QString& tip) {
        auto* b = new QPushButton(text, bar_);
        b->setObjectName(QLatin1String(name));
        b->setToolTip(tip);
        b->setAutoDefault(false);
        buttons->addWidget(b);
        return b;
    };
    first_ = button("cmdFirst", QStringLiteral("|<"), QStringLiteral("First page"));
    previous_ = button("cmdPrevious", QStringLiteral("<"), QStringLiteral("Previous page"));
    pageLabel_ = new QLabel(bar_);
    pageLabel_->setObjectName(QStringLiteral("lblPage"));
    pageLabel_->setMinimumWidth(90);
    pageLabel_->setAlignment(Qt::AlignCenter);
    buttons->addWidget(pageLabel_);
    next_ = button("cmdNext", QStringLiteral(">"), QStringLiteral("Next page"));
    last_ = button("cmdLast", QStringLiteral(">|"), QStringLiteral("Last page"));
    buttons->addStretch();
    QPushButton* print = button("cmdPrint", QStringLiteral("&Print..."), QStringLiteral("Print the listing"));
    QPushButton* pdf = button("cmdPdf", QStringLiteral("P&DF..."), QStringLiteral("Save the listing as a PDF file"));
    QPushButton* csv = button("cmdCsv", QStringLiteral("C&SV..."), QStringLiteral("Save the listed references as a CSV file"));
    QPushButton* close = button("cmdClose", QStringLiteral("&Close"), QStringLiteral("Close the preview"));
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(bar_);
    layout->addStretch();
    connect(first_, &QPushButton::clicked, this, [this] { showPage(1); });
    connect(previous_, &QPushButton::clicked, this, [this] { showPage(currentPage() - 1); });
    connect(next_, &QPushButton::clicked, this, [this] { showPage(currentPage() + 1); });
    connect(last_, &QPushButton::clicked, this, &ListingPreview::showLastPage);
    connect(print, &QPushButton::clicked, this, &ListingPreview::printListing);
    connect(pdf, &QPushButton::clicked, this, &ListingPreview::savePdf);
    connect(csv, &QPushButton::clicked, this, &ListingPreview::saveCsv);
    connect(close, &QPushButton::clicked, this, &QDialog::accept);
    resize(720, 900);
    showPage(1);
}

ListingPreview::~ListingPreview() = default;

bool ListingPreview::showPage(int number)
{
    std::optional<ListingPage> page;
    {
        Busy busy;
        page = pager_.page(number);
    }
    if (!page && number == 1 && pager_.error().isEmpty())
        page = ListingPage{1, {ListingLine{ListingLine::Kind::Total, {}, {}, 0}}};
    if (!pager_.error().isEmpty())
        session_.prompter().ask(ProgramTitle(), pager_.error(), Buttons::Ok, Icon::Exclamation);
    if (page)
        current_ = std::move(page);
    updateButtons();
    update();
    return page.has_value();
}

void ListingPreview::showLastPage()
{
    if (pager_.lastPage() == 0) {
        Busy busy;
        pager_.page(std::numeric_limits<int>::max());
    }
    if (pager_.lastPage() > 0)
        showPage(pager_.lastPage());
}

void ListingPreview::updateButtons()
{
    const int n = currentPage();
    const int last = pager_.lastPage();
    pageLabel_->setText(last > 0 ? QStringLiteral("Page %1 of %2").arg(n).arg(last) : QStringLiteral("Page %1").arg(n));
    first_->setEnabled(n > 1);
    previous_->setEnabled(n > 1);
    next_->setEnabled(last == 0 || n < last);
    last_->setEnabled(last == 0 || n < last);
}

QRect ListingPreview::pageRect() const
{
    const QRect area = rect().adjusted(12, bar_->geometry().bottom() + 8, -12, -12);
    const qreal scale = std::min(area.width() / layout_.width, area.height() / layout_.height);
    const QSize size(qRound(layout_.width * scale), qRound(layout_.height * scale));
    return QRect(area.center().x() - size.width() / 2, area.top(), size.width(), size.height());
}

void ListingPreview::paintEvent(QPaintEvent* event)
{
    QDialog::paintEvent(event);
    if (!current_)
        return;
    QPainter p(this);
    p.setRenderHint(QPainter::Antialiasing);
    p.setRenderHint(QPainter::TextAntialiasing);
    const QRect page = pageRect();
    p.fillRect(page.translated(3, 3), palette().color(QPalette::Shadow));
    p.fillRect(page, Qt::white);
    p.setViewport(page);
    PaintListingPage(p, layout_, title_, titles_, *current_);
}

namespace {

// A page painted (its number), or the end (minus the count): the box shows
// it and serves the window; false once Cancel was pressed.
std::function<bool(int)> progressIn(QProgressDialog& progress, const QString& verb)
{
    progress.setWindowModality(Qt::WindowModal);
    progress.setMinimumDuration(500);
    return [&progress, verb](int page) {
        if (page > 0)
            progress.setLabelText(QStringLiteral("%1 page %2...").arg(verb).arg(page));
        QApplication::processEvents();
        return !progress.wasCanceled();
    };
}

}  // namespace

void PrintListing(Session& session, const ListingRequest& request, QWidget* parent)
{
    QPrinter printer(QPrinter::HighResolution);
    printer.setDocName(ListingTitle(request.sort, ReadListingTitles(session)));
    QPrintDialog dialog(&printer, parent);
    if (dialog.exec() != QDialog::Accepted)
        return;
    QProgressDialog progress(QStringLiteral("Printing the listing..."), QStringLiteral("&Cancel"), 0, 0, parent);
    const QString error = PaintListing(session, request, printer, progressIn(progress, QStringLiteral("Printing")));
    progress.close();
    if (!error.isEmpty() && !progress.wasCanceled())
        session.prompter().ask(ProgramTitle(), error, Buttons::Ok, Icon::Exclamation);
}

void ListingPreview::printListing()
{
    PrintListing(session_, request_, this);
}

void ListingPreview::savePdf()
{
    const QString path = session_.prompter().chooseSaveFile(QStringLiteral("Save Listing as PDF"), QString(),
                                                            QStringLiteral("PDF Files (*.pdf);;All Files (*)"));
    if (path.isEmpty())
        return;
    QProgressDialog progress(QStringLiteral("Writing the PDF..."), QStringLiteral("&Cancel"), 0, 0, this);
    const QString error = WriteListingPdf(session_, request_, path, nullptr, progressIn(progress, QStringLiteral("Writing")));
    progress.close();
    if (!error.isEmpty() && !progress.wasCanceled())
        session_.prompter().ask(ProgramTitle(), error, Buttons::Ok, Icon::Exclamation);
}

void ListingPreview::saveCsv()
{
    const QString path = session_.prompter().chooseSaveFile(QStringLiteral("Save Listing as CSV"), QString(),
                                                            QStringLiteral("Comma Separated Value Files (*.csv);;All Files (*)"));
    if (path.isEmpty())
        return;
    QString error;
    {
        Busy busy;
        error = WriteListingCsv(session_, request_, path);
    }
    if (!error.isEmpty())
        session_.prompter().ask(ProgramTitle(), error, Buttons::Ok, Icon::Exclamation);
}

}  // namespace tarlox
