#include "base/IniFile.h"
#include "startup/Startup.h"
#include "startup/VersionUpgrade.h"
#include "support/SystemTexts.h"
#include "support/TestSite.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QThread>

using namespace tarlox;
using namespace tarlox::test;

namespace {

// A site whose data carries dataVersion, started by a program of programVersion.
struct VersionSite {
    explicit VersionSite(const char* dataVersion, Engine engine = Engine::Sqlite) : site(engine)
    {
        site.create();
        EXPECT_TRUE(site.execRaw(QStringLiteral("UPDATE \"Options\" SET \"Version\" = '%1'").arg(QLatin1String(dataVersion))));
    }

    bool start(const QString& programVersion) { site.session().programVersion = programVersion; return StartSession(site.session()).ok(); }

    // The data version as the database holds it now, read by a session of its own.
    QString storedVersion()
    {
        ScriptedPrompter quiet;
        Session other(quiet);
        std::tie(other.programDir, other.localIni) = std::tuple(QString(site.dir() + QLatin1Char('/')), site.localIni());
        EXPECT_TRUE(GetIniInfo(other, FirstStart::Refuse).ok());
        other.db().close();
        return other.options.version;
    }

    // An upgrade program in the server directory that leaves a mark when it runs.
    void placeUpgradeProgram(const char* name, bool executable)
    {
        const QString path = site.path(QStringLiteral("server/") + QLatin1String(name));
        EXPECT_TRUE(WriteFile(path, "#!/bin/sh\ntouch \"$(dirname \"$0\")/upgrade-ran\"\n"));
        EXPECT_TRUE(!executable || QFile::setPermissions(path, QFile::permissions(path) | QFile::ExeOwner | QFile::ExeUser));
    }

    bool upgradeRan(int waitMs = 5000) const
    {
        for (const QDeadlineTimer deadline(waitMs); !QFile::exists(site.path(QStringLiteral("server/upgrade-ran"))); QThread::msleep(20))
            if (deadline.hasExpired()) return false;
        return true;
    }

    TestSite site;
};

}  // namespace

class NewerProgram : public ::testing::TestWithParam<Engine> {};

// A short version text counts as the first version; the next workstation asks and writes nothing.
TEST_P(NewerProgram, UpgradesTheDataOnceAndTheNextStartShowsNoBox)
{
    for (const char* dataVersion : {"6.50.0001", "1.0"}) {
        SCOPED_TRACE(dataVersion);
        VersionSite v(dataVersion, GetParam());
        ASSERT_TRUE(v.start(QStringLiteral("7.00.0006")));
        EXPECT_TRUE(v.site.prompter().asked().isEmpty()) << v.site.prompter().titles().join(QLatin1Char(',')).toStdString();
        EXPECT_EQ((QStringList{v.storedVersion(), ReadIniValue(v.site.serverIni(), QStringLiteral("Info"), QStringLiteral("Version")).value}),
                  (QStringList{QStringLiteral("7.00.0006"), QStringLiteral("7.00.0006")}));

        WriteIniValue(v.site.serverIni(), QStringLiteral("Info"), QStringLiteral("Version"), QStringLiteral("untouched"));
        ScriptedPrompter next;
        Session second(next);
        std::tie(second.programDir, second.localIni, second.programVersion) = std::tuple(QString(v.site.dir() + QLatin1Char('/')), v.site.localIni(), QStringLiteral("7.00.0006"));
        ASSERT_TRUE(StartSession(second).ok());
        EXPECT_EQ(std::tuple(next.asked().size(), ReadIniValue(v.site.serverIni(), QStringLiteral("Info"), QStringLiteral("Version")).value),
                  std::tuple(0, QStringLiteral("untouched")));
    }
}

TARLOX_ON_BOTH_ENGINES(NewerProgram);

