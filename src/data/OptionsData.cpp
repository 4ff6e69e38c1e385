#include "data/Dialect.h"
#include "data/OptionsData.h"

#include "data/DataOp.h"
#include "data/Session.h"
#include "data/Settings.h"
#include "base/TextTools.h"

#include <QSqlRecord>

namespace tarlox {

namespace {
}

bool ReadOptions(Session& session)
{
    OptionsRecord& o = session.options;
    o.version = QStringLiteral("1.00.0000");
    o.nextName = IntVal(GetIni(session, session.serverIni, QStringLiteral("Info"), QStringLiteral("NextName")));
    o.clientOptions = 0;
    o.status = 999;
    o.statusText.clear();
    DataOp op(session, QStringLiteral("ReadOptions"));
    op.connect();
    o.status = 1;
    auto query = op.exec(QStringLiteral("SELECT * FROM %1").arg(q("Options")), {}, DataOp::OnError::Quiet);
    if (!query) {
        o.status = op.failure().number == 0 || op.failure().number == 1 || op.failure().number == 999 ? -1 : op.failure().number;
        o.statusText = op.failure().text;
        return false;
    }
    if (!query->next())
        return false;
    const QSqlRecord row = query->record();
    op.step(QStringLiteral("Set dtvOptions.NextName"));
    o.companyName = row.value(QStringLiteral("CompanyName")).toString();
    op.step(QStringLiteral("Set dtvOptions.Version"));
    o.version = row.value(QStringLiteral("Version")).toString().trimmed();
    o.nextName = row.value(QStringLiteral("NextName")).toInt();
    op.step(QStringLiteral("Set dtvOptions.ClientOptions from Data"));
    if (row.indexOf(QStringLiteral("ClientOptions")) >= 0)
        o.clientOptions = row.value(QStringLiteral("ClientOptions")).toInt();
    o.status = 0;
    o.statusText.clear();
    return true;
}

bool UpdateOptions(Session& session)
{
    OptionsRecord& o = session.options;
    DataOp op(session, QStringLiteral("UpdateOptions"));
    QString company = SpaceIfEmpty(o.companyName);
    QString version = SpaceIfEmpty(o.version);
    const bool ok = op.exec(QStringLiteral("UPDATE %1 SET %2 = ?, %3 = ?, %4 = ?, %5 = ? WHERE %6 = 1")
                                .arg(q("Options"), q("CompanyName"), q("Version"), q("NextName"), q("ClientOptions"), q("OptionsID")),
                            {CutToLimit(company, 64), CutToLimit(version, 10), o.nextName, o.clientOptions})
                        .has_value();
    if (!ok) {
        o.status = op.failure().number;
        o.statusText = op.failure().text;
    }
    return ok;
}

bool AddOptions(Session& session, bool retry)
{
    OptionsRecord& o = session.options;
    DataOp op(session, QStringLiteral("AddOptions"));
    QString version = SpaceIfEmpty(o.version);
    const bool ok = op.exec(QStringLiteral("INSERT INTO %1 (%2, %3, %4, %5, %6) VALUES (1, ' ', ?, ?, 0)")
                                .arg(q("Options"), q("OptionsID"), q("CompanyName"), q("Version"), q("NextName"), q("ClientOptions")),
                            {CutToLimit(version, 10), o.nextName}, retry ? DataOp::OnError::Quiet : DataOp::OnError::Report)
                        .has_value();
    if (!ok) {
        o.status = op.failure().number;
        o.statusText = op.failure().text;
    }
    return ok;
}

}  // namespace tarlox
