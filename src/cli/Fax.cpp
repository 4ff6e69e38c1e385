#include "cli/Command.h"
#include "cli/Values.h"

#include "data/Session.h"
#include "data/Settings.h"
#include "output/FaxControl.h"
#include "output/FaxSend.h"
#include "output/FaxSettings.h"
#include "output/HylafaxClient.h"
#include "output/SelectImage.h"
#include "base/TextTools.h"
#include "store/FileLists.h"

#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace tarlox::cli {

namespace {

QString csvField(QString value)
{
    if (!value.contains(QLatin1Char(',')) && !value.contains(QLatin1Char('"')) && !value.contains(QLatin1Char('\n')))
        return value;
    return QLatin1Char('"') + value.replace(QLatin1Char('"'), QStringLiteral("\"\"")) + QLatin1Char('"');
}

fax::KeyReader FaxKeys(Session& s)
{
    return [&s](const QString& key) { return GetLocal(s, fax::Section, key); };
}

// The fax server of the settings, or the failure line.
IoResult<HylafaxServer> ServerOf(Session& s)
{
    return fax::ServerSettings(FaxKeys(s));
}

QCommandLineOption ViewOption()
{
    return {QStringLiteral("view"), QStringLiteral("pending, sending, sent or failed (default: all four)"), QStringLiteral("VIEW")};
}

// Lists the fax server's jobs as the fax control screen does.
class FaxStatus : public Command {
public:
    QString name() const override { return QStringLiteral("fax-status"); }
    QString summary() const override { return QStringLiteral("the fax server's jobs: pending, sending, sent and failed"); }
    QList<QCommandLineOption> options() const override
    {
        return {ViewOption(), {QStringLiteral("format"), QStringLiteral("text (default), csv or json"), QStringLiteral("FORMAT")}};
    }

    QString read(const QCommandLineParser& p) override
    {
        if (!p.positionalArguments().isEmpty())
            return QStringLiteral("takes no arguments");
        views_.clear();
        if (p.isSet(QStringLiteral("view"))) {
            const auto view = FaxViewFromName(p.value(QStringLiteral("view")));
            if (!view)
                return QStringLiteral("--view takes pending, sending, sent or failed, not \"") + p.value(QStringLiteral("view")) + QLatin1Char('"');
            views_ << *view;
        } else {
            views_ = {FaxState::Pending, FaxState::Sending, FaxState::Sent, FaxState::Failed};
        }
        format_ = p.isSet(QStringLiteral("format")) ? p.value(QStringLiteral("format")) : QStringLiteral("text");
        if (format_ != QLatin1String("text") && format_ != QLatin1String("csv") && format_ != QLatin1String("json"))
            return QStringLiteral("--format takes text, csv or json, not \"") + format_ + QLatin1Char('"');
        return {};
    }

