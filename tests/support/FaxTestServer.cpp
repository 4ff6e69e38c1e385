#include "support/FaxTestServer.h"

#include <QFile>
#include <QProcess>

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

namespace tarlox::test {

namespace {

QString Script()
{
    return qEnvironmentVariable("TARLOX_SOURCE_DIR") + QStringLiteral("/tests/support/hylafax.sh");
}

QString& Reason()
{
    static QString reason;
    return reason;
}

}  // namespace

FaxTestServer* FaxTestServer::Get()
{
    static FaxTestServer server;
    return server.start() ? &server : nullptr;
}

QString FaxTestServer::skipReason()
{
    return Reason();
}

bool FaxTestServer::start()
{
    if (started_ || !Reason().isEmpty())
        return started_;
    if (geteuid() != 0) {
        Reason() = QStringLiteral("the HylaFAX test server runs only as root (its daemons switch to uucp)");
        return false;
    }
    if (!QFile::exists(QStringLiteral("/usr/sbin/faxq")) || !QFile::exists(QStringLiteral("/usr/sbin/hfaxd"))) {
        Reason() = QStringLiteral("hylafax-server is not installed (scripts/install-deps.sh)");
        return false;
    }
    chmod(QFile::encodeName(dir_.path()).constData(), 0755);
    port_ = ClosedPort();
    QProcess script;
    script.start(QStringLiteral("bash"), {Script(), QStringLiteral("start"), dir_.path(), QString::number(port_)});
    script.waitForFinished(60000);
    if (script.exitCode() != 0) {
        Reason() = QStringLiteral("the HylaFAX test server did not start: ") + QString::fromLocal8Bit(script.readAll());
        ADD_FAILURE() << Reason().toStdString();
        return false;
    }
    started_ = true;
    return true;
}

FaxTestServer::~FaxTestServer()
{
    if (started_)
        QProcess::execute(QStringLiteral("bash"), {Script(), QStringLiteral("stop"), dir_.path()});
}

QString FaxTestServer::address() const
{
    return QStringLiteral("127.0.0.1:%1").arg(port_);
}

QString FaxTestServer::queueFile(const QString& queue, const QString& id) const
{
    QFile file(spool() + QLatin1Char('/') + queue + QStringLiteral("/q") + id);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

}  // namespace tarlox::test
