#include "base/FileTools.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace tarlox;

TEST(FileTools, FileExistsWithWildCardsDirectoriesAndNames)
{
    QTemporaryDir dir;
    for (const char* name : {"TR000001.TIF", "TR000002.TIF", "OR000001.TIF"}) {
        QFile f(dir.filePath(QLatin1String(name)));
        ASSERT_TRUE(f.open(QIODevice::WriteOnly));
    }
    QString names;
    EXPECT_TRUE(FileExists(dir.filePath(QStringLiteral("TR*.TIF")), &names));
    EXPECT_EQ(names, QStringLiteral("TR000001.TIF\tTR000002.TIF"));
    EXPECT_TRUE(FileExists(dir.filePath(QStringLiteral("?R000001.TIF")), &names));
    EXPECT_EQ(names.split(QLatin1Char('\t')).size(), 2);
    EXPECT_FALSE(FileExists(dir.filePath(QStringLiteral("XX*")), &names));
    EXPECT_TRUE(names.isEmpty());
    EXPECT_TRUE(FileExists(dir.path() + QLatin1Char('/')));
    EXPECT_TRUE(FileExists(dir.filePath(QStringLiteral("OR000001.TIF"))));
    EXPECT_FALSE(FileExists(dir.filePath(QStringLiteral("nothing"))));
    EXPECT_FALSE(FileExists(QString()));

    KillFile(dir.filePath(QStringLiteral("OR000001.TIF")));
    KillFile(dir.filePath(QStringLiteral("never there")));
    EXPECT_FALSE(FileExists(dir.filePath(QStringLiteral("OR000001.TIF"))));
}
