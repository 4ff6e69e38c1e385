#include "cli/Command.h"

#include "data/ContactData.h"
#include "data/Session.h"

namespace tarlox::cli {

namespace {

// The address book of fax and e-mail recipients.
class Contacts : public Command {
public:
    QString name() const override { return QStringLiteral("contacts"); }
    QString summary() const override { return QStringLiteral("list, add or remove fax and e-mail contacts"); }
    QString arguments() const override { return QStringLiteral("list|add|remove"); }

    QList<QCommandLineOption> options() const override
    {
        return {
            {QStringLiteral("company"), QStringLiteral("company name (add, remove)"), QStringLiteral("NAME")},
            {QStringLiteral("last"), QStringLiteral("last name (add, remove)"), QStringLiteral("NAME")},
            {QStringLiteral("first"), QStringLiteral("first name (add, remove)"), QStringLiteral("NAME")},
            {QStringLiteral("fax"), QStringLiteral("fax number (add)"), QStringLiteral("NUMBER")},
            {QStringLiteral("email"), QStringLiteral("e-mail address (add)"), QStringLiteral("ADDRESS")},
            {QStringLiteral("company-sort"), QStringLiteral("list by company first")},
        };
    }

    QString read(const QCommandLineParser& p) override
    {
        const QStringList a = p.positionalArguments();
        if (a.size() != 1 || !QStringList{QStringLiteral("list"), QStringLiteral("add"), QStringLiteral("remove")}.contains(a[0]))
            return QStringLiteral("takes one of list, add or remove");
        action_ = a[0];
        contact_.companyName = p.value(QStringLiteral("company"));
        contact_.lastName = p.value(QStringLiteral("last"));
        contact_.firstName = p.value(QStringLiteral("first"));
        contact_.faxNumber = p.value(QStringLiteral("fax")).trimmed();
        contact_.email = p.value(QStringLiteral("email")).trimmed();
        companySort_ = p.isSet(QStringLiteral("company-sort"));
        if (action_ != u"list" && (contact_.companyName.isEmpty() || contact_.lastName.isEmpty() || contact_.firstName.isEmpty()))
            return QStringLiteral("%1 needs --company, --last and --first").arg(action_);
        return {};
    }

    int run(Session& s) override
    {
        if (action_ == u"list")
            return list(s);
        s.contact = contact_;
        if (action_ == u"add") {
            if (ReadContact(s))
                return fail(QStringLiteral("%1 %2 of %3 is on file already").arg(contact_.firstName, contact_.lastName, contact_.companyName));
            s.contact = contact_;
            return AddContact(s, false) ? Success : fail(QStringLiteral("the contact was not added: ") + s.contact.errorText);
        }
        if (!ReadContact(s))
            return fail(QStringLiteral("%1 %2 of %3 is not on file").arg(contact_.firstName, contact_.lastName, contact_.companyName));
        return DeleteContact(s) ? Success : fail(QStringLiteral("the contact was not removed"));
    }

private:
    // One line a contact: company, last name, first name, fax number, e-mail, tab-separated.
    int list(Session& s)
    {
        QStringList lines;
        if (!LoadContacts(s, lines, companySort_))
            return fail(QStringLiteral("the contacts can't be read"));
        for (const QString& line : lines) {
            const QStringList parts = line.split(QLatin1Char('\t'));
            s.contact = ContactRecord{parts.value(1), parts.value(0), parts.value(2), {}, {}};
            ReadContact(s);
            printLine(QStringList{s.contact.companyName, s.contact.lastName, s.contact.firstName, s.contact.faxNumber.trimmed(),
                                  s.contact.email.trimmed()}
                          .join(QLatin1Char('\t')));
        }
        return Success;
    }

    QString action_;
    ContactRecord contact_;
    bool companySort_ = false;
};

}  // namespace

std::unique_ptr<Command> makeContactsCommand() { return std::make_unique<Contacts>(); }

}  // namespace tarlox::cli
