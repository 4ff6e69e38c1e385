// Image number allocation from several workstations at once: each process
// takes numbers through GetNextImage for a fixed time, timing every call.
// Reports allocations per second over all processes, the worst single wait
// and the 99th percentile, and checks that no number was given twice.
//
//   tarlox_alloc_bench [--engine sqlite|postgres|both] [--seconds S] [--processes 1,2,4]
//                      [--pg-conninfo "host=... port=... user=..."]
//
// Without --pg-conninfo a throw-away PostgreSQL server is started on loopback
// (tests/support/postgres.sh). Runs several processes, so it is a program of
// its own rather than a Google Benchmark.

#include "data/ImageData.h"
#include "store/NextImage.h"
#include "data/OptionsData.h"
#include "data/Schema.h"
#include "data/Connection.h"
#include "base/IniFile.h"
#include "base/Prompter.h"
#include "data/Session.h"
#include "startup/Startup.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QDir>
#include <QFileInfo>
#include <QProcess>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QTemporaryDir>
#include <QThread>
#include <QUuid>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <vector>

using namespace tarlox;

namespace {

using Clock = std::chrono::steady_clock;

qint64 nowMs() { return QDateTime::currentMSecsSinceEpoch(); }

// One process: allocate until the time is up, from a common start moment.
int runChild(const QString& ini, qint64 startAtMs, int seconds)
{
    NonInteractivePrompter prompter;
    Session s(prompter);
    s.localIni = ini;
    s.programDir = QFileInfo(ini).absolutePath() + QLatin1Char('/');
    if (!StartSession(s).ok())
        return 2;
    ConnectionScope connection(s.db());
    if (!GetNextImage(s))
        return 2;
    std::vector<qint32> numbers;
    std::vector<qint64> waits;
    numbers.reserve(100000);
    waits.reserve(100000);
    while (nowMs() < startAtMs)
        QThread::usleep(200);
    const auto start = Clock::now();
    const auto end = start + std::chrono::seconds(seconds);
    auto finished = start;
    while (finished < end) {
        const auto before = Clock::now();
        const auto taken = GetNextImage(s);
        if (!taken)
            return 3;
        finished = Clock::now();
        waits.push_back(std::chrono::duration_cast<std::chrono::microseconds>(finished - before).count());
        numbers.push_back(taken->number);
    }
    const qint64 elapsedUs = std::chrono::duration_cast<std::chrono::microseconds>(finished - start).count();
    std::vector<qint64> sorted = waits;
    std::sort(sorted.begin(), sorted.end());
    const qint64 p99 = sorted.empty() ? 0 : sorted[std::min(sorted.size() - 1, sorted.size() * 99 / 100)];
    std::printf("%zu %lld %lld %lld\n", numbers.size(), static_cast<long long>(elapsedUs), static_cast<long long>(sorted.empty() ? 0 : sorted.back()),
                static_cast<long long>(p99));
    for (qint32 n : numbers)
        std::printf("%d\n", n);
    return 0;
}

struct Site {
    QTemporaryDir dir;
    QString localIni() const { return dir.filePath(QStringLiteral("TARLOX.INI")); }
};

bool adminExec(const QString& conninfo, const QString& sql)
{
    const QString name = QStringLiteral("bench-admin-") + QUuid::createUuid().toString(QUuid::WithoutBraces);
    bool ok = false;
    {
        QSqlDatabase db = QSqlDatabase::addDatabase(QStringLiteral("QPSQL"), name);
        for (const auto& [key, value] : ParseConnInfo(conninfo)) {
            if (key == QLatin1String("host"))
                db.setHostName(value);
            else if (key == QLatin1String("port"))
                db.setPort(value.toInt());
            else if (key == QLatin1String("user"))
                db.setUserName(value);
        }
        db.setDatabaseName(QStringLiteral("postgres"));
        if (db.open()) {
            QSqlQuery query(db);
            ok = query.exec(sql);
            if (!ok)
                std::fprintf(stderr, "%s\n", qPrintable(query.lastError().text()));
        } else {
            std::fprintf(stderr, "%s\n", qPrintable(db.lastError().text()));
        }
    }
    QSqlDatabase::removeDatabase(name);
    return ok;
}

// An installation in a temporary directory on the chosen engine, with its empty database.
bool makeSite(Site& site, bool postgres, const QString& conninfo, const QString& pgDatabase)
{
    const QString dir = site.dir.path();
    QDir(dir).mkpath(QStringLiteral("DATA"));
    QDir(dir).mkpath(QStringLiteral("TEMP"));
    const QString server = dir + QStringLiteral("/tarlox.ini");
    WriteIniValue(site.localIni(), QStringLiteral("Info"), QStringLiteral("ServerIni"), server);
    WriteIniValue(site.localIni(), QStringLiteral("Info"), QStringLiteral("DataDir"), dir + QStringLiteral("/DATA"));
    WriteIniValue(site.localIni(), QStringLiteral("Info"), QStringLiteral("TempDir"), dir + QStringLiteral("/TEMP"));
    if (postgres) {
        if (!adminExec(conninfo, QStringLiteral("CREATE DATABASE \"%1\"").arg(pgDatabase)))
            return false;
        WriteIniValue(server, QStringLiteral("Data"), QStringLiteral("DatabaseType"), QStringLiteral("SQL"));
        WriteIniValue(server, QStringLiteral("Data"), QStringLiteral("OverrideConnection"), conninfo + QStringLiteral(" dbname=") + pgDatabase);
    } else {
        WriteIniValue(server, QStringLiteral("Data"), QStringLiteral("DatabaseType"), QStringLiteral("Access"));
        WriteIniValue(server, QStringLiteral("Data"), QStringLiteral("DataBase"), dir + QStringLiteral("/Tarlox.db"));
    }
    NonInteractivePrompter prompter;
    Session s(prompter);
    s.programDir = dir + QLatin1Char('/');
    s.localIni = site.localIni();
    s.serverIni = server;
    s.programVersion = ProgramVersion();
    GetServerInfo(s);
    s.db().allowCreate(true);
    const bool built = RevUp(s);
    s.db().allowCreate(false);
    s.options.version = s.programVersion;
    s.options.nextName = 1;
    const bool added = built && AddOptions(s, false);
    s.db().close();
    return added;
}

struct Result {
    qint64 allocations = 0;
    double perSecond = 0;
    qint64 worstUs = 0;
    qint64 p99Us = 0;
    qint64 duplicates = 0;
    bool ok = true;
};

Result measure(const QString& self, const QString& ini, int processes, int seconds)
{
    Result result;
    const qint64 startAt = nowMs() + 1500;  // time for every process to connect first
    std::vector<std::unique_ptr<QProcess>> children;
    for (int i = 0; i < processes; ++i) {
        auto child = std::make_unique<QProcess>();
        child->setProcessChannelMode(QProcess::SeparateChannels);
        child->start(self, {QStringLiteral("--child"), ini, QString::number(startAt), QString::number(seconds)});
        children.push_back(std::move(child));
    }
    QSet<qint32> seen;
    qint64 longestUs = 0;
    for (auto& child : children) {
        if (!child->waitForFinished(600000) || child->exitCode() != 0) {
            std::fprintf(stderr, "a process failed: %s\n", child->readAllStandardError().constData());
            result.ok = false;
            continue;
        }
        const QList<QByteArray> lines = child->readAllStandardOutput().split('\n');
        const QList<QByteArray> head = lines.value(0).split(' ');
        if (head.size() != 4) {
            result.ok = false;
            continue;
        }
        result.allocations += head[0].toLongLong();
        longestUs = std::max(longestUs, head[1].toLongLong());
        result.worstUs = std::max(result.worstUs, head[2].toLongLong());
        result.p99Us = std::max(result.p99Us, head[3].toLongLong());
        for (qsizetype i = 1; i < lines.size(); ++i) {
            if (lines[i].isEmpty())
                continue;
            const qint32 n = lines[i].toInt();
            if (seen.contains(n))
                ++result.duplicates;
            seen.insert(n);
        }
    }
    result.perSecond = longestUs > 0 ? result.allocations * 1e6 / static_cast<double>(longestUs) : 0;
    return result;
}

}  // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    QStringList args = app.arguments();
    if (args.size() >= 5 && args[1] == QLatin1String("--child"))
        return runChild(args[2], args[3].toLongLong(), args[4].toInt());

    const auto option = [&](const char* name, const QString& fallback) {
        const qsizetype at = args.indexOf(QLatin1String(name));
        return at >= 0 && at + 1 < args.size() ? args[at + 1] : fallback;
    };
    const QString engines = option("--engine", QStringLiteral("both"));
    const int seconds = option("--seconds", QStringLiteral("3")).toInt();
    QList<int> counts;
    for (const QString& n : option("--processes", QStringLiteral("1,2,4")).split(QLatin1Char(',')))
        counts << n.toInt();
    QString conninfo = option("--pg-conninfo", QString());

    QTemporaryDir pgDir;
    // The server runs as its own user when started by root: it must reach its directory.
    QFile::setPermissions(pgDir.path(), QFile::permissions(pgDir.path()) | QFileDevice::ExeOther | QFileDevice::ExeGroup);
    bool startedServer = false;
    const auto stopServer = [&] {
        if (startedServer)
            QProcess::execute(QStringLiteral("bash"), {QStringLiteral(TARLOX_SOURCE_DIR "/tests/support/postgres.sh"), QStringLiteral("stop"),
                                                       pgDir.filePath(QStringLiteral("pg"))});
    };

    std::printf("%-10s %9s %14s %12s %12s %10s\n", "engine", "processes", "allocations/s", "worst wait", "p99 wait", "duplicates");
    bool allOk = true;
    for (const QString& engine : {QStringLiteral("sqlite"), QStringLiteral("postgres")}) {
        if (engines != QLatin1String("both") && engines != engine)
            continue;
        const bool postgres = engine == QLatin1String("postgres");
        if (postgres && conninfo.isEmpty()) {
            const QString dir = pgDir.filePath(QStringLiteral("pg"));
            if (QProcess::execute(QStringLiteral("bash"), {QStringLiteral(TARLOX_SOURCE_DIR "/tests/support/postgres.sh"), QStringLiteral("start"), dir})
                != 0) {
                std::fprintf(stderr, "could not start PostgreSQL\n");
                return 1;
            }
            startedServer = true;
            QFile file(dir + QStringLiteral("/conninfo"));
            file.open(QIODevice::ReadOnly);
            conninfo = QString::fromUtf8(file.readAll()).trimmed();
        }
        for (int processes : counts) {
            Site site;
            const QString database = QStringLiteral("tlx_bench_") + QUuid::createUuid().toString(QUuid::Id128).left(12);
            if (!makeSite(site, postgres, conninfo, database)) {
                std::fprintf(stderr, "could not build the %s installation\n", qPrintable(engine));
                stopServer();
                return 1;
            }
            const Result r = measure(app.applicationFilePath(), site.localIni(), processes, seconds);
            allOk = allOk && r.ok && r.duplicates == 0;
            std::printf("%-10s %9d %14.0f %10.1f ms %10.1f ms %10lld\n", qPrintable(engine), processes, r.perSecond, r.worstUs / 1000.0,
                        r.p99Us / 1000.0, static_cast<long long>(r.duplicates));
            std::fflush(stdout);
            if (postgres)
                adminExec(conninfo, QStringLiteral("DROP DATABASE IF EXISTS \"%1\" WITH (FORCE)").arg(database));
        }
    }
    stopServer();
    return allOk ? 0 : 1;
}
