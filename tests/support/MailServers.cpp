#include "support/MailServers.h"
#include "support/FaxTestServer.h"
#include "support/TestSite.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QTcpServer>
#include <QTcpSocket>
#include <QThread>

#include <grp.h>
#include <pwd.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace tarlox::test {

namespace {

// True once the server on the port greets with "+OK".
bool greets(int port)
{
    QTcpSocket socket;
    socket.connectToHost(u"127.0.0.1"_s, quint16(port));
    QByteArray reply;
    while (reply.size() < 3 && socket.waitForReadyRead(1000)) reply += socket.readAll();
    return reply.startsWith("+OK");
}

void stopProcess(QProcess& process)
{
    if (process.state() != QProcess::NotRunning && (process.terminate(), !process.waitForFinished(10000))) process.kill(), process.waitForFinished(5000);
}

bool fail(QString& error, const QString& why) { return error = why, false; }

}  // namespace

quint16 ClosedPort()
{
    QTcpServer probe;
    probe.listen(QHostAddress(u"127.0.0.1"_s), 0);
    return probe.serverPort();
}

bool MakeTestCertificate(const QString& dir, TestCertificate& made)
{
    made = {dir + u"/cert.pem"_s, dir + u"/key.pem"_s};
    QProcess openssl;
    openssl.start(u"openssl"_s, u"req -x509 -newkey rsa:2048 -nodes -days 2 -subj /CN=localhost"_s.split(u' ')
                                    + QStringList{u"-addext"_s, u"subjectAltName=IP:127.0.0.1,DNS:localhost"_s, u"-keyout"_s,
                                                  made.keyFile, u"-out"_s, made.certFile});
    return openssl.waitForFinished(60000) && openssl.exitStatus() == QProcess::NormalExit && openssl.exitCode() == 0;
}

SmtpTestServer::SmtpTestServer(Options options) : options_(std::move(options)) {}

SmtpTestServer::~SmtpTestServer() { stop(); }

bool SmtpTestServer::start()
{
    QDir(dir_.path()).mkpath(u"mail"_s);
    QStringList arguments{qEnvironmentVariable("TARLOX_SOURCE_DIR") + u"/tests/support/smtp_server.py"_s, u"--maildir"_s, dir_.filePath(u"mail"_s)};
    if (options_.startTls) {
        if (!MakeTestCertificate(dir_.path(), certificate_)) return fail(error_, u"openssl could not make a certificate"_s);
        arguments << u"--cert"_s << certificate_.certFile << u"--key"_s << certificate_.keyFile;
    }
    if (!options_.user.isEmpty()) arguments << u"--user"_s << options_.user << u"--password"_s << options_.password << u"--mechanisms"_s << options_.mechanisms;
    if (!options_.popLog.isEmpty()) arguments << u"--pop-log"_s << options_.popLog;
    if (options_.silent) arguments << u"--silent"_s;

    process_.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    process_.start(u"/usr/bin/python3"_s, arguments);
    const QDeadlineTimer deadline(20000);
    QByteArray line;
    while (!line.endsWith('\n') && !deadline.hasExpired() && process_.state() != QProcess::NotRunning) {
        process_.waitForReadyRead(200);
        line += process_.readLine();
    }
    if (!line.startsWith("ready ")) return stop(), fail(error_, u"smtp_server.py did not start"_s);
    port_ = line.mid(6).trimmed().toInt();
    return port_ > 0;
}

void SmtpTestServer::stop() { stopProcess(process_); }

QStringList SmtpTestServer::messages() const
{
    const QDir mail(dir_.filePath(u"mail"_s));
    QStringList paths;
    for (const QString& name : mail.entryList({u"*.eml"_s}, QDir::Files, QDir::Name)) paths << mail.filePath(name);
    return paths;
}

PopTestServer::PopTestServer(QString user, QString password) : user_(std::move(user)), password_(std::move(password)) {}

PopTestServer::~PopTestServer() { stop(); }

QString PopTestServer::logFile() const { return dir_.filePath(u"dovecot.log"_s); }

// Dovecot runs as one unprivileged account throughout: the caller's own, or
// the package's "dovecot" account when the caller is root.
bool PopTestServer::start()
{
    const bool root = ::geteuid() == 0;
    const passwd* account = root ? ::getpwnam("dovecot") : ::getpwuid(::geteuid());
    const group* accountGroup = account ? ::getgrgid(account->pw_gid) : nullptr;
    port_ = ClosedPort();
    if (!accountGroup || port_ == 0) return fail(error_, u"no account or port for dovecot"_s);
    const QString dir = dir_.path(), name = QString::fromLocal8Bit(account->pw_name);
    const QString config = QStringLiteral(
        "protocols = pop3\nlisten = 127.0.0.1\nbase_dir = %1/run\nstate_dir = %1/state\nlog_path = %1/dovecot.log\n"
        "ssl = no\ndisable_plaintext_auth = no\nauth_failure_delay = 0\nfirst_valid_uid = 1\n"
        "default_login_user = %2\ndefault_internal_user = %2\ndefault_internal_group = %3\n"
        "mail_location = maildir:%1/mail/%u\n"
        "passdb {\n  driver = passwd-file\n  args = scheme=PLAIN %1/users\n}\n"
        "userdb {\n  driver = static\n  args = uid=%4 gid=%5 home=%1/mail/%u\n}\n"
        "service pop3-login {\n  chroot =\n  inet_listener pop3 {\n    port = %6\n  }\n}\n"
        "service anvil {\n  chroot =\n}\n")
        .arg(dir, name, QString::fromLocal8Bit(accountGroup->gr_name)).arg(account->pw_uid).arg(account->pw_gid).arg(port_);
    if (!WriteFile(dir + u"/dovecot.conf"_s, config.toUtf8()) || !WriteFile(dir + u"/users"_s, (user_ + u":{PLAIN}"_s + password_ + u'\n').toUtf8()))
        return fail(error_, u"can't write dovecot's configuration"_s);
    QStringList command{u"/usr/sbin/dovecot"_s, u"-F"_s, u"-c"_s, dir + u"/dovecot.conf"_s};
    if (root) {
        for (const QString& file : {QString(), u"/dovecot.conf"_s, u"/users"_s})
            if (::chown(QFile::encodeName(dir + file).constData(), account->pw_uid, account->pw_gid) != 0) return false;
        command = QStringList{u"/usr/bin/setpriv"_s, u"--reuid=%1"_s.arg(account->pw_uid), u"--regid=%1"_s.arg(account->pw_gid), u"--clear-groups"_s} + command;
    }
    process_.setProcessChannelMode(QProcess::ForwardedChannels);
    process_.start(command.takeFirst(), command);
    const QDeadlineTimer deadline(20000);
    while (!deadline.hasExpired() && process_.state() != QProcess::NotRunning) {
        if (greets(port_)) return true;
        QThread::msleep(50);
    }
    stop();
    return fail(error_, u"dovecot did not start; see "_s + logFile());
}

void PopTestServer::stop() { stopProcess(process_); }

}  // namespace tarlox::test
