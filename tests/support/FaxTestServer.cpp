#include "support/FaxTestServer.h"
#include "support/TestSite.h"

#include <QFile>
#include <QProcess>

#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace tarlox::test {

namespace {

QString Script() { return qEnvironmentVariable("TARLOX_SOURCE_DIR") + u"/tests/support/hylafax.sh"_s; }

QString& Reason() { static QString reason; return reason; }

bool refuse(const QString& why) { return Reason() = why, false; }

}  // namespace

FaxTestServer* FaxTestServer::Get() { static FaxTestServer server; return server.start() ? &server : nullptr; }

QString FaxTestServer::skipReason() { return Reason(); }

bool FaxTestServer::start()
{
    if (started_ || !Reason().isEmpty()) return started_;
    if (geteuid() != 0) return refuse(u"the HylaFAX test server runs only as root (its daemons switch to uucp)"_s);
    if (!QFile::exists(u"/usr/sbin/faxq"_s) || !QFile::exists(u"/usr/sbin/hfaxd"_s)) return refuse(u"hylafax-server is not installed (scripts/install-deps.sh)"_s);
    chmod(QFile::encodeName(dir_.path()).constData(), 0755);
    port_ = ClosedPort();
    QProcess script;
    script.start(u"bash"_s, {Script(), u"start"_s, dir_.path(), QString::number(port_)});
    script.waitForFinished(60000);
    if (script.exitCode() != 0) {
        refuse(u"the HylaFAX test server did not start: "_s + QString::fromLocal8Bit(script.readAll()));
        ADD_FAILURE() << Reason().toStdString();
        return false;
    }
    return started_ = true;
}

FaxTestServer::~FaxTestServer() { if (started_) QProcess::execute(u"bash"_s, {Script(), u"stop"_s, dir_.path()}); }

QString FaxTestServer::address() const { return u"127.0.0.1:%1"_s.arg(port_); }

QString FaxTestServer::queueFile(const QString& queue, const QString& id) const { return QString::fromUtf8(FileBytes(spool() + u'/' + queue + u"/q"_s + id)); }

}  // namespace tarlox::test
