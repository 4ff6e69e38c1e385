#include "shell/ServerSetup.h"

#include "data/OptionsData.h"
#include "data/Schema.h"
#include "data/UserData.h"
#include "shell/SettingsRules.h"
#include "data/Connection.h"
#include "base/FileTools.h"
#include "base/Prompter.h"
#include "data/Session.h"
#include "data/Settings.h"
#include "startup/Startup.h"
#include "base/TextTools.h"

#include <QDir>
#include <QFileInfo>
#include <QSqlDatabase>

#include <algorithm>

namespace tarlox {

namespace {


QString notRespondingText(const Session& s)
{
    return QStringLiteral("The assigned database - Connection String = '") + s.connectionDisplay
        + QStringLiteral(" - is not responding!\rThis may be the result of the Tarlox server machine being offline.\r\r"
                         "  To end Tarlox, hit 'Cancel'.\r\r  To retry, make sure the server is running  then hit 'Retry'.");
}

enum class DatabaseState { Ready, Empty, Unreachable };

// Whether the database the session points at holds the tables yet.
DatabaseState ProbeDatabase(Session& s)
{
    if (s.db().kind() == DatabaseKind::Access && !s.dataBase.isEmpty() && !QFileInfo::exists(s.dataBase))
        return DatabaseState::Empty;
    if (!s.db().open())
        return DatabaseState::Unreachable;
    const QStringList tables = s.db().connection().tables();
    s.db().close();
    const bool hasOptions = std::any_of(tables.begin(), tables.end(),
                                        [](const QString& t) { return t.compare(QLatin1String("Options"), Qt::CaseInsensitive) == 0; });
    return hasOptions ? DatabaseState::Ready : DatabaseState::Empty;
}

// A database without the tables is built on request, with its Options row.
bool OfferToCreateDatabase(Session& s)
{
    if (ProbeDatabase(s) != DatabaseState::Empty)
        return true;
    const QString name = s.db().kind() == DatabaseKind::Access ? s.dataBase : s.connectionDisplay;
    const Answer answer = s.prompter().ask(QStringLiteral("Create Database"),
                                           QStringLiteral("The database - ") + name
                                               + QStringLiteral(" - holds no Tarlox data yet.\r\rDo you want to create the Tarlox tables in it?"),
                                           Buttons::YesNo, Icon::Question, Answer::No);
    if (answer != Answer::Yes)
        return false;
    if (s.db().kind() == DatabaseKind::Access && !s.dataBase.isEmpty())
        QDir().mkpath(QFileInfo(s.dataBase).absolutePath());
    s.db().allowCreate(true);
    const bool built = RevUp(s);
    s.db().allowCreate(false);
    if (!built) {
        s.db().close();
        return false;
    }
    s.options.version = s.programVersion.isEmpty() ? ProgramVersion() : s.programVersion;
    const int next = IntVal(GetIni(s, s.serverIni, QStringLiteral("Info"), QStringLiteral("NextName")));
    s.options.nextName = next > 0 ? next : 1;
    const bool added = AddOptions(s, false);
    s.db().close();
    return added;
}

}  // namespace

ServerEntries StoredServerEntries(const Session& s)
{
    ServerEntries e;
    e.serverIni = s.serverIni;
    e.sql = s.databaseType == QLatin1String("SQL");
    e.timeout = QString::number(s.connectionTimeout);
    e.database = s.dataBase;
    e.databasePassword = s.databasePassword;
    e.server = s.server;
    e.userId = s.userId;
    e.password = s.password;
    return e;
}

bool ServerEntriesDiffer(const ServerEntries& a, const ServerEntries& b)
{
    return a.serverIni != b.serverIni || a.sql != b.sql || Val(a.timeout) != Val(b.timeout) || a.database != b.database
        || a.databasePassword != b.databasePassword || a.server != b.server || a.userId != b.userId || a.password != b.password;
}

bool LoadServerSetup(Session& s, ServerSetupState& state)
{
    s.traceCall(QStringLiteral("LoadValues"));
    if (!ReadOptions(s) && !AddOptions(s, false)) {
        s.db().close();
        return false;
    }
    state.newMachine = !ReadUser(s, QString()) && s.machine.errorNumber == 1;
    state.userName = state.newMachine ? QString() : s.machine.userName;
    LoadUsers(s, state.machines);
    s.db().close();
    return true;
}

bool TestConnection(Session& s, const QString& title, bool anyFailure)
{
    while (true) {
        const bool read = ReadOptions(s);
        const bool unreachable = s.options.status == 999 || !s.db().isOpen();
        if (read || (!anyFailure && !unreachable))
            return true;
        s.db().close();
        if (!s.retry(Status{FailureKind::DatabaseUnreachable, title, notRespondingText(s)}))
            return false;
    }
}

bool CheckServerIni(Session& s, const QString& path)
{
    s.traceCall(QStringLiteral("CheckServerIni"), {path});
    auto key = [&](const char* name) { return GetIni(s, path, section::Data, QLatin1String(name)); };
    const QString type = key("DatabaseType");
    if (type.isEmpty())
        return false;
    if (type != QLatin1String("Access")) {
        if (key("Server").isEmpty() || key("UserID").isEmpty() || key("Password").isEmpty())
            return false;
    } else if (key("DataBase").isEmpty()) {
        return false;
    }
    s.databaseType = type == QLatin1String("SQL") ? type : QStringLiteral("Access");
    s.dataBase = key("DataBase");
    s.databasePassword = key("DatabasePassword");
    s.server = key("Server");
    s.userId = key("UserID");
    s.password = key("Password");
    s.overrideConnection = key("OverrideConnection");
    if (const QString timeout = key("ConnectionTimeout"); !timeout.isEmpty())
        s.connectionTimeout = IntVal(timeout);
    s.db().close();
    SetConnection(s);
    const bool ok = TestConnection(s, QStringLiteral("Invalid Server Information File"), false);
    ReadUser(s, QString());
    return ok;
}

bool ReadServerIni(Session& s, const QString& path)
{
    const bool ok = CheckServerIni(s, path);
    if (!ok) {
        s.prompter().ask(QStringLiteral("Invalid File"), QStringLiteral("Invalid Server Configuration File!"), Buttons::Ok, Icon::Critical);
    } else {
        s.serverIni = path;
        PutLocal(s, QStringLiteral("Info"), QStringLiteral("ServerIni"), path);
    }
    GetServerInfo(s);
    return ok;
}

bool CheckServerEntries(Session& s, const ServerEntries& e)
{
    s.traceCall(QStringLiteral("CheckServerEntries"));
    const QString title = QStringLiteral("Invalid Server Information");
    if (!e.sql && e.database.trimmed().isEmpty()) {
        s.prompter().ask(title, QStringLiteral("Database Name must be filled in!"), Buttons::Ok, Icon::Critical);
        return false;
    }
    if (e.sql && (e.server.trimmed().isEmpty() || e.userId.trimmed().isEmpty() || e.password.isEmpty())) {
        s.prompter().ask(title, QStringLiteral("Server Name, User ID and Password must be filled in!"), Buttons::Ok, Icon::Critical);
        return false;
    }
    s.databaseType = e.sql ? QStringLiteral("SQL") : QStringLiteral("Access");
    s.dataBase = e.database;
    s.databasePassword = e.databasePassword;
    s.server = e.server;
    s.userId = e.userId;
    s.password = e.password;
    s.overrideConnection.clear();
    s.connectionTimeout = ClampTimeout(e.timeout);
    s.db().close();
    SetConnection(s);
    if (!OfferToCreateDatabase(s))
        return false;
    const bool ok = TestConnection(s, title, true);
    ReadUser(s, QString());
    return ok;
}

bool SaveServerInfo(Session& s, const ServerEntries& e)
{
    s.traceCall(QStringLiteral("SaveServerInfo"));
    s.serverIni = e.serverIni;
    if (!PutLocal(s, QStringLiteral("Info"), QStringLiteral("ServerIni"), e.serverIni))
        return false;
    QDir().mkpath(QFileInfo(e.serverIni).absolutePath());
    auto put = [&](const char* key, const QString& value) { return PutIni(s, e.serverIni, section::Data, QLatin1String(key), value); };
    const bool ok = put("DatabaseType", e.sql ? QStringLiteral("SQL") : QStringLiteral("Access"))
        && put("ConnectionTimeout", QString::number(ClampTimeout(e.timeout))) && put("Server", e.server) && put("UserID", e.userId)
        && put("Password", e.password) && put("DatabasePassword", e.databasePassword) && put("DataBase", e.database);
    GetServerInfo(s);
    return ok;
}

bool ValidateUserInfo(Session& s, const QString& userName)
{
    if (!userName.trimmed().isEmpty())
        return true;
    s.prompter().ask(QStringLiteral("No Name"), QStringLiteral("User Name must be filled in!"), Buttons::Ok, Icon::Critical);
    return false;
}

bool SaveUserInfo(Session& s, const QString& userName, bool newMachine)
{
    s.traceCall(QStringLiteral("SaveUserInfo"));
    if (s.machine.machineName.isEmpty())
        s.machine.machineName = RetrieveComputerName();
    s.machine.userName = userName.trimmed();
    if (newMachine) {
        s.machine.createDate = s.now();
        return AddUser(s, false);
    }
    return UpdateUser(s);
}

bool UpdateServerSetup(Session& s, const ServerEntries& e, const QString& userName, bool newMachine)
{
    s.traceCall(QStringLiteral("cmdUpdate_Click"));
    bool ok = ValidateUserInfo(s, userName) && CheckServerEntries(s, e);
    // The database tested may be another one than the screen loaded from:
    // a machine without a row there gets one.
    const bool addRow = newMachine || s.machine.errorNumber == 1;
    ok = ok && SaveServerInfo(s, e) && SaveUserInfo(s, userName, addRow);
    if (ok)
        ok = GetInfo(s).ok();
    s.db().close();
    return ok;
}

void CancelServerSetup(Session& s)
{
    s.traceCall(QStringLiteral("cmdCancel_Click"));
    GetServerInfo(s);
    ReadOptions(s);
}

RemoveOutcome RemoveMachine(Session& s, const QString& machineName)
{
    s.traceCall(QStringLiteral("grdUsers_DblClick"), {machineName});
    if (machineName.compare(RetrieveComputerName(), Qt::CaseInsensitive) == 0) {
        s.prompter().ask(QStringLiteral("Can't delete"), QStringLiteral("This machine can't be removed from the list!"), Buttons::Ok,
                         Icon::Exclamation);
        return RemoveOutcome::OwnMachine;
    }
    if (s.prompter().ask(QStringLiteral("Remove machine"), QStringLiteral("Are you sure you want to remove machine ") + machineName + QLatin1Char('?'),
                         Buttons::OkCancel, Icon::Critical)
        != Answer::Ok)
        return RemoveOutcome::Declined;
    return DeleteUser(s, machineName) ? RemoveOutcome::Removed : RemoveOutcome::Failed;
}

bool StartSessionWithSetup(Session& s, const std::function<void()>& serverSetup)
{
    if (!GetInfo(s).ok())
        return false;
    if (s.machine.errorNumber != 1)
        return true;
    if (serverSetup)
        serverSetup();
    ReadUser(s, QString());
    return s.machine.errorNumber == 0;
}

}  // namespace tarlox
