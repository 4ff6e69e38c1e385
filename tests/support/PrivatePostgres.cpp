#include "support/PrivatePostgres.h"
#include "support/TestSite.h"

#include <QFile>
#include <QProcess>

using namespace Qt::StringLiterals;

namespace tarlox::test {

static QString script() { return qEnvironmentVariable("TARLOX_SOURCE_DIR") + u"/tests/support/postgres.sh"_s; }

PrivatePostgres::PrivatePostgres()
{
    // The server runs as its own user, which must reach the directory.
    QFile::setPermissions(dir_.path(), QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner
                                           | QFileDevice::ReadGroup | QFileDevice::ExeGroup | QFileDevice::ReadOther | QFileDevice::ExeOther);
}

PrivatePostgres::~PrivatePostgres() { run({u"stop"_s, dir_.filePath(u"pg"_s)}); }

bool PrivatePostgres::run(const QStringList& arguments) const
{
    QProcess process;
    process.start(u"bash"_s, QStringList{script()} + arguments);
    return process.waitForFinished(120000) && process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0;
}

bool PrivatePostgres::start()
{
    const QString dir = dir_.filePath(u"pg"_s);
    if (port_ == 0) {
        if (!run({u"start"_s, dir})) return false;
        connInfo_ = QString::fromUtf8(FileBytes(dir + u"/conninfo"_s)).trimmed();
        port_ = connInfo_.section(u"port="_s, 1).section(u' ', 0, 0).toInt();
        return port_ != 0;
    }
    return run({u"restart"_s, dir});
}

bool PrivatePostgres::stop() { return run({u"halt"_s, dir_.filePath(u"pg"_s)}); }

bool PrivatePostgres::createDatabase(const QString& name) const
{
    return RunSql([this](const QString& connection) { return PostgresConnection(connection, connInfo_, u"postgres"_s); }, u"CREATE DATABASE \"%1\""_s.arg(name));
}

}  // namespace tarlox::test