// One for the data's version, or the generic one when only the revision differs; the data's version stays.
TEST(OlderProgram, WithoutAnUpgradeProgramNamesTheOneToRun)
{
    const struct { const char *dataVersion, *programVersion, *shownVersion, *upgradeProgram; } rows[] = {
        {"7.00.0006", "7.00.0004", "7.00.0006", "TLXUpgrade.exe"},
        {"1.0", "0.90.0001", "1.00.0000", "TLUg1.00.exe"},  // a short version text is the first version
    };
    for (const auto& row : rows) {
        VersionSite v(row.dataVersion);
        ASSERT_TRUE(v.start(QLatin1String(row.programVersion)));
        auto& p = v.site.prompter();
        ASSERT_EQ(p.titles(), QStringList{QStringLiteral("Bad Version")});
        EXPECT_EQ(p.textOf(QStringLiteral("Bad Version")), texts::NoUpgradeProgram.arg(QLatin1String(row.programVersion), QLatin1String(row.shownVersion),
                                              QDir(v.site.path(QStringLiteral("server"))).absolutePath() + QLatin1Char('/') + QLatin1String(row.upgradeProgram)));
        EXPECT_EQ(std::tuple(p.asked().first().buttons, v.storedVersion()), std::tuple(Buttons::Ok, QString::fromLatin1(row.dataVersion)));
    }
}

// Answers to "Bad Version" and, where the program can't run, to "Can't Upgrade".
TEST(OlderProgram, AnswersToTheUpgradeQuestion)
{
    // The upgrade program lies in the server directory.
    const struct { const char *dataVersion, *program; bool executable; QList<Answer> answers; bool goesOn, ran; } rows[] = {
        {"7.00.0006", "TLXUpgrade", true, {Answer::Yes}, false, true},  // may lie there without ".exe"
        {"8.00.0001", "tlug8.00", true, {Answer::Yes}, false, true},    // found whatever its case
        {"7.00.0006", "TLXUpgrade.exe", true, {Answer::No}, true, false}, {"7.00.0006", "TLXUpgrade.exe", true, {Answer::Cancel}, false, false},
        {"7.00.0006", "TLXUpgrade.exe", false, {Answer::Yes, Answer::Ok}, true, false},
        {"7.00.0006", "TLXUpgrade.exe", false, {Answer::Yes, Answer::Cancel}, false, false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.program);
        VersionSite v(row.dataVersion);
        v.placeUpgradeProgram(row.program, row.executable);
        for (Answer a : row.answers) v.site.prompter().answer(a);
        const bool goesOn = v.start(QStringLiteral("7.00.0004"));
        const bool ran = v.upgradeRan(row.ran ? 5000 : 300);
        auto& p = v.site.prompter();
        EXPECT_EQ(std::tuple(goesOn, ran, p.asked().first().buttons, p.wasAsked(QStringLiteral("Bad Data Version"))),
                  std::tuple(row.goesOn, row.ran, Buttons::YesNoCancel, false));
        EXPECT_TRUE(row.executable || p.textOf(QStringLiteral("Can't Upgrade")) == texts::CantUpgrade);
    }
}

TEST(VersionTexts, WithoutRevisionAndUpgradeProgramNames)
{
    EXPECT_EQ((QStringList{VersionWithoutRevision(QStringLiteral("7.00.0006")), VersionWithoutRevision(QStringLiteral("1.0"))}),
              (QStringList{QStringLiteral("7.00"), QString()}));

    QTemporaryDir dir;
    const auto place = [&](const char* name, bool executable) {
        QFile file(dir.filePath(QLatin1String(name)));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.setPermissions(file.permissions() | (executable ? QFile::ExeOwner : QFile::Permissions()));
        return file.fileName();
    };
    const QString exe = dir.filePath(QStringLiteral("TLXUpgrade.exe"));
    EXPECT_EQ(ExistingUpgradeProgram(exe), QString());
    // A file without ".exe" counts only when it can be run; the name as given wins over it.
    const QString bare = place("TLXUpgrade", false);
    EXPECT_EQ(ExistingUpgradeProgram(exe), QString());
    place("TLXUpgrade", true);
    EXPECT_EQ(ExistingUpgradeProgram(exe), bare);
    place("TLXUpgrade.exe", false);
    EXPECT_EQ(ExistingUpgradeProgram(exe), exe);

    // Names made for systems that ignore case are found in any case.
    EXPECT_EQ(ExistingUpgradeProgram(dir.filePath(QStringLiteral("TLUg8.00.exe"))), place("tlug8.00", true));
    QFile::remove(bare);
    EXPECT_EQ(ExistingUpgradeProgram(dir.filePath(QStringLiteral("tlxupgrade.EXE"))), exe);
}
