#pragma once

#include "shell/HelpBook.h"

#include <QWidget>

class QLineEdit;
class QListWidget;
class QListWidgetItem;
class QTabWidget;
class QTextBrowser;
class QTreeWidget;
class QTreeWidgetItem;

namespace tarlox {

// The user manual: contents, index and search beside the page.
class HelpWindow : public QWidget {
    Q_OBJECT
public:
    enum class Entry { Contents, Index, Search };

    explicit HelpWindow(QWidget* parent = nullptr);

    // Opens the window at one of its three ways into the manual.
    void showEntry(Entry entry);
    // Opens a page of the manual: "changes.html", "mainwindow.html#strip".
    void showTopic(const QString& url);

    const HelpBook& book() const { return book_; }
    QTextBrowser* browser() const { return browser_; }
    Entry currentEntry() const;

private:
    void fillContents();
    void fillIndex();
    void findInIndex(const QString& text);
    void runSearch();
    void openSearchResult(QListWidgetItem* item);
    void followContents();

    HelpBook book_;
    QTabWidget* tabs_;
    QTreeWidget* contents_;
    QLineEdit* indexText_;
    QListWidget* indexList_;
    QLineEdit* searchText_;
    QListWidget* searchResults_;
    QTextBrowser* browser_;
    QString highlight_;
};

}  // namespace tarlox
