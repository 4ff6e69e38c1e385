#include "data/Schema.h"

#include "data/DataOp.h"
#include "data/SchemaInspector.h"
#include "startup/Prompter.h"
#include "startup/Session.h"

namespace tarlox {

namespace {

QString q(const QString& identifier) { return Dialect::quote(identifier); }

class Ladder {
public:
    explicit Ladder(Session& session)
        : session_(session)
        , op_(session, QStringLiteral("RevUp"), true)
        , schema_(op_)
        , d_(session.db().dialect())
    {
    }

    bool run()
    {
        session_.prompter().setBusy(true);
        const bool ok = step(QStringLiteral("Preparing the database"), QStringLiteral("Can't prepare the database:"), [&] { return prepare(); })
            && step(QStringLiteral("Adding 'Info' and 'Images' tables"), QStringLiteral("Can't add 'Info' or 'Images' table to database:"), [&] { return addCoreTables(); })
            && step(QStringLiteral("Adding 'Options' and 'Users' table"), QStringLiteral("Can't add 'Options' table to database:"), [&] { return addOptionsAndUsers(); })
            && step(QStringLiteral("Add 'ClientOptions' field to 'Options'"), QStringLiteral("Can't add ClientOptions field to Options:"), [&] { return addClientOptions(); })
            && step(QStringLiteral("Rename 'Faxnames' to 'Contacts'"), QStringLiteral("Can't change 'Faxnames' to 'Contacts':"), [&] { return renameFaxnames(); })
            && step(QStringLiteral("Change Volumn to Volume"), QStringLiteral("Can't change 'Volumn ID' to 'Volume ID':"), [&] { return renameVolumn(); })
            && step(QStringLiteral("Add 'Email' field to 'Contacts'"), QStringLiteral("Can't add Email field to Contacts:"), [&] { return addEmail(); })
            && step(QStringLiteral("Change 'Part #/Heat #' index to include P/O and Mfg"), QStringLiteral("Can't add/modify Part #/Heat # Index:"), [&] { return widenKey(); });
        session_.prompter().setBusy(false);
        return ok;
    }

private:
    // Each step runs in its own transaction: a failed step leaves the schema
    // as the previous step left it, and the next run continues from there.
    template <class Body> bool step(const QString& title, const QString& errorText, Body body)
    {
        op_.step(title);
        errorText_ = errorText;
        if (op_.transaction(body))
            return true;
        session_.prompter().ask(QStringLiteral("Error"), errorText_ + QStringLiteral("\r\n\r\n") + op_.failure().text,
                                Buttons::Ok, Icon::Critical);
        return false;
    }

    bool run(const QString& sql) { return op_.exec(sql, {}, DataOp::OnError::Quiet).has_value(); }

    bool prepare()
    {
        if (d_.isSqlite())
            return true;
        if (!run(QStringLiteral("CREATE EXTENSION IF NOT EXISTS citext")))
            return false;
        for (int limit : {1, 10, 20, 24, 30, 32, 40, 64, 255}) {
            const QString domain = QStringLiteral("tlx_text_%1").arg(limit);
            auto exists = op_.scalar(QStringLiteral("SELECT count(*) FROM pg_type WHERE typname = ? AND typnamespace = current_schema()::regnamespace"),
                                     {domain}, DataOp::OnError::Quiet);
            if (!exists)
                return false;
            if (exists->toInt() == 0
                && !run(QStringLiteral("CREATE DOMAIN %1 AS citext CHECK (char_length(VALUE) <= %2)").arg(domain).arg(limit)))
                return false;
        }
        return true;
    }

    QString text(int limit) const { return d_.textType(limit); }

    bool createIndex(const QString& name, const QString& table, const QStringList& columns, bool unique)
    {
        QStringList quoted;
        for (const QString& c : columns)
            quoted << q(c);
        return run(QStringLiteral("CREATE %1INDEX %2 ON %3 (%4)")
                       .arg(unique ? QStringLiteral("UNIQUE ") : QString(), q(name), q(table), quoted.join(QStringLiteral(", "))));
    }

