#pragma once

#include <QList>
#include <QString>
#include <QStringList>

namespace tarlox {

// An entry of the manual's contents: a chapter (level 0) or one of its sections (level 1).
struct HelpTopic {
    QString title;
    QString url;  // "mainwindow.html#strip"
    int level = 0;
};

// A keyword of the index: each <dfn id="..."> of a page, named by its
// text or, where given, by the keywords of its title attribute ("a; b").
struct HelpKeyword {
    QString keyword;
    QString url;
};

// The user manual: index.html lists the chapters in order (the links of
// its <ol class="chapters">); each chapter is a page with an <h1> and <h2 id>
// sections. Read from the program's resources or from docs/manual.
class HelpBook {
public:
    bool load(const QString& directory);

    const QString& directory() const { return directory_; }
    const QList<HelpTopic>& contents() const { return contents_; }
    const QList<HelpKeyword>& index() const { return index_; }  // sorted, case ignored
    // The sections (or chapters without sections) whose text holds every word.
    QList<HelpTopic> search(const QString& words) const;
    // Links to pages or anchors that don't exist, one line each.
    QStringList brokenLinks() const;

private:
    struct Section {
        HelpTopic topic;
        QString text;  // plain, lower case
    };
    struct Page {
        QString file;
        QString html;
        QStringList ids;
    };

    QString directory_;
    QList<Page> pages_;
    QList<HelpTopic> contents_;
    QList<HelpKeyword> index_;
    QList<Section> sections_;
};

// Text of an HTML fragment without its tags, entities resolved, blanks folded.
QString PlainTextOfHtml(const QString& html);

}  // namespace tarlox
