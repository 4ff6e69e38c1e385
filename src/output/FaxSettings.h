#pragma once

// The keys of section "Fax" of the local settings file, named once, and the
// values a fax job and the fax server connection are made from.

#include "base/IoResult.h"
#include "output/HylafaxClient.h"

#include <QString>

#include <functional>

namespace tarlox::fax {

inline const QString Section = QStringLiteral("Fax");
inline const QString ToName = QStringLiteral("To Name");
inline const QString ToNumber = QStringLiteral("To #");
inline const QString ToCompany = QStringLiteral("To Company");
inline const QString FromName = QStringLiteral("From Name");
inline const QString CompanyName = QStringLiteral("CompanyName");
inline const QString VoiceNum = QStringLiteral("VoiceNum");
inline const QString FaxNum = QStringLiteral("FaxNum");
inline const QString ID = QStringLiteral("ID");
inline const QString Retries = QStringLiteral("Retries");
inline const QString Interval = QStringLiteral("Interval");
inline const QString FaxInitString = QStringLiteral("FaxInitString");
inline const QString CoverPage = QStringLiteral("CoverPage");
inline const QString ControlColumns = QStringLiteral("ControlColumns");
inline const QString FaxServer = QStringLiteral("FaxServer");
inline const QString FaxUser = QStringLiteral("FaxUser");
// The queue, in section "Info".
inline const QString FaxFiles = QStringLiteral("FaxFiles");
inline const QString FaxMessages = QStringLiteral("FaxMessages");

// key(name) gives the stored value of a key of section "Fax".
using KeyReader = std::function<QString(const QString& key)>;

// The sender's values that every job of this workstation carries.
struct Sender {
    QString company;
    QString voice;
    QString fax;
    QString stationId;
    int retries = 3;        // blank or 0: the engine's 3
    int intervalMinutes = 0;
    QString initString;
    QString coverPage;      // the template file, never blank
};

// The cover page template: the key's file, or the program directory's "tarlox.cpe".
QString CoverPagePath(const QString& value, const QString& programDir);
Sender SenderSettings(const KeyReader& key, const QString& programDir);

// The server from FaxServer ("host[:port]", blank: localhost:4559) and
// FaxUser (blank: the login name). A port that is no port is refused.
IoResult<HylafaxServer> ServerSettings(const KeyReader& key);

// The login name of the person running the program.
QString LoginName();

}  // namespace tarlox::fax
