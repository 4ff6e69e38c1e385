#include "output/FaxSettings.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QStandardPaths>

namespace tarlox::fax {

QString CoverPagePath(const QString& value, const QString& programDir)
{
    if (!value.trimmed().isEmpty())
        return value.trimmed();
    // The program directory's own page first, then the one that ships with
    // the program: beside the executable in a build, in the data directory
    // once installed.
    const QString own = QDir(programDir).filePath(QStringLiteral("tarlox.cpe"));
    if (QFileInfo::exists(own))
        return own;
    const QString appDir = QCoreApplication::applicationDirPath();
    for (const QString& shipped : QStringList{appDir + QStringLiteral("/tarlox.cpe"), appDir + QStringLiteral("/../share/tarlox/tarlox.cpe"),
                                   QStandardPaths::locate(QStandardPaths::GenericDataLocation, QStringLiteral("tarlox/tarlox.cpe"))}) {
        if (!appDir.isEmpty() && !shipped.isEmpty() && QFileInfo::exists(shipped))
            return QFileInfo(shipped).canonicalFilePath();
    }
    return own;
}

Sender SenderSettings(const KeyReader& key, const QString& programDir)
{
    Sender sender;
    sender.company = key(CompanyName);
    sender.voice = key(VoiceNum);
    sender.fax = key(FaxNum);
    sender.stationId = key(ID);
    // Both keys hold 16-bit numbers; anything else leaves the default.
    const int retries = key(Retries).trimmed().toShort();
    if (retries > 0)
        sender.retries = retries;
    sender.intervalMinutes = std::max(0, int(key(Interval).trimmed().toShort()));
    sender.initString = key(FaxInitString).trimmed();
    sender.coverPage = CoverPagePath(key(CoverPage), programDir);
    return sender;
}

IoResult<HylafaxServer> ServerSettings(const KeyReader& key)
{
    HylafaxServer server;
    server.host = QStringLiteral("localhost");
    const QString where = key(FaxServer).trimmed();
    if (!where.isEmpty()) {
        // "host", "host:port", "[v6 address]:port".
        QString host = where;
        QString port;
        if (where.startsWith(QLatin1Char('['))) {
            const qsizetype close = where.indexOf(QLatin1Char(']'));
            host = where.mid(1, close - 1);
            port = where.mid(close + 1).section(QLatin1Char(':'), 1);
        } else if (where.count(QLatin1Char(':')) == 1) {
            host = where.section(QLatin1Char(':'), 0, 0);
            port = where.section(QLatin1Char(':'), 1);
        }
        if (!port.isEmpty()) {
            bool ok = false;
            const uint number = port.toUInt(&ok);
            if (!ok || number == 0 || number > 65535)
                return Failure(QStringLiteral("The fax server \"%1\" has no valid port: write host or host:port, as in localhost:4559.").arg(where));
            server.port = quint16(number);
        }
        if (!host.isEmpty())
            server.host = host;
    }
    const QString user = key(FaxUser).trimmed();
    server.user = user.isEmpty() ? LoginName() : user;
    return server;
}

QString LoginName()
{
    for (const char* name : {"USER", "LOGNAME", "USERNAME"}) {
        const QString value = qEnvironmentVariable(name).trimmed();
        if (!value.isEmpty())
            return value;
    }
    return QStringLiteral("tarlox");
}

}  // namespace tarlox::fax
