#include "store/FileLists.h"

#include "base/FileTools.h"
#include "base/Prompter.h"
#include "data/Session.h"

#include <QStringList>

namespace tarlox {

namespace {
bool meansAllPages(const QString& pageList)
{
    const QString trimmed = pageList.trimmed();
    return trimmed.isEmpty() || trimmed.compare(QLatin1String("All"), Qt::CaseInsensitive) == 0;
}
}  // namespace

PageSelection CheckPages(const QString& pageList)
{
    PageSelection selection;
    if (meansAllPages(pageList)) {
        selection.all = true;
        return selection;
    }
    const QStringList items = pageList.split(QLatin1Char(','));
    for (const QString& item : items) {
        bool ok = false;
        const int page = item.trimmed().toInt(&ok);
        if (ok && page >= 0)
            selection.pages.insert(page);
    }
    return selection;
}

QString BuildFileList(const QString& selection, const QString& separator, bool& somePages)
{
    somePages = false;
    const QStringList parts = selection.split(QLatin1Char(';'));
    QStringList files;
    for (qsizetype i = 0; i < parts.size(); i += 2) {
        if (parts[i].isEmpty())
            continue;
        files << parts[i];
        if (i + 1 < parts.size() && !meansAllPages(parts[i + 1]))
            somePages = true;
    }
    return files.join(separator);
}

void DeleteTempFiles(Session& session, const QString& files, const QString& separator)
{
    session.traceCall(QStringLiteral("DeleteTempFiles"), {files, separator});
    session.prompter().setBusy(true);
    const QStringList names = separator.isEmpty() ? QStringList{files} : files.split(separator);
    for (const QString& name : names)
        if (!name.trimmed().isEmpty())
            KillFile(name);
    session.prompter().setBusy(false);
}

}  // namespace tarlox