    int run(Session& s) override
    {
        auto server = ServerOf(s);
        if (!server)
            return fail(server.error());
        HylafaxClient engine(*server);
        const QStringList head{QStringLiteral("Job"),   QStringLiteral("View"),  QStringLiteral("Phone"),  QStringLiteral("Company"),
                               QStringLiteral("To"),    QStringLiteral("From"),  QStringLiteral("Pages"),  QStringLiteral("PagesSent"),
                               QStringLiteral("Retries"), QStringLiteral("Status"), QStringLiteral("File")};
        QList<QStringList> lines;
        QJsonArray rows;
        for (FaxState view : views_) {
            auto jobs = engine.listJobs(view);
            if (!jobs)
                return fail(jobs.error());
            for (const FaxJobInfo& job : *jobs) {
                const QStringList line{job.id, FaxViewName(view), job.number, job.toCompany, job.toName, job.fromName,
                                       QString::number(job.pages), QString::number(job.pagesSent),
                                       FaxColumnValue(job, QStringLiteral("Retries")), FaxColumnValue(job, QStringLiteral("Status")), job.tag};
                lines << line;
                QJsonObject row;
                for (qsizetype i = 0; i < head.size(); ++i)
                    row.insert(head[i].toLower(), line[i]);
                rows.append(row);
            }
        }
        if (format_ == QLatin1String("json")) {
            printLine(QString::fromUtf8(QJsonDocument(rows).toJson(QJsonDocument::Indented)).trimmed());
        } else if (format_ == QLatin1String("csv")) {
            for (const QStringList& line : QList<QStringList>{head} + lines) {
                QStringList fields;
                for (const QString& f : line)
                    fields << csvField(f);
                printLine(fields.join(QLatin1Char(',')));
            }
        } else {
            for (const QStringList& line : QList<QStringList>{head} + lines)
                printLine(line.join(QLatin1Char('\t')));
        }
        return Success;
    }

private:
    QList<FaxState> views_;
    QString format_;
};

// Removes a job from the fax server, pending or done.
class FaxRemove : public Command {
public:
    QString name() const override { return QStringLiteral("fax-remove"); }
    QString summary() const override { return QStringLiteral("remove a job from the fax server, pending or done"); }
    QString arguments() const override { return QStringLiteral("JOB (the job number of fax-status)"); }
    QString read(const QCommandLineParser& p) override
    {
        if (p.positionalArguments().size() != 1)
            return QStringLiteral("takes one JOB");
        const Parsed<int> job = IntegerValue(QStringLiteral("JOB"), p.positionalArguments()[0], 1);
        job_ = QString::number(job.value);
        return job.error;
    }
    int run(Session& s) override
    {
        auto server = ServerOf(s);
        if (!server)
            return fail(server.error());
        if (auto removed = HylafaxClient(*server).remove(job_); !removed)
            return fail(removed.error());
        printLine(QStringLiteral("removed job ") + job_);
        return Success;
    }

private:
    QString job_;
};

// Sends a job of the log again from its kept job file.
class FaxResend : public Command {
public:
    QString name() const override { return QStringLiteral("fax-resend"); }
    QString summary() const override { return QStringLiteral("send a job again from its kept fax file; prints the new job number"); }
    QString arguments() const override { return QStringLiteral("JOB (the job number of fax-status)"); }
    QList<QCommandLineOption> options() const override
    {
        return {{QStringLiteral("number"), QStringLiteral("the fax number to send to (default: the job's own)"), QStringLiteral("N")}};
    }
    QString read(const QCommandLineParser& p) override
    {
        if (p.positionalArguments().size() != 1)
            return QStringLiteral("takes one JOB");
        const Parsed<int> job = IntegerValue(QStringLiteral("JOB"), p.positionalArguments()[0], 1);
        job_ = QString::number(job.value);
        number_ = p.value(QStringLiteral("number")).trimmed();
        if (p.isSet(QStringLiteral("number")) && number_.isEmpty())
            return QStringLiteral("--number is empty");
        return job.error;
    }
    int run(Session& s) override
    {
        auto server = ServerOf(s);
        if (!server)
            return fail(server.error());
        HylafaxClient engine(*server);
        auto details = engine.job(job_);
        if (!details)
            return fail(details.error());
        auto sent = ReFax(engine, *details, number_.isEmpty() ? details->number : number_, fax::SenderSettings(FaxKeys(s), s.programDir),
                          s.tempDir, s.now().date());
        if (!sent)
            return fail(ReFaxErrorTitle + QStringLiteral(": ") + sent.error().simplified());
        printLine(QStringLiteral("job ") + sent->jobId + QStringLiteral(" ") + sent->jobFile);
        return Success;
    }

private:
    QString job_;
    QString number_;
};

// Faxes stored reports as one job with our cover page.
class Fax : public Command {
public:
    QString name() const override { return QStringLiteral("fax"); }
    QString summary() const override { return QStringLiteral("fax reports as one job with a cover page; prints the job number"); }
    QString arguments() const override { return QStringLiteral("IMAGE... (image numbers)"); }
    QList<QCommandLineOption> options() const override
    {
        return {{QStringLiteral("number"), QStringLiteral("the fax number to send to (required)"), QStringLiteral("N")},
                {QStringLiteral("to"), QStringLiteral("the addressee (default: the fax screen's last)"), QStringLiteral("NAME")},
                {QStringLiteral("company"), QStringLiteral("the addressee's company"), QStringLiteral("C")},
                {QStringLiteral("from"), QStringLiteral("the sender (default: the fax screen's last)"), QStringLiteral("NAME")},
                {QStringLiteral("text"), QStringLiteral("the message on the cover page"), QStringLiteral("TEXT")},
                {QStringLiteral("pages"), QStringLiteral("pages of each report: All (default) or n,m,l"), QStringLiteral("P")},
                {QStringLiteral("message"),
                 QStringLiteral("a field of the message block on the pages, KEY=VALUE with the keys C (to), D (order), N (invoice), L (line), "
                                "U (customer P/O), P (part), E (part description), Q (quantity), H (heat), G (tag), K (text); repeatable"),
                 QStringLiteral("KEY=VALUE")}};
    }
    QString read(const QCommandLineParser& p) override
    {
        images_.clear();
        for (const QString& a : p.positionalArguments()) {
            const Parsed<int> n = IntegerValue(QStringLiteral("IMAGE"), a, 1);
            if (!n)
                return n.error;
            images_ << n.value;
        }
        if (images_.isEmpty())
            return QStringLiteral("needs at least one IMAGE");
        request_.number = p.value(QStringLiteral("number")).trimmed();
        if (request_.number.isEmpty())
            return QStringLiteral("--number is required");
        request_.toName = p.value(QStringLiteral("to"));
        request_.toCompany = p.value(QStringLiteral("company"));
        request_.fromName = p.value(QStringLiteral("from"));
        request_.message = p.value(QStringLiteral("text"));
        toSet_ = p.isSet(QStringLiteral("to"));
        fromSet_ = p.isSet(QStringLiteral("from"));
        const Parsed<QString> pages = PagesValue(QStringLiteral("--pages"), p.value(QStringLiteral("pages")));
        if (!pages)
            return pages.error;
        pages_ = pages.value;
        messages_.clear();
        for (const QString& m : p.values(QStringLiteral("message"))) {
            const auto pair = PairValue(QStringLiteral("--message"), m);
            if (!pair)
                return pair.error;
            MessageFields probe;
            if (!messageField(probe, pair.value.first))
                return QStringLiteral("--message takes the keys C D N L U P E Q H G K, not \"") + pair.value.first + QLatin1Char('"');
            messages_ << pair.value;
        }
        return {};
    }
    int run(Session& s) override
    {
        auto server = ServerOf(s);
        if (!server)
            return fail(server.error());
        if (!toSet_)
            request_.toName = GetLocal(s, fax::Section, fax::ToName);
        if (!fromSet_)
            request_.fromName = GetLocal(s, fax::Section, fax::FromName);
        MessageFields fields;
        fields.to = request_.toCompany;
        for (const auto& [key, value] : std::as_const(messages_)) {
            *messageField(fields, key) = value;
        }
        if (const QString problem = CheckMessageFields(fields); !problem.isEmpty())
            return fail(problem);
        Queue job;
        for (int number : std::as_const(images_)) {
            const auto image = LocateImage(s, number);
            if (!image)
                return fail(QStringLiteral("image %1 can't be faxed: its file can't be found").arg(number));
            AddFileAndMessage(job, image->filePath, pages_, fields);
        }
        auto pages = PrepareFaxPages(s, job, BoolFromIni(GetLocal(s, section::Info, QStringLiteral("Annotate"))));
        if (!pages)
            return fail(pages.error());
        request_.pageFiles = pages->files;
        HylafaxClient engine(*server);
        auto sent = SendFax(engine, request_, fax::SenderSettings(FaxKeys(s), s.programDir), s.tempDir, s.now().date());
        if (pages->staged)
            DeleteTempFiles(s, pages->files.join(QLatin1Char('+')), QStringLiteral("+"));
        if (!sent)
            return fail(sent.error());
        printLine(QStringLiteral("job ") + sent->jobId + QStringLiteral(" ") + sent->jobFile);
        return Success;
    }

private:
    // The field of a message string's key letter.
    static QString* messageField(MessageFields& f, const QString& key)
    {
        const QList<std::pair<QString, QString*>> keys = {
            {QStringLiteral("C"), &f.to},      {QStringLiteral("D"), &f.order},    {QStringLiteral("N"), &f.invoice},
            {QStringLiteral("L"), &f.lineNum}, {QStringLiteral("U"), &f.custPO},   {QStringLiteral("P"), &f.part},
            {QStringLiteral("E"), &f.partDesc}, {QStringLiteral("Q"), &f.quantity}, {QStringLiteral("H"), &f.heat},
            {QStringLiteral("G"), &f.tag},     {QStringLiteral("K"), &f.text}};
        for (const auto& [letter, field] : keys) {
            if (letter.compare(key, Qt::CaseInsensitive) == 0)
                return field;
        }
        return nullptr;
    }

    QList<int> images_;
    FaxRequest request_;
    QString pages_;
    QList<QPair<QString, QString>> messages_;
    bool toSet_ = false;
    bool fromSet_ = false;
};

}  // namespace

std::unique_ptr<Command> makeFaxCommand() { return std::make_unique<Fax>(); }
std::unique_ptr<Command> makeFaxStatusCommand() { return std::make_unique<FaxStatus>(); }
std::unique_ptr<Command> makeFaxResendCommand() { return std::make_unique<FaxResend>(); }
std::unique_ptr<Command> makeFaxRemoveCommand() { return std::make_unique<FaxRemove>(); }

}  // namespace tarlox::cli
