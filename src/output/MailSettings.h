#pragma once

// The keys of section "Email" of the local settings file, named once, and the
// server settings a send reads from them.

#include "output/SmtpSender.h"

#include <QString>

#include <functional>

namespace tarlox::email {

inline const QString Section = QStringLiteral("Email");
inline const QString EmailClient = QStringLiteral("EmailClient");
inline const QString EmailServer = QStringLiteral("EmailServer");
inline const QString ServerPort = QStringLiteral("ServerPort");
inline const QString Authentication = QStringLiteral("Authentication");
inline const QString User = QStringLiteral("User");
inline const QString Password = QStringLiteral("Password");
inline const QString POPServer = QStringLiteral("POPServer");
inline const QString BCC = QStringLiteral("BCC");
inline const QString ToName = QStringLiteral("To Name");
inline const QString ToAddress = QStringLiteral("To Address");
inline const QString ToCompany = QStringLiteral("To Company");
inline const QString FromName = QStringLiteral("From Name");
inline const QString FromAddress = QStringLiteral("From Address");
inline const QString Subject = QStringLiteral("Subject");
inline const QString TestFromName = QStringLiteral("TestFromName");
inline const QString TestFromAddress = QStringLiteral("TestFromAddress");
inline const QString TestToName = QStringLiteral("TestToName");
inline const QString TestToAddress = QStringLiteral("TestToAddress");

// The server settings of a send. key(name) gives the stored value of a key
// of section "Email", e.g. [&](const QString& k) { return GetLocal(s, email::Section, k); }.
// The password is stored enciphered and comes back in clear.
SmtpSettings ServerSettings(const std::function<QString(const QString& key)>& key);

}  // namespace tarlox::email
