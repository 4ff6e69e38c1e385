#include "data/Dialect.h"
#include "data/Schema.h"

#include "data/DataOp.h"
#include "data/SchemaInspector.h"
#include "base/Prompter.h"
#include "data/Session.h"

namespace tarlox {

namespace {


class Ladder {
public:
    explicit Ladder(Session& session)
        : session_(session)
        , op_(session, QStringLiteral("RevUp"))
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
            && step(QStringLiteral("Change 'Part #/Heat #' index to include P/O and Mfg"), QStringLiteral("Can't add/modify Part #/Heat # Index:"), [&] { return widenKey(); })
            && step(QStringLiteral("Adding the search indexes"), QStringLiteral("Can't add the search indexes:"), [&] { return addSearchIndexes(); });
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
        if (!FixInfo(session_))
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

    // --- the search indexes

    bool hasIndex(const QString& name)
    {
        const auto count = schema_.indexColumnCount(name);
        return count && *count > 0;
    }

    bool ensureIndex(const QString& name, const QString& table, const QStringList& columns)
    {
        return hasIndex(name) || createIndex(name, table, columns, false);
    }

    bool addSearchIndexes()
    {
        // Newest first: the order of every list of references.
        if (!ensureIndex(IndexName::InfoDateImage, QStringLiteral("Info"), {QStringLiteral("Entry Date"), QStringLiteral("Image #")}))
            return false;
        // The image number by the beginning of its digits.
        if (!hasIndex(IndexName::InfoImageText)
            && !run(QStringLiteral("CREATE INDEX %1 ON %2 (%3)")
                        .arg(q(IndexName::InfoImageText), q(QStringLiteral("Info")),
                             d_.isSqlite() ? QStringLiteral("CAST(\"Image #\" AS TEXT)") : QStringLiteral("(\"Image #\"::text) text_pattern_ops"))))
            return false;
        if (!(d_.isSqlite() ? addSqliteSearch() : addPostgresSearch()))
            return false;
        return addMissingImages();
    }

    // The file database compares text without case through the columns'
    // NOCASE collation, so plain indexes serve a value and, through LIKE, its
    // beginning. Heat # and Part # have theirs already (Part # leads the key).
    bool addSqliteSearch()
    {
        const QString date = QStringLiteral("Entry Date");
        if (!ensureIndex(IndexName::InfoPo, QStringLiteral("Info"), {QStringLiteral("P/O #"), date})
            || !ensureIndex(IndexName::InfoVend, QStringLiteral("Info"), {QStringLiteral("Vend Name"), date})
            || !ensureIndex(IndexName::InfoMfg, QStringLiteral("Info"), {QStringLiteral("Mfg Name"), date})
            || !ensureIndex(IndexName::ImagesPath, QStringLiteral("Images"), {QStringLiteral("Path")}))
            return false;
        if (schema_.hasTable(SearchTable::Terms))
            return true;
        const QString terms = q(SearchTable::Terms);
        const QString trigrams = q(SearchTable::Trigrams);
        QStringList termColumns;
        for (const SearchColumn& c : SearchColumns)
            termColumns << q(QLatin1String(c.term));
        // A term row's values for the trigram columns: its term under its field's column.
        const auto valuesOf = [](const QString& row) {
            QStringList values;
            for (const SearchColumn& c : SearchColumns)
                values << QStringLiteral("CASE WHEN %1.\"Field\" = '%2' THEN %1.\"Term\" END").arg(row, QLatin1String(c.term));
            return values.join(QStringLiteral(", "));
        };
        // Terms shorter than a trigram can't be found through one: they stay out.
        if (!run(QStringLiteral("CREATE TABLE %1 (\"ID\" INTEGER PRIMARY KEY, \"Field\" VARCHAR(4) NOT NULL, \"Term\" %2 NOT NULL)")
                     .arg(terms, text(255)))
            || !run(QStringLiteral("CREATE UNIQUE INDEX %1 ON %2 (\"Field\", \"Term\")").arg(q(IndexName::SearchTermsKey), terms)))
            return false;
        for (const SearchColumn& c : SearchColumns) {
            if (!run(QStringLiteral("INSERT OR IGNORE INTO %1 (\"Field\", \"Term\") SELECT DISTINCT '%2', %3 FROM %4 WHERE length(%3) >= 3")
                         .arg(terms, QLatin1String(c.term), q(QLatin1String(c.column)), q(QLatin1String(c.table)))))
                return false;
        }
        if (!run(QStringLiteral("CREATE VIRTUAL TABLE %1 USING fts5(%2, content='', tokenize='trigram')").arg(trigrams, termColumns.join(QStringLiteral(", "))))
            || !run(QStringLiteral("INSERT INTO %1 (rowid, %2) SELECT t.\"ID\", %3 FROM %4 t")
                        .arg(trigrams, termColumns.join(QStringLiteral(", ")), valuesOf(QStringLiteral("t")), terms))
            || !run(QStringLiteral("CREATE TRIGGER %1 AFTER INSERT ON %2 BEGIN INSERT INTO %3 (rowid, %4) VALUES (new.\"ID\", %5); END")
                        .arg(q(QStringLiteral("Search Terms:add")), terms, trigrams, termColumns.join(QStringLiteral(", ")),
                             valuesOf(QStringLiteral("new"))))
            || !run(QStringLiteral("CREATE TRIGGER %1 AFTER DELETE ON %2 BEGIN INSERT INTO %3 (%3, rowid, %4) VALUES ('delete', old.\"ID\", %5); END")
                        .arg(q(QStringLiteral("Search Terms:remove")), terms, trigrams, termColumns.join(QStringLiteral(", ")),
                             valuesOf(QStringLiteral("old")))))
            return false;
        // Each table keeps the terms of its columns: a new value becomes a
        // term, a value no row holds any more stops being one.
        for (const QString& table : {QStringLiteral("Info"), QStringLiteral("Images")}) {
            QStringList added;
            QStringList removed;
            QStringList columns;
            for (const SearchColumn& c : SearchColumns) {
                if (table != QLatin1String(c.table))
                    continue;
                const QString column = q(QLatin1String(c.column));
                columns << column;
                added << QStringLiteral("INSERT OR IGNORE INTO %1 (\"Field\", \"Term\") SELECT '%2', new.%3 WHERE length(new.%3) >= 3;")
                             .arg(terms, QLatin1String(c.term), column);
                removed << QStringLiteral("DELETE FROM %1 WHERE \"Field\" = '%2' AND \"Term\" = old.%3 AND NOT EXISTS (SELECT 1 FROM %4 WHERE %3 = old.%3);")
                               .arg(terms, QLatin1String(c.term), column, q(table));
            }
            if (!run(QStringLiteral("CREATE TRIGGER %1 AFTER INSERT ON %2 BEGIN %3 END").arg(q(table + QStringLiteral(":terms add")), q(table), added.join(QLatin1Char(' '))))
                || !run(QStringLiteral("CREATE TRIGGER %1 AFTER DELETE ON %2 BEGIN %3 END").arg(q(table + QStringLiteral(":terms remove")), q(table), removed.join(QLatin1Char(' '))))
                || !run(QStringLiteral("CREATE TRIGGER %1 AFTER UPDATE OF %2 ON %3 BEGIN %4 %5 END")
                            .arg(q(table + QStringLiteral(":terms change")), columns.join(QStringLiteral(", ")), q(table), added.join(QLatin1Char(' ')),
                                 removed.join(QLatin1Char(' ')))))
                return false;
        }
        return true;
    }

