#include "base/IniFile.h"
#include "support/TestSite.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QTemporaryDir>
#include <QtConcurrent>

#include <gtest/gtest.h>

using namespace tarlox;

namespace {

QString readAll(const QString& path) { return QString::fromUtf8(test::FileBytes(path)); }
void writeAll(const QString& path, const QByteArray& bytes) { ASSERT_TRUE(test::WriteFile(path, bytes)); }

class IniFileTest : public ::testing::Test {
protected:
    QTemporaryDir dir;
    QString file = dir.filePath(QStringLiteral("TARLOX.INI"));
};

}  // namespace

// One write into a file as found: the whole file after it. Files are
// written with CRLF whatever they were read with; comments, other keys and
// the case of what stands there are kept; runs of blank lines become one.
TEST_F(IniFileTest, WritesChangeOnlyTheirKey)
{
    const struct {
        const char* before;
        const char* section;
        const char* key;
        const char* value;
        const char* after;
    } rows[] = {
        {nullptr, "Info", "DataDir", "/srv/mtr", "[Info]\r\nDataDir=/srv/mtr\r\n"},
        {"[Info]\r\nA=1\r\n\r\n[Email]\r\nUser=x\r\n", "Info", "User", "y", "[Info]\r\nUser=y\r\nA=1\r\n\r\n[Email]\r\nUser=x\r\n"},
        {"; site settings\r\n[INFO]\r\ndatadir=old\r\nOther=Keep Me \r\n", "Info", "DataDir", "New Value",
         "; site settings\r\n[INFO]\r\nDataDir=New Value\r\nOther=Keep Me \r\n"},
        {"\r\n\r\n[A]\r\nx=1\r\n\r\n\r\n\r\n[B]\r\ny=2\r\n\r\n\r\n", "B", "z", "3", "[A]\r\nx=1\r\n\r\n[B]\r\nz=3\r\ny=2\r\n"},
        {"[Info]\nDataDir=/a\n[Data]\rDataBase=/b.db\r", "Data", "DatabaseType", "Access",
         "[Info]\r\nDataDir=/a\r\n[Data]\r\nDatabaseType=Access\r\nDataBase=/b.db\r\n"},
    };
    for (const auto& row : rows) {
        QFile::remove(file);
        if (row.before)
            writeAll(file, row.before);
        ASSERT_TRUE(WriteIniValue(file, QLatin1String(row.section), QLatin1String(row.key), QLatin1String(row.value)).ok);
        EXPECT_EQ(readAll(file), QLatin1String(row.after));
    }
    // Reading ignores the case of section and key.
    EXPECT_EQ(ReadIniValue(file, QStringLiteral("data"), QStringLiteral("DATABASE")).value, QStringLiteral("/b.db"));
}

TEST_F(IniFileTest, MissingKeySectionAndFileReadEmpty)
{
    writeAll(file, "[Info]\r\nA=1\r\n");
    EXPECT_EQ(ReadIniValue(file, QStringLiteral("Info"), QStringLiteral("B")).value, QString());
    EXPECT_EQ(ReadIniValue(file, QStringLiteral("Nope"), QStringLiteral("A")).value, QString());
    // A key outside any section and a key named like a prefix don't match.
    writeAll(file, "A=0\r\n[Info]\r\nAB=1\r\n");
    EXPECT_EQ(ReadIniValue(file, QStringLiteral("Info"), QStringLiteral("A")).value, QString());
    const QString missing = dir.filePath(QStringLiteral("new.ini"));
    const IniResult r = ReadIniValue(missing, QStringLiteral("Info"), QStringLiteral("A"));
    EXPECT_TRUE(r.ok);
    EXPECT_TRUE(r.value.isEmpty());
}

TEST_F(IniFileTest, GarbageLongLinesAndNoSections)
{
    QByteArray garbage;
    for (int i = 0; i < 4096; ++i)
        garbage.append(static_cast<char>((i * 37) % 256));
    garbage += "\r\n" + QByteArray(100000, 'x') + "\r\n";
    writeAll(file, garbage);
    EXPECT_TRUE(ReadIniValue(file, QStringLiteral("Info"), QStringLiteral("A")).ok);
    ASSERT_TRUE(WriteIniValue(file, QStringLiteral("Info"), QStringLiteral("A"), QStringLiteral("1")).ok);
    EXPECT_EQ(ReadIniValue(file, QStringLiteral("Info"), QStringLiteral("A")).value, QStringLiteral("1"));
    EXPECT_TRUE(readAll(file).contains(QString(100000, QLatin1Char('x'))));
}

TEST_F(IniFileTest, ADirectoryInPlaceOfTheFileFailsClearly)
{
    QDir(dir.path()).mkdir(QStringLiteral("TARLOX.INI"));
    const IniResult r = ReadIniValue(file, QStringLiteral("Info"), QStringLiteral("A"));
    EXPECT_EQ(r.error, QStringLiteral("Can't open ") + file + QStringLiteral(" for reading"));
    EXPECT_FALSE(WriteIniValue(file, QStringLiteral("Info"), QStringLiteral("A"), QStringLiteral("1")).ok);
}

TEST_F(IniFileTest, ConcurrentWritersLoseNoKey)
{
    // Many writers at once, each its own key: every key must survive.
    QList<int> keys;
    for (int i = 0; i < 64; ++i)
        keys << i;
    QtConcurrent::blockingMap(keys, [this](int i) {
        WriteIniValue(file, QStringLiteral("Info"), QStringLiteral("Key%1").arg(i), QString::number(i));
    });
    for (int i = 0; i < 64; ++i)
        EXPECT_EQ(ReadIniValue(file, QStringLiteral("Info"), QStringLiteral("Key%1").arg(i)).value, QString::number(i)) << i;
}

TEST_F(IniFileTest, Latin1FilesFromOlderInstallationsRead)
{
    writeAll(file, "[Custom]\r\nVendLong=Stahlh\xe4ndler\r\n");
    EXPECT_EQ(ReadIniValue(file, QStringLiteral("Custom"), QStringLiteral("VendLong")).value, QStringLiteral("Stahlh\u00e4ndler"));
}
