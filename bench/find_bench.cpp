// Find on a site's whole history: 1,000,000 references over 300,000 images.
//
// For each search the time from pressing Find to the rows being in the
// form's array (frmFind, offscreen), the same search through the core
// (FindReferences), and the same statements run bare on the engine's own
// client library (sqlite3, libpq) against the same database in the same run.
//
//   find_bench --dir DIR [--engine sqlite|postgres|both] [--pg CONNINFO]
//              [--refs N] [--images N] [--runs N] [--keep]
//
// --pg names a server where the bench may create the database
// "tarlox_find_bench" (bench/run_find_bench.sh starts a throw-away one).
// --keep reuses the database of an earlier run with the same size.

#include "data/DataOp.h"
#include "data/OptionsData.h"
#include "data/Schema.h"
#include "search/FindQuery.h"
#include "search/forms/frmFind.h"
#include "data/Connection.h"
#include "base/IniFile.h"
#include "base/Prompter.h"
#include "data/Session.h"
#include "startup/Startup.h"

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QLineEdit>
#include <QPushButton>
#include <QSqlQuery>

#include <libpq-fe.h>
#include <sqlite3.h>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <vector>

using namespace tarlox;

namespace {

struct Options {
    QString dir;
    QStringList engines{QStringLiteral("sqlite"), QStringLiteral("postgres")};
    QString pg;
    qint64 refs = 1000000;
    qint64 images = 300000;
    int runs = 25;
    bool keep = false;
    QString only;  // one search by the beginning of its name
};

const QString BenchDatabase = QStringLiteral("tarlox_find_bench");

double medianMs(std::vector<double> samples)
{
    std::sort(samples.begin(), samples.end());
    return samples[samples.size() / 2];
}

// Runs fn a few times to warm the caches, then times it.
double timeIt(int runs, const std::function<void()>& fn)
{
    for (int i = 0; i < 3; ++i)
        fn();
    std::vector<double> samples;
    QElapsedTimer t;
    for (int i = 0; i < runs; ++i) {
        t.start();
        fn();
        samples.push_back(t.nsecsElapsed() / 1e6);
    }
    return medianMs(samples);
}

bool run(DataOp& op, const QString& sql)
{
    if (op.exec(sql, {}, DataOp::OnError::Quiet))
        return true;
    std::fprintf(stderr, "failed: %s\n%s\n", qPrintable(sql), qPrintable(op.failure().text));
    return false;
}

// ---------------------------------------------------------------- the site

bool adminPg(const QString& conninfo, const QString& sql)
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

void writeSettings(const Options& o, const QString& engine, Session& s)
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
bool dropSearchShape(DataOp& op)
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
bool fillRows(DataOp& op, const Options& o)
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

bool prepareSite(const Options& o, const QString& engine, Session& s)
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

// ---------------------------------------------------------------- bare statements

// The two statements LoadInfo sends for a condition: the newest rows, and
// the count when the rows filled the limit.
struct Statements {
    QString rows;
    QString count;
    QVariantList binds;
    QVariantList countBinds;
};

Statements statementsOf(const SqlCondition& where, int limit)
{
    const QString also = where.isEmpty() ? QString() : QStringLiteral(" AND (") + where.text + QLatin1Char(')');
    Statements st;
    st.rows = QStringLiteral("SELECT \"Info\".\"Heat #\", \"Info\".\"Part #\", \"Info\".\"P/O #\", \"Info\".\"Vend Name\", \"Info\".\"Mfg Name\", "
                             "\"Info\".\"Entry Date\", \"Info\".\"Image #\", \"Images\".\"Path\" FROM \"Info\", \"Images\" "
                             "WHERE \"Images\".\"Image #\" = \"Info\".\"Image #\"")
        + also + QStringLiteral(" ORDER BY \"Info\".\"Entry Date\" DESC, \"Info\".\"Image #\" DESC LIMIT %1").arg(limit);
    st.binds = where.binds;
    st.countBinds = where.binds;
    if (where.text.contains(QLatin1String("\"Images\"."))) {
        st.count = QStringLiteral("SELECT count(*) FROM \"Info\", \"Images\" WHERE \"Images\".\"Image #\" = \"Info\".\"Image #\"") + also;
        return st;
    }
    st.countBinds += where.binds;
        st.count = QStringLiteral("SELECT (SELECT count(*) FROM \"Info\" WHERE 1 = 1%1) - (SELECT CAST(coalesce(sum((SELECT count(*) FROM \"Info\" "
                                  "WHERE \"Info\".\"Image #\" = m.\"Image #\"%1)), 0) AS BIGINT) FROM \"Missing Images\" m WHERE NOT EXISTS "
                                  "(SELECT 1 FROM \"Images\" WHERE \"Images\".\"Image #\" = m.\"Image #\"))")
                       .arg(also);
    return st;
}

QByteArray textOf(const QVariant& v)
{
    if (v.metaType().id() == QMetaType::QDateTime)
        return v.toDateTime().toString(QStringLiteral("yyyy-MM-dd HH:mm:ss")).toUtf8();
    return v.toString().toUtf8();
}

class BareSqlite {
public:
    // With the settings the program's connection has.
    explicit BareSqlite(const QString& file)
    {
        sqlite3_open_v2(file.toUtf8().constData(), &db_, SQLITE_OPEN_READONLY, nullptr);
        sqlite3_exec(db_, "PRAGMA cache_size=-65536; PRAGMA mmap_size=1073741824", nullptr, nullptr, nullptr);
    }
    ~BareSqlite() { sqlite3_close(db_); }
    // Returns the rows read, and fills the count.
    int run(const QString& sql, const QVariantList& binds, qint64* count = nullptr)
    {
        sqlite3_stmt* st = nullptr;
        if (sqlite3_prepare_v2(db_, sql.toUtf8().constData(), -1, &st, nullptr) != SQLITE_OK) {
            std::fprintf(stderr, "%s\n", sqlite3_errmsg(db_));
            return -1;
        }
        int index = 1;
        for (const QVariant& v : binds) {
                if (v.metaType().id() == QMetaType::Int || v.metaType().id() == QMetaType::LongLong)
                    sqlite3_bind_int64(st, index++, v.toLongLong());
                else {
                    const QByteArray text = textOf(v);
                    sqlite3_bind_text(st, index++, text.constData(), static_cast<int>(text.size()), SQLITE_TRANSIENT);
                }
            }
        int rows = 0;
        while (sqlite3_step(st) == SQLITE_ROW) {
            if (count)
                *count = sqlite3_column_int64(st, 0);
            for (int c = 0; c < sqlite3_column_count(st); ++c)
                sqlite3_column_text(st, c);
            ++rows;
        }
        sqlite3_finalize(st);
        return rows;
    }

private:
    sqlite3* db_ = nullptr;
};

class BarePostgres {
public:
    explicit BarePostgres(const QString& conninfo) { c_ = PQconnectdb((conninfo + QStringLiteral(" dbname=") + BenchDatabase).toUtf8().constData()); }
    ~BarePostgres() { PQfinish(c_); }
    int run(QString sql, const QVariantList& binds, qint64* count = nullptr)
    {
        std::vector<QByteArray> values;
        for (const QVariant& v : binds)
            values.push_back(textOf(v));
        int n = 0;
        QString numbered;
        for (const QChar ch : sql)
            numbered += ch == QLatin1Char('?') ? QStringLiteral("$%1").arg(++n) : QString(ch);
        std::vector<const char*> pointers;
        for (const QByteArray& v : values)
            pointers.push_back(v.constData());
        PGresult* r = PQexecParams(c_, numbered.toUtf8().constData(), static_cast<int>(pointers.size()), nullptr, pointers.data(), nullptr,
                                   nullptr, 0);
        if (PQresultStatus(r) != PGRES_TUPLES_OK) {
            std::fprintf(stderr, "%s\n", PQerrorMessage(c_));
            PQclear(r);
            return -1;
        }
        const int rows = PQntuples(r);
        if (count && rows)
            *count = QByteArray(PQgetvalue(r, 0, 0)).toLongLong();
        PQclear(r);
        return rows;
    }

private:
    PGconn* c_ = nullptr;
};

// ---------------------------------------------------------------- the searches

struct Search {
    const char* name;
    FindCriteria criteria;
};

void benchEngine(const Options& o, const QString& engine)
{
    NonInteractivePrompter prompter(true);
    Session s(prompter);
    if (!prepareSite(o, engine, s)) {
        std::fprintf(stderr, "%s: the site could not be prepared\n", qPrintable(engine));
        return;
    }
    const bool sqlite = engine == QLatin1String("sqlite");
    std::unique_ptr<BareSqlite> bareSqlite;
    std::unique_ptr<BarePostgres> barePostgres;
    if (sqlite)
        bareSqlite = std::make_unique<BareSqlite>(QDir(o.dir).filePath(engine + QStringLiteral("/server/Tarlox.db")));
    else
        barePostgres = std::make_unique<BarePostgres>(o.pg);
    const auto bare = [&](const QString& sql, const QVariantList& binds, qint64* count) {
        return sqlite ? bareSqlite->run(sql, binds, count) : barePostgres->run(sql, binds, count);
    };

    const QList<Search> searches{
        {"exact heat", {.heat = QStringLiteral("h0012345")}},
        {"heat prefix (h123*)", {.heat = QStringLiteral("h123*")}},
        {"heat infix (*123*)", {.heat = QStringLiteral("*123*")}},
        {"vendor + date range", {.vend = QStringLiteral("vendor 017"), .from = QStringLiteral("1/1/2010"), .to = QStringLiteral("12/31/2011")}},
        {"no criteria", {}},
    };
    frmFind form(s);
    const auto box = [&](const char* name) { return form.findChild<QLineEdit*>(QLatin1String(name)); };
    QPushButton* find = form.findChild<QPushButton*>(QStringLiteral("cmdFind"));
    const int limit = 100;

    std::printf("\n%s (%lld references, %lld images), median of %d runs, ms\n", qPrintable(engine), o.refs, o.images, o.runs);
    std::printf("%-22s %8s %8s %8s %8s %8s %10s\n", "search", "found", "form", "core", "bare", "criteria", "form/bare");
    for (const Search& search : searches) {
        if (!o.only.isEmpty() && !QLatin1String(search.name).startsWith(o.only))
            continue;
        FindCriteria criteria = search.criteria;
        criteria.assumeWild = false;
        FindProblem problem;
        const SqlCondition where = *FindCondition(s, criteria, problem);
        const Statements st = statementsOf(where, limit);
        qint64 found = 0;
        const double bareMs = timeIt(o.runs, [&] {
            const int rows = bare(st.rows, st.binds, nullptr);
            found = rows;
            if (rows == limit)
                bare(st.count, st.countBinds, &found);
        });
        box("txtHeat")->setText(criteria.heat);
        box("txtVend")->setText(criteria.vend);
        box("txtFrom")->setText(criteria.from);
        box("txtTo")->setText(criteria.to);
        const double criteriaMs = timeIt(o.runs, [&] {
            FindCriteria c = search.criteria;
            FindProblem p;
            FindCondition(s, c, p);
        });
        FindResult result;
        const double coreMs = timeIt(o.runs, [&] {
            FindCriteria c = search.criteria;
            result = FindReferences(s, c, limit);
        });
        qint64 formFound = -1;
        const double formMs = timeIt(o.runs, [&] {
            find->click();
            formFound = form.lastIndex() + 1;
        });
        std::printf("%-22s %8lld %8.2f %8.2f %8.2f %8.2f %10.2f\n", search.name, static_cast<long long>(result.found), formMs, coreMs, bareMs,
                    criteriaMs, formMs / bareMs);
        if (result.found != found || formFound != result.lastIndex + 1)
            std::printf("  !! counts differ: bare %lld, core %lld, form shows %lld\n", static_cast<long long>(found),
                        static_cast<long long>(result.found), static_cast<long long>(formFound));
    }
    s.db().close();
}

}  // namespace

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", QByteArrayLiteral("offscreen"));
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    QApplication app(argc, argv);
    Options o;
    QStringList args = app.arguments().mid(1);
    while (!args.isEmpty()) {
        const QString a = args.takeFirst();
        const QString v = args.isEmpty() ? QString() : args.first();
        if (a == QLatin1String("--dir")) {
            o.dir = args.takeFirst();
        } else if (a == QLatin1String("--engine")) {
            args.takeFirst();
            o.engines = v == QLatin1String("both") ? o.engines : QStringList{v};
        } else if (a == QLatin1String("--pg")) {
            o.pg = args.takeFirst();
        } else if (a == QLatin1String("--refs")) {
            o.refs = args.takeFirst().toLongLong();
        } else if (a == QLatin1String("--images")) {
            o.images = args.takeFirst().toLongLong();
        } else if (a == QLatin1String("--runs")) {
            o.runs = args.takeFirst().toInt();
        } else if (a == QLatin1String("--only")) {
            o.only = args.takeFirst();
        } else if (a == QLatin1String("--keep")) {
            o.keep = true;
        } else {
            std::fprintf(stderr, "usage: find_bench --dir DIR [--engine sqlite|postgres|both] [--pg CONNINFO] [--refs N] [--images N] [--runs N] [--keep] [--only SEARCH]\n");
            return 2;
        }
    }
    if (o.dir.isEmpty() || o.refs < 1 || o.images < 1 || o.images > o.refs || o.runs < 1) {
        std::fprintf(stderr, "find_bench: --dir is needed, and 1 <= images <= refs\n");
        return 2;
    }
    if (o.pg.isEmpty())
        o.engines.removeAll(QStringLiteral("postgres"));
    for (const QString& engine : o.engines)
        benchEngine(o, engine);
    return 0;
}
