#include "data/Dialect.h"
#include "data/ContactData.h"

#include "data/DataOp.h"
#include "data/Session.h"
#include "base/TextTools.h"

#include <QSqlRecord>

namespace tarlox {

namespace {

QString byName()
{
    return QStringLiteral("%1 = ? AND %2 = ? AND %3 = ?").arg(q("Last Name"), q("First Name"), q("Company Name"));
}
}  // namespace

bool LoadContacts(Session& session, QStringList& lines, bool companyFirst)
{
    DataOp op(session, QStringLiteral("LoadContacts"));
    lines.clear();
    const QString order = (companyFirst ? q("Company Name") + QStringLiteral(", ") : QString()) + q("Last Name") + QStringLiteral(", ") + q("First Name");
    auto query = op.exec(QStringLiteral("SELECT %1, %2, %3 FROM %4 ORDER BY ").arg(q("First Name"), q("Last Name"), q("Company Name"), q("Contacts")) + order);
    if (!query)
        return false;
    while (query->next())
        lines << query->value(0).toString() + QLatin1Char('\t') + query->value(1).toString() + QLatin1Char('\t') + query->value(2).toString();
    return true;
}

bool AddContact(Session& session, bool retry)
{
    ContactRecord& c = session.contact;
    DataOp op(session, QStringLiteral("AddContact"));
    QString company = c.companyName, email = SpaceIfEmpty(c.email), fax = SpaceIfEmpty(c.faxNumber), first = c.firstName, last = c.lastName;
    const bool ok = op.exec(QStringLiteral("INSERT INTO %1 (%2, %3, %4, %5, %6) VALUES (?, ?, ?, ?, ?)")
                                .arg(q("Contacts"), q("Company Name"), q("Email"), q("Fax #"), q("First Name"), q("Last Name")),
                            {CutToLimit(company, 40), CutToLimit(email, 64), CutToLimit(fax, 20), CutToLimit(first, 20), CutToLimit(last, 30)},
                            retry ? DataOp::OnError::Quiet : DataOp::OnError::Report)
                        .has_value();
    ok ? DataOp::clearStatus(c) : op.storeStatus(c);
    return ok;
}

bool ReadContact(Session& session)
{
    ContactRecord& c = session.contact;
    DataOp op(session, QStringLiteral("ReadContact"));
    auto query = op.exec(QStringLiteral("SELECT * FROM %1 WHERE ").arg(q("Contacts")) + byName(), {c.lastName, c.firstName, c.companyName});
    if (!query || !query->next())
        return false;
    const QSqlRecord row = query->record();
    c.companyName = row.value(QStringLiteral("Company Name")).toString();
    c.email = NullToEmpty(row.value(QStringLiteral("Email")));
    c.faxNumber = NullToEmpty(row.value(QStringLiteral("Fax #")));
    c.firstName = row.value(QStringLiteral("First Name")).toString();
    c.lastName = row.value(QStringLiteral("Last Name")).toString();
    DataOp::clearStatus(c);
    return true;
}

bool DeleteContact(Session& session)
{
    ContactRecord& c = session.contact;
    DataOp op(session, QStringLiteral("DeleteContact"));
    return op.exec(QStringLiteral("DELETE FROM %1 WHERE ").arg(q("Contacts")) + byName(), {c.lastName, c.firstName, c.companyName}).has_value();
}

}  // namespace tarlox
