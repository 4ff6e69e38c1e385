#include "cli/Command.h"
#include "cli/Values.h"

#include "output/EmailSend.h"
#include "output/MailSettings.h"
#include "output/SelectImage.h"

#include "data/Session.h"
#include "data/Settings.h"

#include <QRegularExpression>

namespace tarlox::cli {

namespace {

// "All" or page numbers n,m,l, as the output forms accept them.
bool PagesText(const QString& pages)
{
    static const QRegularExpression numbers(QStringLiteral("^[0-9,]*$"));
    return pages.compare(QLatin1String("All"), Qt::CaseInsensitive) == 0 || numbers.match(pages).hasMatch();
}

// Sends reports as attachments through the e-mail server of the settings,
// or the settings' test message.
class Mail : public Command {
public:
    QString name() const override { return QStringLiteral("mail"); }
    QString summary() const override
    {
        return QStringLiteral("e-mail reports through the server of the settings, or (--test) the test message");
    }
    QString arguments() const override { return QStringLiteral("IMAGE... (image numbers)"); }

    QList<QCommandLineOption> options() const override
    {
        return {
            {QStringLiteral("to"), QStringLiteral("the recipient's address"), QStringLiteral("ADDRESS")},
            {QStringLiteral("to-name"), QStringLiteral("the recipient's name"), QStringLiteral("NAME")},
            {QStringLiteral("subject"), QStringLiteral("the subject"), QStringLiteral("S")},
            {QStringLiteral("body"), QStringLiteral("the text of the message"), QStringLiteral("TEXT")},
            {QStringLiteral("pages"), QStringLiteral("the pages of each report: All (default) or n,m,l"), QStringLiteral("P")},
            {QStringLiteral("message"),
             QStringLiteral("a message field on the pages, repeatable; KEY is to, order, invoice, line, po, part, desc, qty, heat, "
                            "tag or text (or its letter C D N L U P E Q H G K)"),
             QStringLiteral("KEY=VALUE")},
            {QStringLiteral("pdf"), QStringLiteral("attach PDF files instead of TIFF")},
            {QStringLiteral("test"), QStringLiteral("send the test message of the settings (keys Test... of section Email)")},
        };
    }

    QString read(const QCommandLineParser& p) override
    {
        test_ = p.isSet(QStringLiteral("test"));
        if (test_)
            return p.positionalArguments().isEmpty() ? QString() : QStringLiteral("--test takes no IMAGE");
        for (const QString& a : p.positionalArguments()) {
            const Parsed<int> n = IntegerValue(QStringLiteral("IMAGE"), a, 1, 999999);
            if (!n)
                return n.error;
            images_ << n.value;
        }
        if (images_.isEmpty())
            return QStringLiteral("needs at least one IMAGE, or --test");
        message_.toAddress = p.value(QStringLiteral("to")).trimmed();
        if (const QString problem = RecipientProblem(message_.toAddress, false); !problem.isEmpty())
            return QStringLiteral("--to: ") + problem;
        message_.toName = p.value(QStringLiteral("to-name"));
        message_.subject = p.value(QStringLiteral("subject"));
        message_.body = p.value(QStringLiteral("body"));
        pages_ = p.isSet(QStringLiteral("pages")) ? p.value(QStringLiteral("pages")).trimmed() : QStringLiteral("All");
        if (pages_.isEmpty())
            pages_ = QStringLiteral("All");
        if (!PagesText(pages_))
            return QStringLiteral("--pages must be 'All' or in the form 'n,m,l', not \"%1\"").arg(pages_);
        for (const QString& field : p.values(QStringLiteral("message"))) {
            const qsizetype eq = field.indexOf(QLatin1Char('='));
            const QString key = eq > 0 ? field.left(eq).trimmed().toLower() : QString();
            if (!kFieldKeys.contains(key))
                return QStringLiteral("--message takes KEY=VALUE with KEY one of %1, not \"%2\"")
                    .arg(QStringList(kFieldKeys.keys()).join(QStringLiteral(", ")), field);
            fields_.insert(kFieldKeys.value(key), field.mid(eq + 1));
        }
        pdf_ = p.isSet(QStringLiteral("pdf"));
        return {};
    }

    int run(Session& s) override
    {
        if (EmailThroughClient(s))
            printError(QStringLiteral("note: the settings choose the mail client; the command line sends through the server"));
        if (test_)
            return finish(UseServer(EmailServerSettings(s), TestMessage(s, false, s.now())));
        message_.fromAddress = GetLocal(s, email::Section, email::FromAddress).trimmed();
        message_.fromName = GetLocal(s, email::Section, email::FromName);
        QStringList stored;
        for (qint32 number : images_) {
            const std::optional<SelectedImage> image = LocateImage(s, number);
            if (!image)
                return fail(QStringLiteral("image %1 can't be sent: its file is not at hand").arg(number));
            stored << image->filePath;
        }
        message_.files = stored;
        return finish(UseServer(EmailServerSettings(s), message_));
    }

private:
    static int finish(const MailSendResult& result)
    {
        const QStringList lines = result.status.split(QLatin1Char('\n'), Qt::SkipEmptyParts);
        for (const QString& line : lines.mid(0, lines.size() - 1))
            printLine(line);
        if (!result.ok())
            return fail(lines.value(lines.size() - 1));
        printLine(lines.value(lines.size() - 1));
        return Success;
    }

    // Option names (and the letters of the stored message strings) to letters.
    inline static const QHash<QString, QString> kFieldKeys{
        {QStringLiteral("to"), QStringLiteral("C")},      {QStringLiteral("order"), QStringLiteral("D")},
        {QStringLiteral("invoice"), QStringLiteral("N")}, {QStringLiteral("line"), QStringLiteral("L")},
        {QStringLiteral("po"), QStringLiteral("U")},      {QStringLiteral("part"), QStringLiteral("P")},
        {QStringLiteral("desc"), QStringLiteral("E")},    {QStringLiteral("qty"), QStringLiteral("Q")},
        {QStringLiteral("heat"), QStringLiteral("H")},    {QStringLiteral("tag"), QStringLiteral("G")},
        {QStringLiteral("text"), QStringLiteral("K")},    {QStringLiteral("c"), QStringLiteral("C")},
        {QStringLiteral("d"), QStringLiteral("D")},       {QStringLiteral("n"), QStringLiteral("N")},
        {QStringLiteral("l"), QStringLiteral("L")},       {QStringLiteral("u"), QStringLiteral("U")},
        {QStringLiteral("p"), QStringLiteral("P")},       {QStringLiteral("e"), QStringLiteral("E")},
        {QStringLiteral("q"), QStringLiteral("Q")},       {QStringLiteral("h"), QStringLiteral("H")},
        {QStringLiteral("g"), QStringLiteral("G")},       {QStringLiteral("k"), QStringLiteral("K")},
    };

    bool test_ = false;
    QList<qint32> images_;
    MailMessage message_;
    QString pages_;
    QHash<QString, QString> fields_;  // letter -> value
    bool pdf_ = false;
};

}  // namespace

std::unique_ptr<Command> makeMailCommand() { return std::make_unique<Mail>(); }

}  // namespace tarlox::cli