    // The server compares citext without case; the search compares
    // lower(column::text), which B-tree indexes with text_pattern_ops serve
    // for a value and its beginning, and pg_trgm's GIN indexes for any part.
    bool addPostgresSearch()
    {
        const bool trigrams = addTrigramExtension();
        for (const SearchColumn& c : SearchColumns) {
            const QString table = QLatin1String(c.table);
            const QString expression = QStringLiteral("lower(%1::text)").arg(q(QLatin1String(c.column)));
            const QString base = table + QLatin1Char(':') + QLatin1String(c.column);
            const bool withDate = table == QLatin1String("Info");
            const QString pattern = base + QStringLiteral(" pattern");
            if (!hasIndex(pattern)
                && !run(QStringLiteral("CREATE INDEX %1 ON %2 (%3 text_pattern_ops%4)")
                            .arg(q(pattern), q(table), expression, withDate ? QStringLiteral(", ") + q(QStringLiteral("Entry Date")) : QString())))
                return false;
            const QString trigram = base + QStringLiteral(" trigram");
            if (trigrams && !hasIndex(trigram)
                && !run(QStringLiteral("CREATE INDEX %1 ON %2 USING gin (%3 gin_trgm_ops)").arg(q(trigram), q(table), expression)))
                return false;
        }
        return true;
    }

    // pg_trgm is a trusted extension: the database's owner may add it. A
    // server without it still searches, only slower for parts of values.
    bool addTrigramExtension()
    {
        if (!run(QStringLiteral("SAVEPOINT tlx_trigram")))
            return false;
        if (run(QStringLiteral("CREATE EXTENSION IF NOT EXISTS pg_trgm")))
            return run(QStringLiteral("RELEASE SAVEPOINT tlx_trigram"));
        run(QStringLiteral("ROLLBACK TO SAVEPOINT tlx_trigram"));
        return false;
    }

