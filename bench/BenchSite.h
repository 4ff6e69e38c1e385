#pragma once

// The site of the find and listing benchmarks: 1,000,000 references over
// 300,000 images, written straight into a fresh database on either engine
// (and kept between runs with --keep).

#include "data/Connection.h"
#include "data/DataOp.h"
#include "data/OptionsData.h"
#include "data/Schema.h"
#include "data/Session.h"
#include "base/IniFile.h"
#include "startup/Startup.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>

#include <libpq-fe.h>

#include <cstdio>

namespace tarlox::bench {

struct SiteOptions {
    QString dir;
    QString pg;
    qint64 refs = 1000000;
    qint64 images = 300000;
    bool keep = false;
    QStringList engines{QStringLiteral("sqlite"), QStringLiteral("postgres")};

    // PostgreSQL only with a server to run on.
    QStringList enginesToRun() const
    {
        QStringList run = engines;
        if (pg.isEmpty())
            run.removeAll(QStringLiteral("postgres"));
        return run;
    }
};

inline const char* SiteUsage = "--dir DIR [--engine sqlite|postgres|both] [--pg CONNINFO] [--refs N] [--images N] [--keep]";

// Takes one of the site's options off the front of args; false (args as
// they were) when the first is not one of them.
inline bool TakeSiteOption(QStringList& args, SiteOptions& o)
{
    const QString option = args.first();
    if (option == QLatin1String("--keep")) {
        args.removeFirst();
        o.keep = true;
        return true;
    }
    const QStringList valued{QStringLiteral("--dir"), QStringLiteral("--engine"), QStringLiteral("--pg"), QStringLiteral("--refs"),
                             QStringLiteral("--images")};
    if (!valued.contains(option))
        return false;
    args.removeFirst();
    const QString value = args.isEmpty() ? QString() : args.takeFirst();
    if (option == QLatin1String("--dir"))
        o.dir = value;
    else if (option == QLatin1String("--engine"))
        o.engines = value == QLatin1String("both") ? SiteOptions{}.engines : QStringList{value};
    else if (option == QLatin1String("--pg"))
        o.pg = value;
    else if (option == QLatin1String("--refs"))
        o.refs = value.toLongLong();
    else
        o.images = value.toLongLong();
    return true;
}

inline const QString BenchDatabase = QStringLiteral("tarlox_find_bench");

inline bool run(DataOp& op, const QString& sql)
{
    if (op.exec(sql, {}, DataOp::OnError::Quiet))
        return true;
    std::fprintf(stderr, "failed: %s\n%s\n", qPrintable(sql), qPrintable(op.failure().text));
    return false;
}


inline bool adminPg(const QString& conninfo, const QString& sql)
{
    PGconn* c = PQconnectdb((conninfo + QStringLiteral(" dbname=postgres")).toUtf8().constData());
    if (PQstatus(c) != CONNECTION_OK) {
        std::fprintf(stderr, "%s\n", PQerrorMessage(c));
        PQfinish(c);
        return false;
    }
    PGresult* r = PQexec(c, sql.toUtf8().constData());
    const bool ok = PQresultStatus(r) == PGRES_COMMAND_OK;
    if (!ok)
        std::fprintf(stderr, "%s\n", PQerrorMessage(c));
    PQclear(r);
    PQfinish(c);
    return ok;
}

inline void writeSettings(const SiteOptions& o, const QString& engine, Session& s)
{
    const QString root = QDir(o.dir).filePath(engine);
    QDir().mkpath(root + QStringLiteral("/server"));
    QDir().mkpath(root + QStringLiteral("/DATA"));
    QDir().mkpath(root + QStringLiteral("/TEMP"));
    const QString local = root + QStringLiteral("/TARLOX.INI");
    const QString server = root + QStringLiteral("/server/tarlox.ini");
    WriteIniValue(local, QStringLiteral("Info"), QStringLiteral("ServerIni"), server);
    WriteIniValue(local, QStringLiteral("Info"), QStringLiteral("DataDir"), root + QStringLiteral("/DATA"));
    WriteIniValue(local, QStringLiteral("Info"), QStringLiteral("TempDir"), root + QStringLiteral("/TEMP"));
    if (engine == QLatin1String("sqlite")) {
        WriteIniValue(server, QStringLiteral("Data"), QStringLiteral("DatabaseType"), QStringLiteral("Access"));
        WriteIniValue(server, QStringLiteral("Data"), QStringLiteral("DataBase"), root + QStringLiteral("/server/Tarlox.db"));
    } else {
        WriteIniValue(server, QStringLiteral("Data"), QStringLiteral("DatabaseType"), QStringLiteral("SQL"));
        WriteIniValue(server, QStringLiteral("Data"), QStringLiteral("OverrideConnection"), o.pg + QStringLiteral(" dbname=") + BenchDatabase);
    }
    s.programDir = root + QLatin1Char('/');
    s.localIni = local;
    s.serverIni = server;
}

// The shape the search step of the ladder adds, taken away again, so that
// the rows go in without it and the ladder then builds it over them in bulk
// (as it does when it upgrades a site's database).
inline bool dropSearchShape(DataOp& op)
{
    const bool sqlite = op.dialect().isSqlite();
    QStringList drops;
    const QStringList core{IndexName::InfoKey, IndexName::InfoDatePo, IndexName::InfoHeat, IndexName::InfoImage, IndexName::ImagesImage};
    auto q = op.exec(sqlite ? QStringLiteral("SELECT type, name FROM sqlite_master WHERE tbl_name IN ('Info', 'Images') AND type IN ('index', 'trigger') "
                                             "AND name NOT LIKE 'sqlite_autoindex%'")
                            : QStringLiteral("SELECT 'index', indexname FROM pg_indexes WHERE tablename IN ('Info', 'Images') "
                                             "UNION ALL SELECT 'trigger', tgname || '\" ON \"' || c.relname FROM pg_trigger t JOIN pg_class c "
                                             "ON c.oid = t.tgrelid WHERE NOT t.tgisinternal AND c.relname IN ('Info', 'Images')"));
    if (!q)
        return false;
    while (q->next()) {
        const QString type = q->value(0).toString();
        const QString name = q->value(1).toString();
        if (type == QLatin1String("index") && !core.contains(name))
            drops << QStringLiteral("DROP INDEX \"%1\"").arg(name);
        else if (type == QLatin1String("trigger"))
            drops << QStringLiteral("DROP TRIGGER \"%1\"").arg(name);
    }
    for (const QString& table : {SearchTable::Trigrams, SearchTable::Terms, SearchTable::MissingImages})
        drops << QStringLiteral("DROP TABLE IF EXISTS \"%1\"").arg(table);
    for (const QString& sql : drops)
        if (!run(op, sql))
            return false;
    return true;
}

// Deterministic rows: image i of 300,000 every 35 minutes from 2004 on;
// reference r on image r * images / refs + 1 with a unique heat (a
// permutation of 7 digits), one of 50,000 parts, the image's P/O, one of 400
// vendors and one of 200 manufacturers.
inline bool fillRows(DataOp& op, const SiteOptions& o)
{
    const bool sqlite = op.dialect().isSqlite();
    const QString n = QString::number(o.refs);
    const QString m = QString::number(o.images);
    if (sqlite) {
        const QString image = QStringLiteral("(r * %1 / %2 + 1)").arg(m, n);
        return run(op, QStringLiteral("WITH RECURSIVE k(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM k WHERE i < %1) "
                                      "INSERT INTO \"Images\" SELECT i, '/srv/mtr/data' || (i % 4 + 1), 'VOL', "
                                      "strftime('%Y-%m-%dT%H:%M:%S', '2004-01-01', '+' || (i * 2100) || ' seconds'), ' ', '4' FROM k")
                                  .arg(m))
            && run(op, QStringLiteral("WITH RECURSIVE k(r) AS (SELECT 0 UNION ALL SELECT r + 1 FROM k WHERE r < %1 - 1) "
                                      "INSERT INTO \"Info\" SELECT 'H' || substr('0000000' || ((r * 7919 + 12345) % 10000000), -7), "
                                      "'P-' || substr('00000' || ((r * 31 + r / 7) % 50000), -5), 'PO' || substr('000000' || %2, -6), "
                                      "'Vendor ' || substr('000' || ((%2 - 1) % 400), -3), 'Mfg ' || substr('000' || (((%2 - 1) * 7) % 200), -3), "
                                      "strftime('%Y-%m-%dT%H:%M:%S', '2004-01-01', '+' || (%2 * 2100) || ' seconds'), %2 FROM k")
                                  .arg(n, image));
    }
    const QString image = QStringLiteral("(r::bigint * %1 / %2 + 1)").arg(m, n);
    return run(op, QStringLiteral("INSERT INTO \"Images\" SELECT i, '/srv/mtr/data' || (i % 4 + 1), 'VOL', "
                                  "timestamp '2004-01-01' + i * interval '2100 seconds', ' ', '4' FROM generate_series(1, %1) i")
                       .arg(m))
        && run(op, QStringLiteral("INSERT INTO \"Info\" SELECT 'H' || lpad(((r::bigint * 7919 + 12345) % 10000000)::text, 7, '0'), "
                                  "'P-' || lpad(((r * 31 + r / 7) % 50000)::text, 5, '0'), 'PO' || lpad(%2::text, 6, '0'), "
                                  "'Vendor ' || lpad(((%2 - 1) % 400)::text, 3, '0'), 'Mfg ' || lpad((((%2 - 1) * 7) % 200)::text, 3, '0'), "
                                  "timestamp '2004-01-01' + %2 * interval '2100 seconds', %2 FROM generate_series(0, %1 - 1) r")
                       .arg(n, image));
}

inline bool prepareSite(const SiteOptions& o, const QString& engine, Session& s)
{
    writeSettings(o, engine, s);
    const bool sqlite = engine == QLatin1String("sqlite");
    const QString file = QDir(o.dir).filePath(engine + QStringLiteral("/server/Tarlox.db"));
    const QString sizeNote = QDir(o.dir).filePath(engine + QStringLiteral("/size"));
    const QString size = QStringLiteral("%1/%2").arg(o.refs).arg(o.images);
    bool reuse = o.keep && ReadIniValue(sizeNote, QStringLiteral("Bench"), QStringLiteral("Size")).value == size;
    if (reuse && !sqlite) {
        // The server may be a fresh one that never held the bench database.
        PGconn* c = PQconnectdb((o.pg + QStringLiteral(" dbname=") + BenchDatabase).toUtf8().constData());
        reuse = PQstatus(c) == CONNECTION_OK;
        PQfinish(c);
    }
    if (!reuse) {
        if (sqlite) {
            QFile::remove(file);
        } else {
            adminPg(o.pg, QStringLiteral("DROP DATABASE IF EXISTS %1 WITH (FORCE)").arg(BenchDatabase));
            if (!adminPg(o.pg, QStringLiteral("CREATE DATABASE %1").arg(BenchDatabase)))
                return false;
        }
        GetServerInfo(s);
        s.db().allowCreate(true);
        if (!RevUp(s))
            return false;
        s.db().allowCreate(false);
        s.options.version = s.programVersion;
        s.options.nextName = static_cast<qint32>(o.images + 1);
        if (!AddOptions(s, false))
            return false;
        QElapsedTimer t;
        t.start();
        {
            DataOp op(s, QStringLiteral("bench"));
            if (!op.transaction([&] { return dropSearchShape(op) && fillRows(op, o); }))
                return false;
        }
        const double rowsMs = t.elapsed();
        t.start();
        if (!RevUp(s))
            return false;
        const double ladderMs = t.elapsed();
        {
            DataOp op(s, QStringLiteral("bench"));
            run(op, sqlite ? QStringLiteral("PRAGMA wal_checkpoint(TRUNCATE)") : QStringLiteral("VACUUM ANALYZE"));
        }
        std::printf("%s: %lld references over %lld images written in %.1f s; the ladder's search step built over them in %.1f s\n",
                    qPrintable(engine), o.refs, o.images, rowsMs / 1000, ladderMs / 1000);
        WriteIniValue(sizeNote, QStringLiteral("Bench"), QStringLiteral("Size"), size);
    }
    s.db().close();
    return StartSession(s).ok();
}

}  // namespace tarlox::bench