    bool addCoreTables()
    {
        if (!schema_.hasTable(QStringLiteral("Info"))) {
            if (!run(QStringLiteral("CREATE TABLE %1 (%2 %3, %4 %5, %6 %7, %8 %9, %10 %11, %12 %13 NOT NULL, %14 INTEGER NOT NULL)")
                         .arg(q(QStringLiteral("Info")), q(QStringLiteral("Heat #")), text(24), q(QStringLiteral("Part #")), text(24),
                              q(QStringLiteral("P/O #")), text(24), q(QStringLiteral("Vend Name")), text(32))
                         .arg(q(QStringLiteral("Mfg Name")), text(32), q(QStringLiteral("Entry Date")), d_.dateType(),
                              q(QStringLiteral("Image #"))))
                || !createIndex(IndexName::InfoKey, QStringLiteral("Info"),
                                {QStringLiteral("Part #"), QStringLiteral("Heat #"), QStringLiteral("P/O #"), QStringLiteral("Mfg Name"), QStringLiteral("Image #")}, true)
                || !createIndex(IndexName::InfoDatePo, QStringLiteral("Info"),
                                {QStringLiteral("Entry Date"), QStringLiteral("P/O #"), QStringLiteral("Heat #"), QStringLiteral("Part #")}, false)
                || !createIndex(IndexName::InfoHeat, QStringLiteral("Info"), {QStringLiteral("Heat #")}, false)
                || !createIndex(IndexName::InfoImage, QStringLiteral("Info"), {QStringLiteral("Image #")}, false))
                return false;
        }
        if (!schema_.hasTable(QStringLiteral("Images"))) {
            if (!run(QStringLiteral("CREATE TABLE %1 (%2 INTEGER NOT NULL, %3 %4, %5 %6, %7 %8 NOT NULL, %9 %10, %11 %12)")
                         .arg(q(QStringLiteral("Images")), q(QStringLiteral("Image #")), q(QStringLiteral("Path")), text(255),
                              q(QStringLiteral("Volume ID")), text(32), q(QStringLiteral("Entry Date")), d_.dateType())
                         .arg(q(QStringLiteral("Size")), text(1), q(QStringLiteral("Type")), text(1)))
                || !createIndex(IndexName::ImagesImage, QStringLiteral("Images"), {QStringLiteral("Image #")}, true))
                return false;
        }
        if (!schema_.hasTable(QStringLiteral("Contacts")) && !schema_.hasTable(QStringLiteral("Faxnames"))) {
            if (!run(QStringLiteral("CREATE TABLE %1 (%2 %3, %4 %5, %6 %7, %8 %9)")
                         .arg(q(QStringLiteral("Contacts")), q(QStringLiteral("Last Name")), text(30), q(QStringLiteral("First Name")), text(20),
                              q(QStringLiteral("Company Name")), text(40), q(QStringLiteral("Fax #")), text(20)))
                || !createIndex(IndexName::ContactsName, QStringLiteral("Contacts"),
                                {QStringLiteral("Last Name"), QStringLiteral("First Name"), QStringLiteral("Company Name")}, true)
                || !createIndex(IndexName::ContactsCompany, QStringLiteral("Contacts"),
                                {QStringLiteral("Company Name"), QStringLiteral("Last Name"), QStringLiteral("First Name")}, false))
                return false;
        }
        return true;
    }