    bool addMissingImages()
    {
        if (schema_.hasTable(SearchTable::MissingImages))
            return true;
        const QString missing = q(SearchTable::MissingImages);
        const QString image = q(QStringLiteral("Image #"));
        const QString info = q(QStringLiteral("Info"));
        const QString images = q(QStringLiteral("Images"));
        if (!run(QStringLiteral("CREATE TABLE %1 (%2 INTEGER PRIMARY KEY)").arg(missing, image))
            || !run(QStringLiteral("INSERT INTO %1 (%2) SELECT DISTINCT i.%2 FROM %3 i WHERE NOT EXISTS (SELECT 1 FROM %4 g WHERE g.%2 = i.%2)")
                        .arg(missing, image, info, images)))
            return false;
        if (d_.isSqlite()) {
            const QString referenced = QStringLiteral("INSERT OR IGNORE INTO %1 (%2) SELECT new.%2 WHERE NOT EXISTS (SELECT 1 FROM %3 WHERE %2 = new.%2);")
                                           .arg(missing, image, images);
            const QString unreferenced = QStringLiteral("DELETE FROM %1 WHERE %2 = old.%2 AND NOT EXISTS (SELECT 1 FROM %3 WHERE %2 = old.%2);")
                                             .arg(missing, image, info);
            const QString imageGone = QStringLiteral("INSERT OR IGNORE INTO %1 (%2) SELECT old.%2 WHERE EXISTS (SELECT 1 FROM %3 WHERE %2 = old.%2);")
                                          .arg(missing, image, info);
            const QString imageThere = QStringLiteral("DELETE FROM %1 WHERE %2 = new.%2;").arg(missing, image);
            const auto trigger = [&](const QString& name, const QString& event, const QString& table, const QString& body) {
                return run(QStringLiteral("CREATE TRIGGER %1 AFTER %2 ON %3 BEGIN %4 END").arg(q(name), event, table, body));
            };
            return trigger(QStringLiteral("Info:missing add"), QStringLiteral("INSERT"), info, referenced)
                && trigger(QStringLiteral("Info:missing remove"), QStringLiteral("DELETE"), info, unreferenced)
                && trigger(QStringLiteral("Info:missing change"), QStringLiteral("UPDATE OF ") + image, info, referenced + QLatin1Char(' ') + unreferenced)
                && trigger(QStringLiteral("Images:missing add"), QStringLiteral("DELETE"), images, imageGone)
                && trigger(QStringLiteral("Images:missing remove"), QStringLiteral("INSERT"), images, imageThere)
                && trigger(QStringLiteral("Images:missing change"), QStringLiteral("UPDATE OF ") + image, images, imageGone + QLatin1Char(' ') + imageThere);
        }
        // A new reference holds its image row (FOR KEY SHARE) while it
        // looks, so a concurrent delete of that row waits and then sees it.
        return run(QStringLiteral(
                       "CREATE OR REPLACE FUNCTION tlx_info_missing_images() RETURNS trigger LANGUAGE plpgsql AS $body$ BEGIN "
                       "IF TG_OP <> 'INSERT' THEN DELETE FROM %1 WHERE %2 = OLD.%2 AND NOT EXISTS (SELECT 1 FROM %3 WHERE %2 = OLD.%2); END IF; "
                       "IF TG_OP <> 'DELETE' THEN PERFORM 1 FROM %4 WHERE %2 = NEW.%2 FOR KEY SHARE; "
                       "IF NOT FOUND THEN INSERT INTO %1 (%2) VALUES (NEW.%2) ON CONFLICT DO NOTHING; END IF; END IF; "
                       "RETURN NULL; END $body$")
                       .arg(missing, image, info, images))
            && run(QStringLiteral(
                       "CREATE OR REPLACE FUNCTION tlx_images_missing_images() RETURNS trigger LANGUAGE plpgsql AS $body$ BEGIN "
                       "IF TG_OP <> 'INSERT' THEN INSERT INTO %1 (%2) SELECT OLD.%2 WHERE EXISTS (SELECT 1 FROM %3 WHERE %2 = OLD.%2) ON CONFLICT DO NOTHING; END IF; "
                       "IF TG_OP <> 'DELETE' THEN DELETE FROM %1 WHERE %2 = NEW.%2; END IF; "
                       "RETURN NULL; END $body$")
                       .arg(missing, image, info))
            && run(QStringLiteral("CREATE TRIGGER %1 AFTER INSERT OR DELETE OR UPDATE OF %2 ON %3 FOR EACH ROW EXECUTE FUNCTION tlx_info_missing_images()")
                       .arg(q(QStringLiteral("Info:missing images")), image, info))
            && run(QStringLiteral("CREATE TRIGGER %1 AFTER INSERT OR DELETE OR UPDATE OF %2 ON %3 FOR EACH ROW EXECUTE FUNCTION tlx_images_missing_images()")
                       .arg(q(QStringLiteral("Images:missing images")), image, images));
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

bool FixInfo(Session& session)
{
    DataOp op(session, QStringLiteral("FixInfo"));
    for (const QString& column : {QStringLiteral("P/O #"), QStringLiteral("Mfg Name")}) {
        if (!op.exec(QStringLiteral("UPDATE %1 SET %2 = ' ' WHERE %2 IS NULL").arg(q(QStringLiteral("Info")), q(column))))
            return false;
    }
    return true;
}

}  // namespace tarlox
