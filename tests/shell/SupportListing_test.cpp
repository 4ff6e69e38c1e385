#include "shell/ComponentVersions.h"
#include "shell/SupportListing.h"

#include <QTextDocument>

#include <gtest/gtest.h>

using namespace tarlox;
using namespace Qt::StringLiterals;

namespace {

SupportFacts facts(bool sql)
{
    SupportFacts f;
    f.now = QDateTime(QDate(2026, 3, 4), QTime(14, 5, 6));
    f.sql = sql;
    std::tie(f.programVersion, f.serverIni, f.serverName, f.companyName, f.timeout, f.server, f.userId, f.password, f.databasePassword, f.database) =
        std::tuple(u"8.00.0000"_s, u"\\\\SERVER\\share\\tarlox.ini"_s, u"SERVER"_s, u"Smith & Sons <Steel> {North}"_s, u"30"_s, u"db.example:5432"_s, u"tarlox"_s,
                   u"p\\w"_s, u"secret"_s, u"C:\\MTR\\Tarlox.db"_s);
    f.machines.headers = {u"Machine"_s, u"Name"_s, u"Scanner"_s, u"Create"_s, u"Login"_s, u"Interface"_s};
    f.machines.rows = {{u"QA-1"_s, u"Ann Müller"_s, u"True"_s, u"1/2/2026"_s, u"3/4/2026"_s, u"1/1/1900"_s},
                       {u"RECEIVING-PC"_s, u"Bo"_s, u"False"_s, u"1/2/2026"_s, u"1/3/2026"_s, u"1/1/1900"_s}};
    return f;
}

QStringList labels(const SupportListing& l)
{
    QStringList out;
    for (const auto& row : l.rows)
        out << row.first;
    return out;
}

}  // namespace

// The rows depend on the database type; the text form has lines and a padded machine table.
TEST(SupportListing, RowsTextFormAndRichFormsThatShowEachCharacterOnce)
{
    const QStringList common{u"Info Update Date"_s, u"Tarlox Version"_s, u"Server Ini"_s,        u"Server Name"_s,
                             u"Company Name"_s,     u"Database Type"_s,  u"Connection Timeout"_s};
    EXPECT_EQ(labels(BuildSupportListing(facts(false))), (common + QStringList{u"Database Password"_s, u"Data Base File"_s}));
    EXPECT_EQ(labels(BuildSupportListing(facts(true))), (common + QStringList{u"SQL Server"_s, u"SQL User ID"_s, u"SQL Password"_s}));
    const QString text = SupportListingText(BuildSupportListing(facts(false)));
    const QStringList lines = text.split(u"\r\n"_s);
    EXPECT_EQ(lines.mid(0, 2), (QStringList{u"Info Update Date = 3/4/2026 2:05:06 PM"_s, u"Tarlox Version = 8.00.0000"_s}));
    // Values stand as they are in the text form.
    EXPECT_TRUE(lines.contains(u"Server Ini = \\\\SERVER\\share\\tarlox.ini"_s) && lines.contains(u"Data Base File = C:\\MTR\\Tarlox.db"_s));
    const qsizetype head = lines.indexOf(u""_s);
    ASSERT_GT(head, 0);
    // User as wide as "Ann Müller" + 1, Machine as "RECEIVING-PC" + 1, Scanner 8, the dates 11.
    EXPECT_EQ(lines.mid(head + 1, 3), (QStringList{u"User       Machine      Scanner Create     Login      Interface  "_s,
                                                   u"Ann Müller QA-1         True    1/2/2026   3/4/2026   1/1/1900   "_s,
                                                   u"Bo         RECEIVING-PC False   1/2/2026   1/3/2026   1/1/1900   "_s}));
    const SupportListing listing = BuildSupportListing(facts(false));
    QTextDocument document;
    document.setHtml(SupportListingHtml(listing));
    const QString shown = document.toPlainText();
    EXPECT_EQ(shown.count(u"C:\\MTR\\Tarlox.db"_s), 1) << shown.toStdString();
    EXPECT_EQ(std::tuple(shown.contains(u"C:\\\\MTR"_s), shown.contains(u"\\\\SERVER\\share\\tarlox.ini"_s), shown.contains(u"Smith & Sons <Steel> {North}"_s),
                         shown.contains(u"Ann Müller"_s)),
              std::tuple(false, true, true, true));

    const QString rtf = QString::fromLatin1(SupportListingRtf(listing));
    EXPECT_TRUE(rtf.startsWith(u"{\\rtf1"_s));
    for (const QString& piece : {u"Times New Roman"_s, u"\\cellx3150"_s, u"\\cellx9360"_s, u"C:\\\\MTR\\\\Tarlox.db"_s, u"Smith & Sons <Steel> \\{North\\}"_s, u"Ann M\\u252?ller"_s})
        EXPECT_TRUE(rtf.contains(piece)) << piece.toStdString();
    EXPECT_EQ(rtf.count(QLatin1Char('{')) - rtf.count(u"\\{"_s), rtf.count(QLatin1Char('}')) - rtf.count(u"\\}"_s));
}

TEST(ComponentVersions, EveryLibraryAnswersAndBannersAndNumbersAreRead)
{
    const QList<ComponentVersion> rows = ComponentVersions(u"8.00.0000"_s);
    QStringList names;
    for (const auto& row : rows) {
        names << row.name;
        EXPECT_TRUE(!row.version.isEmpty() && row.version != u"Unknown"_s) << row.name.toStdString();
    }
    EXPECT_EQ(names,
              (QStringList{u"Tarlox"_s, u"Qt"_s, u"libtiff"_s, u"Leptonica"_s, u"SANE"_s, u"libcurl"_s, u"ZXing-C++"_s, u"Poppler"_s,
                           u"SQLite"_s, u"libpq"_s}));
    EXPECT_EQ((QStringList{rows.at(1).version, ComponentVersions(QString()).at(0).version}), (QStringList{QString::fromLatin1(qVersion()), u"Unknown"_s}));
    EXPECT_EQ((QStringList{VersionFromBanner(u"LIBTIFF, Version 4.5.0\nCopyright (c) 1988-1996 Sam Leffler"_s), VersionFromBanner(u"leptonica-1.82.0"_s),
                           VersionFromBanner(u"no digits"_s), PostgresVersionText(150005), PostgresVersionText(90624), PostgresVersionText(0)}),
              (QStringList{u"4.5.0"_s, u"1.82.0"_s, u"Unknown"_s, u"15.5"_s, u"9.6.24"_s, u"Unknown"_s}));
}
