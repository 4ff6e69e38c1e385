#pragma once

// Mail servers of a test's own on 127.0.0.1: an SMTP server
// (tests/support/smtp_server.py on aiosmtpd) and a POP3 server (dovecot run
// unprivileged from a configuration in a temporary directory). Each is
// stopped by its process id when the object goes.

#include <QProcess>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

namespace tarlox::test {

// A self-signed certificate for 127.0.0.1 and localhost, made with openssl.
struct TestCertificate { QString certFile; QString keyFile; };
bool MakeTestCertificate(const QString& dir, TestCertificate& made);

class SmtpTestServer {
public:
    struct Options {
        bool startTls = false;        // offer STARTTLS and refuse mail before it
        QString user;                 // non-empty: AUTH required (only after STARTTLS)
        QString password;
        QString mechanisms = QStringLiteral("PLAIN,LOGIN");
        QString popLog;               // take mail only after a POP log-in shows here
        bool silent = false;          // accept connections, never answer
    };

    explicit SmtpTestServer(Options options);
    ~SmtpTestServer();

    bool start();
    void stop();
    int port() const { return port_; }
    // The certificate a client must trust when startTls is set.
    QString certificate() const { return certificate_.certFile; }
    // Delivered messages, one file per envelope recipient, in order of arrival.
    QStringList messages() const;
    QString error() const { return error_; }

private:
    Options options_;
    QTemporaryDir dir_;
    QProcess process_;
    TestCertificate certificate_;
    int port_ = 0;
    QString error_;
};

class PopTestServer {
public:
    PopTestServer(QString user, QString password);
    ~PopTestServer();

    bool start();
    void stop();
    int port() const { return port_; }
    // Dovecot's log, which holds a "pop3-login: Login:" line per log-in.
    QString logFile() const;
    QString error() const { return error_; }

private:
    QString user_;
    QString password_;
    QTemporaryDir dir_;
    QProcess process_;
    int port_ = 0;
    QString error_;
};

}  // namespace tarlox::test
