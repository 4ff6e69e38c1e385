#include "shell/ComponentVersions.h"
#include "shell/SupportListing.h"

#include <QTextDocument>

#include <gtest/gtest.h>

using namespace tarlox;

namespace {

SupportFacts facts(bool sql)
{
    SupportFacts f;
    f.now = QDateTime(QDate(2026, 3, 4), QTime(14, 5, 6));
    f.programVersion = QStringLiteral("8.00.0000");
    f.serverIni = QStringLiteral("\\\\SERVER\\share\\tarlox.ini");
    f.serverName = QStringLiteral("SERVER");
    f.companyName = QStringLiteral("Smith & Sons <Steel> {North}");
    f.sql = sql;
    f.timeout = QStringLiteral("30");
    f.server = QStringLiteral("db.example:5432");
    f.userId = QStringLiteral("tarlox");
    f.password = QStringLiteral("p\\w");
    f.databasePassword = QStringLiteral("secret");
    f.database = QStringLiteral("C:\\MTR\\Tarlox.db");
    f.machines.headers = {QStringLiteral("Machine"), QStringLiteral("Name"), QStringLiteral("Scanner"), QStringLiteral("Create"),
                          QStringLiteral("Login"), QStringLiteral("Interface")};
    f.machines.rows = {{QStringLiteral("QA-1"), QStringLiteral("Ann Müller"), QStringLiteral("True"), QStringLiteral("1/2/2026"),
                        QStringLiteral("3/4/2026"), QStringLiteral("1/1/1900")},
                       {QStringLiteral("RECEIVING-PC"), QStringLiteral("Bo"), QStringLiteral("False"), QStringLiteral("1/2/2026"),
                        QStringLiteral("1/3/2026"), QStringLiteral("1/1/1900")}};
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

TEST(SupportListing, RowsDependOnTheDatabaseType)
{
    const QStringList common{QStringLiteral("Info Update Date"), QStringLiteral("Tarlox Version"), QStringLiteral("Server Ini"),
                             QStringLiteral("Server Name"), QStringLiteral("Company Name"), QStringLiteral("Database Type"),
                             QStringLiteral("Connection Timeout")};
    EXPECT_EQ(labels(BuildSupportListing(facts(false))),
              (common + QStringList{QStringLiteral("Database Password"), QStringLiteral("Data Base File")}));
    EXPECT_EQ(labels(BuildSupportListing(facts(true))),
              (common + QStringList{QStringLiteral("SQL Server"), QStringLiteral("SQL User ID"), QStringLiteral("SQL Password")}));
}

TEST(SupportListing, TextFormHasLinesAndAPaddedMachineTable)
{
    const QString text = SupportListingText(BuildSupportListing(facts(false)));
    const QStringList lines = text.split(QStringLiteral("\r\n"));
    EXPECT_EQ(lines.at(0), QStringLiteral("Info Update Date = 3/4/2026 2:05:06 PM"));
    EXPECT_EQ(lines.at(1), QStringLiteral("Tarlox Version = 8.00.0000"));
    // Values stand as they are in the text form.
    EXPECT_TRUE(lines.contains(QStringLiteral("Server Ini = \\\\SERVER\\share\\tarlox.ini")));
    EXPECT_TRUE(lines.contains(QStringLiteral("Data Base File = C:\\MTR\\Tarlox.db")));
    const qsizetype head = lines.indexOf(QStringLiteral(""));
    ASSERT_GT(head, 0);
    // User as wide as "Ann Müller" + 1, Machine as "RECEIVING-PC" + 1, Scanner 8, the dates 11.
    EXPECT_EQ(lines.at(head + 1), QStringLiteral("User       Machine      Scanner Create     Login      Interface  "));
    EXPECT_EQ(lines.at(head + 2), QStringLiteral("Ann Müller QA-1         True    1/2/2026   3/4/2026   1/1/1900   "));
    EXPECT_EQ(lines.at(head + 3), QStringLiteral("Bo         RECEIVING-PC False   1/2/2026   1/3/2026   1/1/1900   "));
}

TEST(SupportListing, RichFormsShowEachCharacterOnce)
{
    const SupportListing listing = BuildSupportListing(facts(false));
    QTextDocument document;
    document.setHtml(SupportListingHtml(listing));
    const QString shown = document.toPlainText();
    EXPECT_EQ(shown.count(QStringLiteral("C:\\MTR\\Tarlox.db")), 1) << shown.toStdString();
    EXPECT_FALSE(shown.contains(QStringLiteral("C:\\\\MTR")));
    EXPECT_TRUE(shown.contains(QStringLiteral("\\\\SERVER\\share\\tarlox.ini")));
    EXPECT_TRUE(shown.contains(QStringLiteral("Smith & Sons <Steel> {North}")));
    EXPECT_TRUE(shown.contains(QStringLiteral("Ann Müller")));

    const QString rtf = QString::fromLatin1(SupportListingRtf(listing));
    EXPECT_TRUE(rtf.startsWith(QStringLiteral("{\\rtf1")));
    EXPECT_TRUE(rtf.contains(QStringLiteral("Times New Roman")));
    EXPECT_TRUE(rtf.contains(QStringLiteral("\\cellx3150")) && rtf.contains(QStringLiteral("\\cellx9360")));
    EXPECT_TRUE(rtf.contains(QStringLiteral("C:\\\\MTR\\\\Tarlox.db")));
    EXPECT_TRUE(rtf.contains(QStringLiteral("Smith & Sons <Steel> \\{North\\}")));
    EXPECT_TRUE(rtf.contains(QStringLiteral("Ann M\\u252?ller")));
    EXPECT_EQ(rtf.count(QLatin1Char('{')) - rtf.count(QStringLiteral("\\{")), rtf.count(QLatin1Char('}')) - rtf.count(QStringLiteral("\\}")));
}

TEST(ComponentVersions, EveryLibraryAnswers)
{
    const QList<ComponentVersion> rows = ComponentVersions(QStringLiteral("8.00.0000"));
    QStringList names;
    for (const auto& row : rows) {
        names << row.name;
        EXPECT_FALSE(row.version.isEmpty()) << row.name.toStdString();
        EXPECT_NE(row.version, QStringLiteral("Unknown")) << row.name.toStdString();
    }
    EXPECT_EQ(names, (QStringList{QStringLiteral("Tarlox"), QStringLiteral("Qt"), QStringLiteral("libtiff"), QStringLiteral("Leptonica"),
                                  QStringLiteral("SANE"), QStringLiteral("libcurl"), QStringLiteral("ZXing-C++"), QStringLiteral("Poppler"),
                                  QStringLiteral("SQLite"), QStringLiteral("libpq")}));
    EXPECT_EQ(rows.at(1).version, QString::fromLatin1(qVersion()));
    EXPECT_EQ(ComponentVersions(QString()).at(0).version, QStringLiteral("Unknown"));
}

TEST(ComponentVersions, BannersAndNumbers)
{
    EXPECT_EQ(VersionFromBanner(QStringLiteral("LIBTIFF, Version 4.5.0\nCopyright (c) 1988-1996 Sam Leffler")), QStringLiteral("4.5.0"));
    EXPECT_EQ(VersionFromBanner(QStringLiteral("leptonica-1.82.0")), QStringLiteral("1.82.0"));
    EXPECT_EQ(VersionFromBanner(QStringLiteral("no digits")), QStringLiteral("Unknown"));
    EXPECT_EQ(PostgresVersionText(150005), QStringLiteral("15.5"));
    EXPECT_EQ(PostgresVersionText(90624), QStringLiteral("9.6.24"));
    EXPECT_EQ(PostgresVersionText(0), QStringLiteral("Unknown"));
}
