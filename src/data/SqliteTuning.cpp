#include "data/SqliteTuning.h"

#include <QFileInfo>
#include <QSqlDriver>
#include <QSqlError>
#include <QSqlQuery>
#include <QVariant>

#include <sqlite3.h>
#include <sys/vfs.h>

#include <chrono>
#include <random>
#include <thread>

namespace tarlox {

namespace {

struct BusyBudget {
    int totalMs;
};

int busyHandler(void* context, int attempt)
{
    const auto* budget = static_cast<const BusyBudget*>(context);
    thread_local std::mt19937 random{std::random_device{}()};
    // Short, randomised sleeps: waiting writers wake at different moments and
    // take the lock in turn instead of the longest sleeper always losing. A
    // writer holds the lock for well under a millisecond, so the first waits
    // are a fraction of one; they grow with each attempt up to 8 ms.
    const int ceilingUs = std::min(500 + 250 * attempt, 8000);
    std::uniform_int_distribution<int> pick(50, ceilingUs);
    const int sleepUs = pick(random);
    static thread_local qint64 spentUs = 0;
    if (attempt == 0)
        spentUs = 0;
    spentUs += sleepUs;
    if (spentUs > qint64(budget->totalMs) * 1000)
        return 0;
    std::this_thread::sleep_for(std::chrono::microseconds(sleepUs));
    return 1;
}

// Kept for the life of the process: the handler's budget per timeout value.
BusyBudget* budgetFor(int timeoutSeconds)
{
    static BusyBudget budgets[121];
    const int seconds = timeoutSeconds <= 0 ? 30 : std::min(timeoutSeconds, 120);
    budgets[seconds].totalMs = seconds * 1000;
    return &budgets[seconds];
}

}  // namespace

bool IsOnNetworkFileSystem(const QString& path)
{
    struct statfs info {};
    const QByteArray dir = QFileInfo(path).absolutePath().toLocal8Bit();
    if (statfs(dir.constData(), &info) != 0)
        return false;
    switch (static_cast<unsigned long>(info.f_type)) {
    case 0x6969UL:      // NFS
    case 0x517BUL:      // SMB
    case 0xFF534D42UL:  // CIFS
    case 0xFE534D42UL:  // SMB2
    case 0x65735546UL:  // FUSE (sshfs and the like)
    case 0x01021997UL:  // 9P
    case 0x00C36400UL:  // Ceph
    case 0x47504653UL:  // GPFS
        return true;
    default:
        return false;
    }
}

bool TuneSqliteConnection(QSqlDatabase& db, const QString& file, int timeoutSeconds, QString* error)
{
    const QVariant handle = db.driver()->handle();
    if (handle.isValid() && qstrcmp(handle.typeName(), "sqlite3*") == 0) {
        if (auto* sqlite = *static_cast<sqlite3* const*>(handle.data()))
            sqlite3_busy_handler(sqlite, busyHandler, budgetFor(timeoutSeconds));
    }
    QSqlQuery query(db);
    if (!query.exec(QStringLiteral("PRAGMA schema_version"))) {
        *error = query.lastError().text();
        return false;
    }
    const bool network = IsOnNetworkFileSystem(file);
    query.exec(network ? QStringLiteral("PRAGMA journal_mode=DELETE") : QStringLiteral("PRAGMA journal_mode=WAL"));
    query.exec(network ? QStringLiteral("PRAGMA synchronous=FULL") : QStringLiteral("PRAGMA synchronous=NORMAL"));
    query.exec(QStringLiteral("PRAGMA foreign_keys=OFF"));
    // A site's whole history is a few hundred megabytes: keep the pages a
    // search touches in memory, and on a local disk read them through a
    // mapping instead of a system call each.
    query.exec(QStringLiteral("PRAGMA cache_size=-65536"));
    if (!network)
        query.exec(QStringLiteral("PRAGMA mmap_size=1073741824"));
    return true;
}

}  // namespace tarlox
