#include "cli/Command.h"
#include "cli/Values.h"

#include "output/EmailSend.h"
#include "output/MailSettings.h"
#include "output/MessageQueue.h"
#include "output/OutputPreparation.h"
#include "output/SelectImage.h"

#include "data/Session.h"
#include "data/Settings.h"

#include <QFile>

#include <tuple>

namespace tarlox::cli {

namespace {

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
        const Parsed<QString> pages = PagesValue(QStringLiteral("--pages"), p.value(QStringLiteral("pages")));
        if (!pages)
            return pages.error;
        pages_ = pages.value;
        for (const QString& field : p.values(QStringLiteral("message"))) {
            const qsizetype eq = field.indexOf(QLatin1Char('='));
            QString* value = eq > 0 ? FieldOf(fields_, field.left(eq).trimmed()) : nullptr;
            if (!value)
                return QStringLiteral("--message takes KEY=VALUE with KEY one of to, order, invoice, line, po, part, desc, qty, heat, "
                                      "tag, text (or C D N L U P E Q H G K), not \"%1\"").arg(field);
            *value = field.mid(eq + 1);
            given_ = true;
        }
        if (const QString problem = CheckMessageFields(fields_); !problem.isEmpty())
            return QStringLiteral("--message: ") + problem;
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
        // The stored files go as they are unless something about them
        // changes: some pages, a stamp, a message block, PDF.
        OutputSettings settings = ReadOutputSettings(s);
        settings.pdf = pdf_;
        settings.annotate = false;
        settings.addMessage = settings.addMessage || given_;
        fields_.from = settings.from;
        const bool prepare = !settings.authorization.isEmpty() || pages_.compare(QLatin1String("All"), Qt::CaseInsensitive) != 0
                             || settings.pdf || settings.addMessage;
        QStringList temporary;
        const auto removeTemporary = [&] {
            for (const QString& file : temporary)
                QFile::remove(file);
        };
        for (qsizetype i = 0; i < images_.size(); ++i) {
            const std::optional<SelectedImage> image = LocateImage(s, images_[i]);
            if (!image) {
                removeTemporary();
                return fail(QStringLiteral("image %1 can't be sent: its file is not at hand").arg(images_[i]));
            }
            if (!prepare) {
                message_.files << image->filePath;
                continue;
            }
            const QString target = TempFileName(settings.tempDir, image->filePath, int(i + 1), settings.pdf);
            IoResult<QList<PdfPage>> pages = PreparePages(image->filePath, pages_, settings, fields_, s.now().date());
            const IoStatus written = pages ? WritePrepared(target, *pages, settings.pdf) : IoStatus(pages.failure());
            if (!written) {
                removeTemporary();
                return fail(QStringLiteral("image %1 can't be prepared: %2").arg(images_[i]).arg(written.error()));
            }
            temporary << target;
            message_.files << target;
        }
        const int code = finish(UseServer(EmailServerSettings(s), message_));
        removeTemporary();
        return code;    }

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

    // A message field by its option name or the letter of the stored message strings.
    static QString* FieldOf(MessageFields& f, const QString& key)
    {
        const std::tuple<const char*, const char*, QString*> keys[] = {
            {"to", "C", &f.to},     {"order", "D", &f.order},   {"invoice", "N", &f.invoice}, {"line", "L", &f.lineNum},
            {"po", "U", &f.custPO}, {"part", "P", &f.part},     {"desc", "E", &f.partDesc},   {"qty", "Q", &f.quantity},
            {"heat", "H", &f.heat}, {"tag", "G", &f.tag},       {"text", "K", &f.text}};
        for (const auto& [name, letter, field] : keys)
            if (key.compare(QLatin1String(name), Qt::CaseInsensitive) == 0 || key.compare(QLatin1String(letter), Qt::CaseInsensitive) == 0)
                return field;
        return nullptr;
    }

    bool test_ = false;
    QList<qint32> images_;
    MailMessage message_;
    QString pages_;
    MessageFields fields_;
    bool given_ = false;  // a message field was given: the pages carry the block
    bool pdf_ = false;
};

}  // namespace

std::unique_ptr<Command> makeMailCommand() { return std::make_unique<Mail>(); }

}  // namespace tarlox::cli
