#include "support/PrivatePostgres.h"
#include "support/TestSite.h"

#include <QFile>
#include <QProcess>

namespace tarlox::test {

namespace {
QString script() { return qEnvironmentVariable("TARLOX_SOURCE_DIR") + QStringLiteral("/tests/support/postgres.sh"); }
}

PrivatePostgres::PrivatePostgres()
{
    // The server runs as its own user, which must reach the directory.
    QFile::setPermissions(dir_.path(), QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner
                                           | QFileDevice::ReadGroup | QFileDevice::ExeGroup | QFileDevice::ReadOther | QFileDevice::ExeOther);
}

PrivatePostgres::~PrivatePostgres()
{
    run({QStringLiteral("stop"), dir_.filePath(QStringLiteral("pg"))});
}

bool PrivatePostgres::run(const QStringList& arguments) const
{
    QProcess process;
    process.start(QStringLiteral("bash"), QStringList{script()} + arguments);
    return process.waitForFinished(120000) && process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0;
}

bool PrivatePostgres::start()
{
    const QString dir = dir_.filePath(QStringLiteral("pg"));
    if (port_ == 0) {
        if (!run({QStringLiteral("start"), dir}))
            return false;
        QFile file(dir + QStringLiteral("/conninfo"));
        if (!file.open(QIODevice::ReadOnly))
            return false;
        connInfo_ = QString::fromUtf8(file.readAll()).trimmed();
        port_ = connInfo_.section(QStringLiteral("port="), 1).section(QLatin1Char(' '), 0, 0).toInt();
        return true;
    }
    return run({QStringLiteral("restart"), dir});
}

bool PrivatePostgres::stop()
{
    return run({QStringLiteral("halt"), dir_.filePath(QStringLiteral("pg"))});
}

bool PrivatePostgres::createDatabase(const QString& name) const
{
    return RunSql([this](const QString& connection) { return PostgresConnection(connection, connInfo_, QStringLiteral("postgres")); },
                  QStringLiteral("CREATE DATABASE \"%1\"").arg(name));
}

}  // namespace tarlox::test
