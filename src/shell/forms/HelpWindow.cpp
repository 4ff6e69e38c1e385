#include "shell/forms/HelpWindow.h"

#include "shell/forms/ShellResources.h"

#include <QAction>
#include <QFile>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QSplitter>
#include <QTabWidget>
#include <QTextBrowser>
#include <QToolBar>
#include <QTreeWidget>
#include <QVBoxLayout>

namespace tarlox {

namespace {

const QString ManualRoot = QStringLiteral(":/manual");

QUrl manualUrl(const QString& topic)
{
    return QUrl(QStringLiteral("qrc:/manual/") + topic);
}

}  // namespace

HelpWindow::HelpWindow(QWidget* parent)
    : QWidget(parent, Qt::Window)
    , tabs_(new QTabWidget)
    , contents_(new QTreeWidget)
    , indexText_(new QLineEdit)
    , indexList_(new QListWidget)
    , searchText_(new QLineEdit)
    , searchResults_(new QListWidget)
    , browser_(new QTextBrowser)
{
    InitShellResources();
    setObjectName(QStringLiteral("frmHelp"));
    setWindowTitle(tr("Tarlox Help"));
    setWindowIcon(QIcon(QStringLiteral(":/icons/tarlox.svg")));
    book_.load(ManualRoot);

    auto* bar = new QToolBar;
    bar->setToolButtonStyle(Qt::ToolButtonTextOnly);
    QAction* back = bar->addAction(tr("Back"), browser_, &QTextBrowser::backward);
    QAction* forward = bar->addAction(tr("Forward"), browser_, &QTextBrowser::forward);
    bar->addAction(tr("Home"), this, [this] { showTopic(QStringLiteral("index.html")); });
    back->setShortcut(QKeySequence::Back);
    forward->setShortcut(QKeySequence::Forward);
    back->setEnabled(false);
    forward->setEnabled(false);
    connect(browser_, &QTextBrowser::backwardAvailable, back, &QAction::setEnabled);
    connect(browser_, &QTextBrowser::forwardAvailable, forward, &QAction::setEnabled);

    contents_->setObjectName(QStringLiteral("lstContents"));
    contents_->setHeaderHidden(true);
    contents_->setRootIsDecorated(true);
    fillContents();
    connect(contents_, &QTreeWidget::itemClicked, this, &HelpWindow::followContents);
    connect(contents_, &QTreeWidget::itemActivated, this, &HelpWindow::followContents);

    auto* indexPage = new QWidget;
    auto* indexLayout = new QVBoxLayout(indexPage);
    indexText_->setObjectName(QStringLiteral("txtIndex"));
    indexText_->setPlaceholderText(tr("Type the keyword to find"));
    indexText_->setClearButtonEnabled(true);
    indexList_->setObjectName(QStringLiteral("lstIndex"));
    indexLayout->addWidget(indexText_);
    indexLayout->addWidget(indexList_);
    fillIndex();
    connect(indexText_, &QLineEdit::textEdited, this, &HelpWindow::findInIndex);
    connect(indexText_, &QLineEdit::returnPressed, this, [this] {
        if (QListWidgetItem* item = indexList_->currentItem())
            showTopic(item->data(Qt::UserRole).toString());
    });
    connect(indexList_, &QListWidget::itemClicked, this, [this](QListWidgetItem* item) { showTopic(item->data(Qt::UserRole).toString()); });
    connect(indexList_, &QListWidget::itemActivated, this, [this](QListWidgetItem* item) { showTopic(item->data(Qt::UserRole).toString()); });

    auto* searchPage = new QWidget;
    auto* searchLayout = new QVBoxLayout(searchPage);
    auto* searchRow = new QHBoxLayout;
    searchText_->setObjectName(QStringLiteral("txtSearch"));
    searchText_->setPlaceholderText(tr("Words to search for"));
    searchText_->setClearButtonEnabled(true);
    auto* listTopics = new QPushButton(tr("&List Topics"));
    listTopics->setObjectName(QStringLiteral("cmdSearch"));
    searchRow->addWidget(searchText_);
    searchRow->addWidget(listTopics);
    searchResults_->setObjectName(QStringLiteral("lstSearch"));
    searchLayout->addLayout(searchRow);
    searchLayout->addWidget(searchResults_);
    connect(listTopics, &QPushButton::clicked, this, &HelpWindow::runSearch);
    connect(searchText_, &QLineEdit::returnPressed, this, &HelpWindow::runSearch);
    connect(searchResults_, &QListWidget::itemClicked, this, &HelpWindow::openSearchResult);
    connect(searchResults_, &QListWidget::itemActivated, this, &HelpWindow::openSearchResult);

    tabs_->setObjectName(QStringLiteral("tabHelp"));
    tabs_->addTab(contents_, tr("&Contents"));
    tabs_->addTab(indexPage, tr("&Index"));
    tabs_->addTab(searchPage, tr("&Search"));
    tabs_->setDocumentMode(true);

    browser_->setObjectName(QStringLiteral("brwTopic"));
    browser_->setOpenExternalLinks(true);
    browser_->setSearchPaths({ManualRoot});
    // The pages name their style sheet for a web browser; the help shows
    // them with it too.
    if (QFile css(ManualRoot + QStringLiteral("/manual.css")); css.open(QIODevice::ReadOnly))
        browser_->document()->setDefaultStyleSheet(QString::fromUtf8(css.readAll()));
    connect(browser_, &QTextBrowser::sourceChanged, this, [this] {
        if (!highlight_.isEmpty()) {
            browser_->find(highlight_);
            highlight_.clear();
        }
    });

    auto* splitter = new QSplitter;
    splitter->addWidget(tabs_);
    splitter->addWidget(browser_);
    splitter->setStretchFactor(0, 0);
    splitter->setStretchFactor(1, 1);
    splitter->setChildrenCollapsible(false);
    // Wide enough for "Search" on its tab and the longest entries uncut.
    tabs_->setMinimumWidth(fontMetrics().averageCharWidth() * 36);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(bar);
    layout->addWidget(splitter, 1);

    const int em = fontMetrics().height();
    resize(em * 60, em * 36);
    splitter->setSizes({em * 20, em * 40});
    showTopic(QStringLiteral("index.html"));
}

void HelpWindow::fillContents()
{
    QTreeWidgetItem* chapter = nullptr;
    for (const HelpTopic& topic : book_.contents()) {
        auto* item = new QTreeWidgetItem({topic.title});
        item->setData(0, Qt::UserRole, topic.url);
        if (topic.level == 0 || !chapter) {
            contents_->addTopLevelItem(item);
            chapter = item;
        } else {
            chapter->addChild(item);
        }
    }
    contents_->expandAll();
}

void HelpWindow::fillIndex()
{
    for (const HelpKeyword& k : book_.index()) {
        auto* item = new QListWidgetItem(k.keyword, indexList_);
        item->setData(Qt::UserRole, k.url);
    }
}

void HelpWindow::findInIndex(const QString& text)
{
    for (int i = 0; i < indexList_->count(); ++i) {
        QListWidgetItem* item = indexList_->item(i);
        if (item->text().startsWith(text.trimmed(), Qt::CaseInsensitive)) {
            indexList_->setCurrentItem(item);
            indexList_->scrollToItem(item, QAbstractItemView::PositionAtTop);
            return;
        }
    }
}

void HelpWindow::runSearch()
{
    searchResults_->clear();
    const QList<HelpTopic> found = book_.search(searchText_->text());
    for (const HelpTopic& topic : found) {
        auto* item = new QListWidgetItem(topic.title, searchResults_);
        item->setData(Qt::UserRole, topic.url);
    }
    if (found.isEmpty() && !searchText_->text().trimmed().isEmpty()) {
        auto* none = new QListWidgetItem(tr("No topics found."), searchResults_);
        none->setFlags(Qt::NoItemFlags);
    }
}

void HelpWindow::openSearchResult(QListWidgetItem* item)
{
    const QString url = item->data(Qt::UserRole).toString();
    if (url.isEmpty())
        return;
    const QStringList words = searchText_->text().split(QLatin1Char(' '), Qt::SkipEmptyParts);
    highlight_ = words.isEmpty() ? QString() : words.first();
    showTopic(url);
}

void HelpWindow::followContents()
{
    if (QTreeWidgetItem* item = contents_->currentItem())
        showTopic(item->data(0, Qt::UserRole).toString());
}

void HelpWindow::showEntry(Entry entry)
{
    switch (entry) {
    case Entry::Contents:
        tabs_->setCurrentIndex(0);
        contents_->setFocus();
        break;
    case Entry::Index:
        tabs_->setCurrentIndex(1);
        indexText_->setFocus();
        indexText_->selectAll();
        break;
    case Entry::Search:
        tabs_->setCurrentIndex(2);
        searchText_->setFocus();
        searchText_->selectAll();
        break;
    }
}

HelpWindow::Entry HelpWindow::currentEntry() const
{
    switch (tabs_->currentIndex()) {
    case 1: return Entry::Index;
    case 2: return Entry::Search;
    default: return Entry::Contents;
    }
}

void HelpWindow::showTopic(const QString& url)
{
    browser_->setSource(manualUrl(url));
    if (!highlight_.isEmpty()) {
        browser_->find(highlight_);
        highlight_.clear();
    }
}

}  // namespace tarlox
