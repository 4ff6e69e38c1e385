#include "data/Dialect.h"
#include "data/UserData.h"

#include "data/DataOp.h"
#include "base/FileTools.h"
#include "data/Session.h"
#include "base/TextTools.h"

#include <QSqlRecord>

namespace tarlox {

namespace {
const QDateTime NeverInterfaced(QDate(1900, 1, 1), QTime(0, 0));
}  // namespace

bool ReadUser(Session& session, const QString& where)
{
    MachineRecord& m = session.machine;
    m.machineName = RetrieveComputerName();
    m.errorNumber = 1;
    DataOp op(session, QStringLiteral("ReadUser"));
    const Dialect& d = op.dialect();
    // `where` is the program's own condition text, never user input.
    auto query = where.isEmpty()
        ? op.exec(QStringLiteral("SELECT * FROM %1 WHERE %2 = ?").arg(q("TarloxUsers"), q("MachineName")), {m.machineName})
        : op.exec(QStringLiteral("SELECT * FROM %1 ").arg(q("TarloxUsers")) + where);
    if (!query || !query->next())
        return false;
    const QSqlRecord row = query->record();
    m.machineName = row.value(QStringLiteral("MachineName")).toString();
    m.userName = row.value(QStringLiteral("UserName")).toString().trimmed();
    m.createDate = d.readDate(row.value(QStringLiteral("CreateDate")));
    m.lastLogin = d.readDate(row.value(QStringLiteral("LastLogin")));
    m.lastInterface = d.readDate(row.value(QStringLiteral("LastInterface")));
    DataOp::clearStatus(m);
    return true;
}

bool AddUser(Session& session, bool retry)
{
    MachineRecord& m = session.machine;
    DataOp op(session, QStringLiteral("AddUser"));
    const Dialect& d = op.dialect();
    const QDateTime now = session.now();
    QString machine = m.machineName;
    QString user = SpaceIfEmpty(m.userName);
    const bool ok = op.exec(QStringLiteral("INSERT INTO %1 (%2, %3, %4, %5, %6, %7) VALUES (?, ?, ?, ?, ?, ?)")
                                .arg(q("TarloxUsers"), q("MachineName"), q("UserName"), q("Scanner"), q("CreateDate"), q("LastLogin"), q("LastInterface")),
                            {CutToLimit(machine, 64), CutToLimit(user, 64), d.boolValue(m.scanner), d.dateValue(now), d.dateValue(now),
                             d.dateValue(NeverInterfaced)},
                            retry ? DataOp::OnError::Quiet : DataOp::OnError::Report)
                        .has_value();
    if (ok) {
        m.createDate = m.lastLogin = now;
        m.lastInterface = NeverInterfaced;
        DataOp::clearStatus(m);
    } else {
        op.storeStatus(m);
    }
    return ok;
}

bool UpdateUser(Session& session)
{
    MachineRecord& m = session.machine;
    DataOp op(session, QStringLiteral("UpdateUser"));
    const Dialect& d = op.dialect();
    QString user = SpaceIfEmpty(m.userName);
    const QDateTime login = m.lastLogin.isValid() ? m.lastLogin : session.now();
    const bool ok = op.exec(QStringLiteral("UPDATE %1 SET %2 = ?, %3 = ?, %4 = ?, %5 = ? WHERE %6 = ?")
                                .arg(q("TarloxUsers"), q("UserName"), q("Scanner"), q("LastLogin"), q("LastInterface"), q("MachineName")),
                            {CutToLimit(user, 64), d.boolValue(m.scanner), d.dateValue(login), d.dateValue(login), m.machineName})
                        .has_value();
    if (!ok)
        op.storeStatus(m);
    return ok;
}

bool DeleteUser(Session& session, const QString& name)
{
    DataOp op(session, QStringLiteral("DeleteUser"));
    const QString machine = name.isEmpty() ? session.machine.machineName : name;
    return op.exec(QStringLiteral("DELETE FROM %1 WHERE %2 = ?").arg(q("TarloxUsers"), q("MachineName")), {machine}).has_value();
}

bool LoadUsers(Session& session, GridData& grid)
{
    DataOp op(session, QStringLiteral("LoadUsers"));
    const Dialect& d = op.dialect();
    grid.headers = {QStringLiteral("Machine"), QStringLiteral("Name"), QStringLiteral("Scanner"), QStringLiteral("Create"),
                    QStringLiteral("Login"), QStringLiteral("Interface")};
    grid.rows.clear();
    auto query = op.exec(QStringLiteral("SELECT %1, %2, %3, %4, %5, %6 FROM %7 ORDER BY %1")
                             .arg(q("MachineName"), q("UserName"), q("Scanner"), q("CreateDate"), q("LastLogin"), q("LastInterface"), q("TarloxUsers")));
    if (!query)
        return false;
    auto date = [&](int column) {
        const QDateTime value = d.readDate(query->value(column));
        return value.isValid() ? value.toString(QStringLiteral("M/d/yyyy h:mm:ss AP")) : QString();
    };
    while (query->next())
        grid.rows.append({query->value(0).toString(), query->value(1).toString().trimmed(),
                          Dialect::readBool(query->value(2)) ? QStringLiteral("True") : QStringLiteral("False"), date(3), date(4), date(5)});
    return true;
}

}  // namespace tarlox
