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

namespace tarlox::test {

namespace {

QString sourceDir()
{
    return qEnvironmentVariable("TARLOX_SOURCE_DIR");
}

// True once the server on the port greets with "+OK".
bool greets(int port)
{
    QTcpSocket socket;
    socket.connectToHost(QStringLiteral("127.0.0.1"), quint16(port));
    QByteArray reply;
    while (reply.size() < 3 && socket.waitForReadyRead(1000))
        reply += socket.readAll();
    return reply.startsWith("+OK");
}

void stopProcess(QProcess& process)
{
    if (process.state() == QProcess::NotRunning)
        return;
    process.terminate();
    if (!process.waitForFinished(10000)) {
        process.kill();
        process.waitForFinished(5000);
    }
}

}  // namespace

quint16 ClosedPort()
{
    QTcpServer probe;
    probe.listen(QHostAddress(QStringLiteral("127.0.0.1")), 0);
    return probe.serverPort();
}

bool MakeTestCertificate(const QString& dir, TestCertificate& made)
{
    made.certFile = dir + QStringLiteral("/cert.pem");
    made.keyFile = dir + QStringLiteral("/key.pem");
    QProcess openssl;
    openssl.start(QStringLiteral("openssl"),
                  {QStringLiteral("req"), QStringLiteral("-x509"), QStringLiteral("-newkey"), QStringLiteral("rsa:2048"),
                   QStringLiteral("-nodes"), QStringLiteral("-days"), QStringLiteral("2"),
                   QStringLiteral("-subj"), QStringLiteral("/CN=localhost"),
                   QStringLiteral("-addext"), QStringLiteral("subjectAltName=IP:127.0.0.1,DNS:localhost"),
                   QStringLiteral("-keyout"), made.keyFile, QStringLiteral("-out"), made.certFile});
    return openssl.waitForFinished(60000) && openssl.exitStatus() == QProcess::NormalExit && openssl.exitCode() == 0;
}

SmtpTestServer::SmtpTestServer(Options options) : options_(std::move(options)) {}

SmtpTestServer::~SmtpTestServer() { stop(); }

bool SmtpTestServer::start()
{
    QDir(dir_.path()).mkpath(QStringLiteral("mail"));
    QStringList arguments{sourceDir() + QStringLiteral("/tests/support/smtp_server.py"),
                          QStringLiteral("--maildir"), dir_.filePath(QStringLiteral("mail"))};
    if (options_.startTls) {
        if (!MakeTestCertificate(dir_.path(), certificate_)) {
            error_ = QStringLiteral("openssl could not make a certificate");
            return false;
        }
        arguments << QStringLiteral("--cert") << certificate_.certFile << QStringLiteral("--key") << certificate_.keyFile;
    }
    if (!options_.user.isEmpty())
        arguments << QStringLiteral("--user") << options_.user << QStringLiteral("--password") << options_.password
                  << QStringLiteral("--mechanisms") << options_.mechanisms;
    if (!options_.popLog.isEmpty())
        arguments << QStringLiteral("--pop-log") << options_.popLog;
    if (options_.silent)
        arguments << QStringLiteral("--silent");

    process_.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    process_.start(QStringLiteral("/usr/bin/python3"), arguments);
    const QDeadlineTimer deadline(20000);
    QByteArray line;
    while (!line.endsWith('\n') && !deadline.hasExpired() && process_.state() != QProcess::NotRunning) {
        process_.waitForReadyRead(200);
        line += process_.readLine();
    }
    if (!line.startsWith("ready ")) {
        error_ = QStringLiteral("smtp_server.py did not start");
        stop();
        return false;
    }
    port_ = line.mid(6).trimmed().toInt();
    return port_ > 0;
}

void SmtpTestServer::stop() { stopProcess(process_); }

QStringList SmtpTestServer::messages() const
{
    const QDir mail(dir_.filePath(QStringLiteral("mail")));
    QStringList paths;
    for (const QString& name : mail.entryList({QStringLiteral("*.eml")}, QDir::Files, QDir::Name))
        paths << mail.filePath(name);
    return paths;
}

PopTestServer::PopTestServer(QString user, QString password) : user_(std::move(user)), password_(std::move(password)) {}

PopTestServer::~PopTestServer() { stop(); }

QString PopTestServer::logFile() const { return dir_.filePath(QStringLiteral("dovecot.log")); }

// Dovecot runs as one unprivileged account throughout: the caller's own, or
// the package's "dovecot" account when the caller is root.
bool PopTestServer::start()
{
    const bool root = ::geteuid() == 0;
    const passwd* account = root ? ::getpwnam("dovecot") : ::getpwuid(::geteuid());
    const group* accountGroup = account ? ::getgrgid(account->pw_gid) : nullptr;
    port_ = ClosedPort();
    if (!accountGroup || port_ == 0) {
        error_ = QStringLiteral("no account or port for dovecot");
        return false;
    }
    const QString dir = dir_.path();
    const QString name = QString::fromLocal8Bit(account->pw_name);
    const QString config = QStringLiteral(
        "protocols = pop3\n"
        "listen = 127.0.0.1\n"
        "base_dir = %1/run\n"
        "state_dir = %1/state\n"
        "log_path = %1/dovecot.log\n"
        "ssl = no\n"
        "disable_plaintext_auth = no\n"
        "auth_failure_delay = 0\n"
        "first_valid_uid = 1\n"
        "default_login_user = %2\n"
        "default_internal_user = %2\n"
        "default_internal_group = %3\n"
        "mail_location = maildir:%1/mail/%u\n"
        "passdb {\n  driver = passwd-file\n  args = scheme=PLAIN %1/users\n}\n"
        "userdb {\n  driver = static\n  args = uid=%4 gid=%5 home=%1/mail/%u\n}\n"
        "service pop3-login {\n  chroot =\n  inet_listener pop3 {\n    port = %6\n  }\n}\n"
        "service anvil {\n  chroot =\n}\n")
        .arg(dir, name, QString::fromLocal8Bit(accountGroup->gr_name))
        .arg(account->pw_uid)
        .arg(account->pw_gid)
        .arg(port_);
    if (!WriteFile(dir + QStringLiteral("/dovecot.conf"), config.toUtf8())
        || !WriteFile(dir + QStringLiteral("/users"), (user_ + QStringLiteral(":{PLAIN}") + password_ + u'\n').toUtf8())) {
        error_ = QStringLiteral("can't write dovecot's configuration");
        return false;
    }
    QStringList command{QStringLiteral("/usr/sbin/dovecot"), QStringLiteral("-F"), QStringLiteral("-c"),
                        dir + QStringLiteral("/dovecot.conf")};
    if (root) {
        for (const QString& file : {QString(), QStringLiteral("/dovecot.conf"), QStringLiteral("/users")})
            if (::chown(QFile::encodeName(dir + file).constData(), account->pw_uid, account->pw_gid) != 0)
                return false;
        command = QStringList{QStringLiteral("--reuid=%1").arg(account->pw_uid), QStringLiteral("--regid=%1").arg(account->pw_gid),
                              QStringLiteral("--clear-groups")} + command;
        command.prepend(QStringLiteral("/usr/bin/setpriv"));
    }
    process_.setProcessChannelMode(QProcess::ForwardedChannels);
    process_.start(command.takeFirst(), command);
    const QDeadlineTimer deadline(20000);
    while (!deadline.hasExpired() && process_.state() != QProcess::NotRunning) {
        if (greets(port_))
            return true;
        QThread::msleep(50);
    }
    error_ = QStringLiteral("dovecot did not start; see ") + logFile();
    stop();
    return false;
}

void PopTestServer::stop() { stopProcess(process_); }

}  // namespace tarlox::test
