#pragma once

#include <QString>

namespace tarlox {

class Session;

// The sections of the settings files, named once.
namespace section {
inline const QString Info = QStringLiteral("Info");
inline const QString Data = QStringLiteral("Data");
inline const QString Draw = QStringLiteral("Draw");
inline const QString Custom = QStringLiteral("Custom");
inline const QString Interface = QStringLiteral("Interface");
inline const QString Fax = QStringLiteral("Fax");
inline const QString Email = QStringLiteral("Email");
inline const QString Form = QStringLiteral("Form");
}  // namespace section

// Settings access for the whole program. A file that can't be read or
// written goes through the shared error report; reading then gives "".
QString GetIni(Session& session, const QString& file, const QString& section, const QString& key);
bool PutIni(Session& session, const QString& file, const QString& section, const QString& key, const QString& value);

// Shorthands for the local settings file.
QString GetLocal(Session& session, const QString& section, const QString& key);
bool PutLocal(Session& session, const QString& section, const QString& key, const QString& value);
bool GetLocalBool(Session& session, const QString& section, const QString& key);

}  // namespace tarlox
