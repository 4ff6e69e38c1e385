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
// "tarlox_find_bench" (bench/run_on_both_engines.sh starts a throw-away one).
// --keep reuses the database of an earlier run with the same size.

#include "BenchSite.h"
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
using namespace tarlox::bench;

namespace {

struct Options : SiteOptions {
    int runs = 25;
    QString only;  // one search by the beginning of its name
};

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
        if (TakeSiteOption(args, o))
            continue;
        const QString a = args.takeFirst();
        const QString v = args.isEmpty() ? QString() : args.takeFirst();
        if (a == QLatin1String("--runs")) {
            o.runs = v.toInt();
        } else if (a == QLatin1String("--only")) {
            o.only = v;
        } else {
            std::fprintf(stderr, "usage: find_bench %s [--runs N] [--only SEARCH]\n", SiteUsage);
            return 2;
        }
    }
    if (o.dir.isEmpty() || o.refs < 1 || o.images < 1 || o.images > o.refs || o.runs < 1) {
        std::fprintf(stderr, "find_bench: --dir is needed, and 1 <= images <= refs\n");
        return 2;
    }
    for (const QString& engine : o.enginesToRun())
        benchEngine(o, engine);
    return 0;
}
