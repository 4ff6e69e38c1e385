#include "data/Connection.h"

#include "data/DataOp.h"
#include "data/Session.h"
#include "data/Settings.h"
#include "base/TextTools.h"
#include "base/VolumeName.h"

namespace tarlox {

namespace {

// A libpq value: quoted when it holds blanks, quotes or backslashes.
QString conninfoValue(const QString& value)
{
    if (!value.isEmpty() && !value.contains(QLatin1Char(' ')) && !value.contains(QLatin1Char('\''))
        && !value.contains(QLatin1Char('\\')) && !value.contains(QLatin1Char(';')))
        return value;
    QString escaped = value;
    escaped.replace(QLatin1Char('\\'), QStringLiteral("\\\\")).replace(QLatin1Char('\''), QStringLiteral("\\'"));
    return QLatin1Char('\'') + escaped + QLatin1Char('\'');
}

}  // namespace

bool SetConnection(Session& s)
{
    s.traceCall(QStringLiteral("SetConnection"));
    if (s.databaseType == QLatin1String("Access")) {
        s.connectionString = QStringLiteral("Driver=SQLite;Data Source=") + s.dataBase;
        s.connectionDisplay = s.connectionString;
        if (!s.databasePassword.isEmpty()) {
            s.connectionString += QStringLiteral("; Database Password=") + s.databasePassword;
            s.connectionDisplay += QStringLiteral("; Database Password=******");
        }
        s.db().configure(DatabaseKind::Access, s.connectionString, s.connectionDisplay, s.connectionTimeout);
        return true;
    }
    if (s.databaseType == QLatin1String("SQL")) {
        if (!s.overrideConnection.isEmpty()) {
            s.connectionString = s.connectionDisplay = s.overrideConnection;
        } else {
            QString host = s.server;
            QString port;
            if (const qsizetype colon = host.lastIndexOf(QLatin1Char(':')); colon > 0 && !host.contains(QLatin1Char(']'))) {
                port = host.mid(colon + 1);
                host = host.left(colon);
            }
            QString common = QStringLiteral("host=") + conninfoValue(host);
            if (!port.isEmpty())
                common += QStringLiteral(" port=") + conninfoValue(port);
            common += QStringLiteral(" dbname=tarlox user=") + conninfoValue(s.userId);
            s.connectionString = common + QStringLiteral(" password=") + conninfoValue(s.password);
            s.connectionDisplay = common + QStringLiteral(" password=******");
        }
        s.db().configure(DatabaseKind::Sql, s.connectionString, s.connectionDisplay, s.connectionTimeout);
        return true;
    }
    return false;
}

void GetServerInfo(Session& s)
{
    s.traceCall(QStringLiteral("GetServerInfo"));
    const QString data = QStringLiteral("Data");
    const QString type = GetIni(s, s.serverIni, data, QStringLiteral("DatabaseType"));
    s.databaseType = type == QLatin1String("SQL") ? type : QStringLiteral("Access");
    s.dataBase = GetIni(s, s.serverIni, data, QStringLiteral("DataBase"));
    s.databasePassword = GetIni(s, s.serverIni, data, QStringLiteral("DatabasePassword"));
    s.server = GetIni(s, s.serverIni, data, QStringLiteral("Server"));
    s.userId = GetIni(s, s.serverIni, data, QStringLiteral("UserID"));
    s.password = GetIni(s, s.serverIni, data, QStringLiteral("Password"));
    s.overrideConnection = GetIni(s, s.serverIni, data, QStringLiteral("OverrideConnection"));
    const QString timeout = GetIni(s, s.serverIni, data, QStringLiteral("ConnectionTimeout"));
    s.connectionTimeout = timeout.isEmpty() ? 0 : IntVal(timeout);
    SetConnection(s);
}

QString GetHostName(Session& s)
{
    if (s.db().kind() == DatabaseKind::Sql) {
        DataOp op(s, QStringLiteral("GetHostName"));
        const auto value = op.scalar(QStringLiteral("SELECT coalesce(host(inet_server_addr()), current_setting('listen_addresses'))"));
        QString host = s.db().connection().hostName();
        if (host.isEmpty() && value)
            host = value->toString();
        return host.isEmpty() ? QStringLiteral("LOCALHOST") : host.toUpper();
    }
    return NetworkHostOf(s.dataBase).toUpper();
}

}  // namespace tarlox
