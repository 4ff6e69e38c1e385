#pragma once

// Direct delivery of one message to an SMTP server, with the log-on kinds of
// section "Email": none, SMTP AUTH, or a POP3 log-in just before the send.
// Reports the conversation line by line and one final line, as the e-mail
// forms show it in txtStatus.

#include <QString>
#include <QStringList>

#include <chrono>
#include <functional>

namespace tarlox {

enum class MailAuthentication { None, Smtp, Pop };

// "SMTP" and "POP" (any case) name their kind; everything else is None.
MailAuthentication MailAuthenticationFrom(const QString& text);

// The values of section "Email" that a send uses, the password in clear.
struct SmtpSettings {
    QString server;                 // EmailServer
    QString port;                   // ServerPort: "" is 25; 465 means TLS from the start
    MailAuthentication authentication = MailAuthentication::None;
    QString user;
    QString password;
    QString popServer;              // POPServer, "host" or "host:port"
    bool bcc = false;               // a blind copy to the sender
    QString caFile;                 // extra certificates to trust; "" = the system's
    std::chrono::milliseconds connectTimeout{30000};
    std::chrono::milliseconds responseTimeout{60000};   // longest wait for one reply
    std::chrono::milliseconds totalTimeout{600000};
};

struct MailMessage {
    QString fromAddress;
    QString fromName;
    QString toAddress;
    QString toName;
    QString subject;
    QString body;
    QStringList files;              // attached under their file names
};

struct MailSendResult {
    QString status;                 // each status line after a line break, the final line last
    QString error;                  // the explanation of a failure; "" after a successful send
    bool ok() const { return error.isEmpty(); }
};

inline const QString kSendSuccessful = QStringLiteral("Send successfull - check recipient's mail box");
inline const QString kSendFailed = QStringLiteral("Send failed - ");

// A plain address: local part "@" domain, printable ASCII, no blanks, none of
// the characters that would break a header or a command line.
bool IsPlausibleMailAddress(const QString& address);

class SmtpSender {
public:
    using StatusLine = std::function<void(const QString& line)>;

    explicit SmtpSender(SmtpSettings settings);

    // Sends and returns the status text and the error. onStatus receives each
    // line as it happens, on the calling thread. Safe to call from several
    // threads at once; each call has its own connection.
    MailSendResult send(const MailMessage& message, const StatusLine& onStatus = {}) const;

private:
    SmtpSettings settings_;
};

}  // namespace tarlox
