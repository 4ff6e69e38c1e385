#include "base/FileTools.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace tarlox;

TEST(FileTools, FileExistsWithWildCardsDirectoriesAndNames)
{
    QTemporaryDir dir;
    for (const char* name : {"TR000001.TIF", "TR000002.TIF", "OR000001.TIF"}) ASSERT_TRUE(QFile(dir.filePath(QLatin1String(name))).open(QIODevice::WriteOnly));
    const auto found = [&](const char* pattern) {
        QString names;
        const bool exists = FileExists(dir.filePath(QLatin1String(pattern)), &names);
        return std::tuple(exists, names);
    };
    EXPECT_EQ(found("TR*.TIF"), std::tuple(true, QStringLiteral("TR000001.TIF\tTR000002.TIF")));
    EXPECT_EQ(std::get<1>(found("?R000001.TIF")).split(QLatin1Char('\t')).size(), 2);
    EXPECT_EQ(found("XX*"), std::tuple(false, QString()));
    EXPECT_EQ(std::tuple(FileExists(dir.path() + QLatin1Char('/')), FileExists(dir.filePath(QStringLiteral("OR000001.TIF"))),
                         FileExists(dir.filePath(QStringLiteral("nothing"))), FileExists(QString())),
              std::tuple(true, true, false, false));

    KillFile(dir.filePath(QStringLiteral("OR000001.TIF")));
    KillFile(dir.filePath(QStringLiteral("never there")));
    EXPECT_FALSE(FileExists(dir.filePath(QStringLiteral("OR000001.TIF"))));
}