    bool addOptionsAndUsers()
    {
        if (schema_.hasTable(QStringLiteral("Options")))
            return true;
        if (!run(QStringLiteral("CREATE TABLE %1 (%2 INTEGER, %3 %4, %5 INTEGER, %6 %7, %8 INTEGER)")
                     .arg(q(QStringLiteral("Options")), q(QStringLiteral("OptionsID")), q(QStringLiteral("CompanyName")), text(64),
                          q(QStringLiteral("NextName")), q(QStringLiteral("Version")), text(10), q(QStringLiteral("ClientOptions")))))
            return false;
        errorText_ = QStringLiteral("Can't add/modify Options Index:");
        if (!createIndex(IndexName::OptionsId, QStringLiteral("Options"), {QStringLiteral("OptionsID")}, true))
            return false;
        if (schema_.hasTable(QStringLiteral("TarloxUsers")))
            return true;
        errorText_ = QStringLiteral("Can't add 'Users' table to database:");
        if (!run(QStringLiteral("CREATE TABLE %1 (%2 %3, %4 %5, %6 %7, %8 %9, %10 %9, %11 %9)")
                     .arg(q(QStringLiteral("TarloxUsers")), q(QStringLiteral("MachineName")), text(64), q(QStringLiteral("UserName")), text(64),
                          q(QStringLiteral("Scanner")), d_.boolType(), q(QStringLiteral("CreateDate")), d_.dateType())
                     .arg(q(QStringLiteral("LastLogin")), q(QStringLiteral("LastInterface")))))
            return false;
        errorText_ = QStringLiteral("Can't add/modify User Index:");
        return createIndex(IndexName::UsersMachine, QStringLiteral("TarloxUsers"), {QStringLiteral("MachineName")}, true);
    }

    bool addClientOptions()
    {
        if (schema_.hasColumn(QStringLiteral("Options"), QStringLiteral("ClientOptions")))
            return true;
        return run(QStringLiteral("ALTER TABLE %1 ADD %2 INTEGER NULL").arg(q(QStringLiteral("Options")), q(QStringLiteral("ClientOptions"))));
    }

    bool renameFaxnames()
    {
        const auto name = schema_.tableName(QStringLiteral("Faxnames"));
        if (!name)
            return false;
        if (name->isEmpty())
            return true;
        return run(QStringLiteral("ALTER TABLE %1 RENAME TO %2").arg(q(*name), q(QStringLiteral("Contacts"))));
    }

    bool renameVolumn()
    {
        if (!schema_.hasColumn(QStringLiteral("Images"), QStringLiteral("Volumn ID")))
            return true;
        return run(QStringLiteral("ALTER TABLE %1 RENAME COLUMN %2 TO %3")
                       .arg(q(QStringLiteral("Images")), q(QStringLiteral("Volumn ID")), q(QStringLiteral("Volume ID"))));
    }

    bool addEmail()
    {
        if (schema_.hasColumn(QStringLiteral("Contacts"), QStringLiteral("Email")))
            return true;
        return run(QStringLiteral("ALTER TABLE %1 ADD %2 %3").arg(q(QStringLiteral("Contacts")), q(QStringLiteral("Email")), text(64)));
    }

    bool widenKey()
    {
        const auto count = schema_.indexColumnCount(IndexName::InfoKey);
        if (!count)
            return false;
        if (*count >= 5)
            return true;
        if (!FixInfo(session_, true))
            return false;
        // The trial index fails on data that would break the wider key,
        // before the old key is touched.
        const QStringList key{QStringLiteral("Part #"), QStringLiteral("Heat #"), QStringLiteral("P/O #"), QStringLiteral("Mfg Name"), QStringLiteral("Image #")};
        if (!createIndex(IndexName::InfoTest, QStringLiteral("Info"), key, true))
            return false;
        if (!run(QStringLiteral("DROP INDEX %1").arg(q(IndexName::InfoTest))))
            return false;
        if (*count > 0 && !run(QStringLiteral("DROP INDEX %1").arg(q(IndexName::InfoKey))))
            return false;
        return createIndex(IndexName::InfoKey, QStringLiteral("Info"), key, true);
    }

    Session& session_;
    DataOp op_;
    SchemaInspector schema_;
    const Dialect& d_;
    QString errorText_;
};

}  // namespace

bool RevUp(Session& session)
{
    session.traceCall(QStringLiteral("RevUp"));
    return Ladder(session).run();
}

bool FixInfo(Session& session, bool keepOpen)
{
    DataOp op(session, QStringLiteral("FixInfo"), keepOpen);
    for (const QString& column : {QStringLiteral("P/O #"), QStringLiteral("Mfg Name")}) {
        if (!op.exec(QStringLiteral("UPDATE %1 SET %2 = ' ' WHERE %2 IS NULL").arg(q(QStringLiteral("Info")), q(column))))
            return false;
    }
    return true;
}

}  // namespace tarlox
