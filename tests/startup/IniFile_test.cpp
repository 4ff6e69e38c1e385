#include "base/IniFile.h"
#include "support/TestSite.h"

#include <QDir>
#include <QtConcurrent>

#include <numeric>

using namespace tarlox;

namespace {

class IniFileTest : public test::TempDirTest {
protected:
    QString readAll() const { return QString::fromUtf8(test::FileBytes(file)); }
    void writeAll(const QByteArray& bytes) const { ASSERT_TRUE(test::WriteFile(file, bytes)); }
    QString read(const char* section, const char* key) const { return ReadIniValue(file, QLatin1String(section), QLatin1String(key)).value; }
    QString file = path(QStringLiteral("TARLOX.INI"));
};

}  // namespace

// Written with CRLF whatever they were read with; comments, other keys and case are kept; runs of blank lines become one.
TEST_F(IniFileTest, WritesChangeOnlyTheirKey)
{
    const struct { const char *before, *section, *key, *value, *after; } rows[] = {
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
        if (row.before) writeAll(row.before);
        ASSERT_TRUE(WriteIniValue(file, QLatin1String(row.section), QLatin1String(row.key), QLatin1String(row.value)).ok);
        EXPECT_EQ(readAll(), QLatin1String(row.after));
    }
    // Reading ignores the case of section and key.
    EXPECT_EQ(read("data", "DATABASE"), QStringLiteral("/b.db"));
}

TEST_F(IniFileTest, MissingKeySectionAndFileReadEmpty)
{
    writeAll("[Info]\r\nA=1\r\n");
    const QString missingKey = read("Info", "B"), missingSection = read("Nope", "A");
    // A key outside any section and a key named like a prefix don't match.
    writeAll("A=0\r\n[Info]\r\nAB=1\r\n");
    EXPECT_EQ((QStringList{missingKey, missingSection, read("Info", "A")}), (QStringList{QString(), QString(), QString()}));
    const IniResult r = ReadIniValue(dir.filePath(QStringLiteral("new.ini")), QStringLiteral("Info"), QStringLiteral("A"));
    EXPECT_TRUE(r.ok && r.value.isEmpty());
}

TEST_F(IniFileTest, GarbageLongLinesAndNoSections)
{
    QByteArray garbage;
    for (int i = 0; i < 4096; ++i) garbage.append(static_cast<char>((i * 37) % 256));
    garbage += "\r\n" + QByteArray(100000, 'x') + "\r\n";
    writeAll(garbage);
    ASSERT_TRUE(ReadIniValue(file, QStringLiteral("Info"), QStringLiteral("A")).ok && WriteIniValue(file, QStringLiteral("Info"), QStringLiteral("A"), QStringLiteral("1")).ok);
    EXPECT_TRUE(read("Info", "A") == QLatin1String("1") && readAll().contains(QString(100000, QLatin1Char('x'))));
}

TEST_F(IniFileTest, ADirectoryInPlaceOfTheFileFailsClearly)
{
    QDir(dir.path()).mkdir(QStringLiteral("TARLOX.INI"));
    const QString error = ReadIniValue(file, QStringLiteral("Info"), QStringLiteral("A")).error;
    EXPECT_TRUE(error == QStringLiteral("Can't open ") + file + QStringLiteral(" for reading") && !WriteIniValue(file, QStringLiteral("Info"), QStringLiteral("A"), QStringLiteral("1")).ok)
        << error.toStdString();
}

TEST_F(IniFileTest, ConcurrentWritersLoseNoKey)
{
    // Many writers at once, each its own key: every key must survive.
    QList<int> keys(64);
    std::iota(keys.begin(), keys.end(), 0);
    QtConcurrent::blockingMap(keys, [this](int i) { WriteIniValue(file, QStringLiteral("Info"), QStringLiteral("Key%1").arg(i), QString::number(i)); });
    for (int i = 0; i < 64; ++i) EXPECT_EQ(ReadIniValue(file, QStringLiteral("Info"), QStringLiteral("Key%1").arg(i)).value, QString::number(i)) << i;
}

TEST_F(IniFileTest, Latin1FilesFromOlderInstallationsRead)
{
    writeAll("[Custom]\r\nVendLong=Stahlh\xe4ndler\r\n");
    EXPECT_EQ(read("Custom", "VendLong"), QStringLiteral("Stahlh\u00e4ndler"));
}
