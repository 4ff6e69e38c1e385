#include "shell/HelpBook.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>

#include <algorithm>

namespace tarlox {

namespace {

QString readPage(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return QString::fromUtf8(file.readAll());
}

QString attribute(const QString& attributes, const QString& name)
{
    const QRegularExpression re(QStringLiteral("\\b") + name + QStringLiteral("\\s*=\\s*\"([^\"]*)\""));
    const auto match = re.match(attributes);
    return match.hasMatch() ? match.captured(1) : QString();
}

}  // namespace

QString PlainTextOfHtml(const QString& html)
{
    static const QRegularExpression comments(QStringLiteral("<!--.*?-->"), QRegularExpression::DotMatchesEverythingOption);
    static const QRegularExpression hidden(QStringLiteral("<(head|style|script)\\b.*?</\\1>"),
                                           QRegularExpression::DotMatchesEverythingOption | QRegularExpression::CaseInsensitiveOption);
    static const QRegularExpression tags(QStringLiteral("<[^>]*>"));
    static const QRegularExpression blanks(QStringLiteral("\\s+"));
    QString text = html;
    text.remove(comments).remove(hidden).replace(tags, QStringLiteral(" "));
    text.replace(QLatin1String("&nbsp;"), QLatin1String(" "))
        .replace(QLatin1String("&lt;"), QLatin1String("<"))
        .replace(QLatin1String("&gt;"), QLatin1String(">"))
        .replace(QLatin1String("&quot;"), QLatin1String("\""))
        .replace(QLatin1String("&#39;"), QLatin1String("'"))
        .replace(QLatin1String("&rsquo;"), QString(QChar(0x2019)))
        .replace(QLatin1String("&ldquo;"), QString(QChar(0x201C)))
        .replace(QLatin1String("&rdquo;"), QString(QChar(0x201D)))
        .replace(QLatin1String("&ndash;"), QString(QChar(0x2013)))
        .replace(QLatin1String("&mdash;"), QString(QChar(0x2014)))
        .replace(QLatin1String("&hellip;"), QString(QChar(0x2026)))
        .replace(QLatin1String("&times;"), QString(QChar(0x00D7)))
        .replace(QLatin1String("&amp;"), QLatin1String("&"));
    return text.replace(blanks, QStringLiteral(" ")).trimmed();
}

bool HelpBook::load(const QString& directory)
{
    directory_ = directory;
    pages_.clear();
    contents_.clear();
    index_.clear();
    sections_.clear();

    const QDir dir(directory);
    const QString start = readPage(dir.filePath(QStringLiteral("index.html")));
    static const QRegularExpression chapterList(QStringLiteral("<ol class=\"chapters\">(.*?)</ol>"),
                                                QRegularExpression::DotMatchesEverythingOption);
    static const QRegularExpression link(QStringLiteral("href=\"([^\"#]+\\.html)\""));
    const auto list = chapterList.match(start);
    if (!list.hasMatch())
        return false;
    QStringList files{QStringLiteral("index.html")};
    for (auto it = link.globalMatch(list.captured(1)); it.hasNext();) {
        const QString file = it.next().captured(1);
        if (!files.contains(file))
            files.append(file);
    }

    static const QRegularExpression heading(QStringLiteral("<h([12])([^>]*)>(.*?)</h\\1>"),
                                            QRegularExpression::DotMatchesEverythingOption);
    static const QRegularExpression definition(QStringLiteral("<dfn([^>]*)>(.*?)</dfn>"), QRegularExpression::DotMatchesEverythingOption);
    static const QRegularExpression anyId(QStringLiteral("\\bid=\"([^\"]+)\""));
    static const QRegularExpression bodyStart(QStringLiteral("<body[^>]*>"));
    // The words a chapter is looked up by: <meta name="keywords" content="heat; wild card; ...">.
    static const QRegularExpression chapterTerms(QStringLiteral("<meta name=\"keywords\" content=\"([^\"]*)\""));

    for (const QString& file : files) {
        Page page{file, readPage(dir.filePath(file)), {}};
        if (page.html.isEmpty())
            return false;
        for (auto it = anyId.globalMatch(page.html); it.hasNext();)
            page.ids.append(it.next().captured(1));

        // Contents and the sections that search looks through.
        const qsizetype bodyAt = std::max<qsizetype>(0, bodyStart.match(page.html).capturedEnd());
        QString chapterUrl = file;
        qsizetype sectionStart = bodyAt;
        HelpTopic current{QString(), file, 0};
        auto closeSection = [&](qsizetype end) {
            if (!current.title.isEmpty())
                sections_.append(Section{current, PlainTextOfHtml(page.html.mid(sectionStart, end - sectionStart)).toLower()});
        };
        for (auto it = heading.globalMatch(page.html); it.hasNext();) {
            const auto m = it.next();
            const QString title = PlainTextOfHtml(m.captured(3));
            const QString id = attribute(m.captured(2), QStringLiteral("id"));
            closeSection(m.capturedStart());
            sectionStart = m.capturedStart();
            if (m.captured(1) == QLatin1String("1")) {
                current = HelpTopic{title, file, 0};
            } else {
                current = HelpTopic{title, id.isEmpty() ? file : file + QLatin1Char('#') + id, 1};
            }
            if (file != QLatin1String("index.html"))
                contents_.append(current);
        }
        closeSection(page.html.size());

        for (const QString& term : chapterTerms.match(page.html).captured(1).split(QLatin1Char(';'), Qt::SkipEmptyParts))
            if (!term.trimmed().isEmpty())
                index_.append(HelpKeyword{term.trimmed(), file});
        for (auto it = definition.globalMatch(page.html); it.hasNext();) {
            const auto m = it.next();
            const QString id = attribute(m.captured(1), QStringLiteral("id"));
            const QString url = id.isEmpty() ? chapterUrl : file + QLatin1Char('#') + id;
            const QString titled = attribute(m.captured(1), QStringLiteral("title"));
            const QStringList keywords = titled.isEmpty() ? QStringList{PlainTextOfHtml(m.captured(2))} : titled.split(QLatin1Char(';'));
            for (const QString& keyword : keywords)
                if (!keyword.trimmed().isEmpty())
                    index_.append(HelpKeyword{keyword.trimmed(), url});
        }
        pages_.append(page);
    }
    std::stable_sort(index_.begin(), index_.end(), [](const HelpKeyword& a, const HelpKeyword& b) {
        return a.keyword.compare(b.keyword, Qt::CaseInsensitive) < 0;
    });
    return true;
}

QList<HelpTopic> HelpBook::search(const QString& words) const
{
    const QStringList wanted = words.toLower().split(QRegularExpression(QStringLiteral("\\s+")), Qt::SkipEmptyParts);
    QList<HelpTopic> found;
    if (wanted.isEmpty())
        return found;
    for (const Section& section : sections_) {
        const bool all = std::all_of(wanted.begin(), wanted.end(), [&](const QString& w) { return section.text.contains(w); });
        if (all && section.topic.url != QLatin1String("index.html"))
            found.append(section.topic);
    }
    return found;
}

QStringList HelpBook::brokenLinks() const
{
    static const QRegularExpression link(QStringLiteral("href=\"([^\"]*)\""));
    static const QRegularExpression source(QStringLiteral("src=\"([^\"]*)\""));
    QStringList broken;
    const QDir dir(directory_);
    for (const Page& page : pages_) {
        for (auto it = link.globalMatch(page.html); it.hasNext();) {
            const QString target = it.next().captured(1);
            if (target.contains(QLatin1String("://")) || target.startsWith(QLatin1String("mailto:")))
                continue;
            const QString file = target.section(QLatin1Char('#'), 0, 0);
            const QString anchor = target.section(QLatin1Char('#'), 1);
            const QString pageName = file.isEmpty() ? page.file : file;
            const auto other = std::find_if(pages_.begin(), pages_.end(), [&](const Page& p) { return p.file == pageName; });
            if (other == pages_.end()) {
                if (!QFile::exists(dir.filePath(pageName)))
                    broken.append(page.file + QStringLiteral(": ") + target);
            } else if (!anchor.isEmpty() && !other->ids.contains(anchor)) {
                broken.append(page.file + QStringLiteral(": ") + target);
            }
        }
        for (auto it = source.globalMatch(page.html); it.hasNext();) {
            const QString target = it.next().captured(1);
            if (!QFile::exists(dir.filePath(target)))
                broken.append(page.file + QStringLiteral(": ") + target);
        }
    }
    return broken;
}

}  // namespace tarlox
