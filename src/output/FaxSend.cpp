#include "output/FaxSend.h"

#include "output/FaxJobFile.h"
#include "data/Session.h"
#include "store/FileLists.h"
#include "store/TiffReader.h"

#include <QFile>

namespace tarlox {

namespace {

QString Quoted(const QString& file)
{
    return QStringLiteral("\n\n'") + file + QLatin1Char('\'');
}

}  // namespace

IoResult<FaxPages> PrepareFaxPages(Session& session, const Queue& job, bool annotate, const ProgressStep& step)
{
    return PrepareFaxPages(ReadOutputSettings(session), session.now().date(), job, annotate, step);
}

IoResult<FaxPages> PrepareFaxPages(const OutputSettings& settings, const QDate& today, const Queue& job, bool annotate,
                                   const ProgressStep& step)
{
    bool somePages = false;
    const QString list = BuildFileList(job.files, QStringLiteral("+"), somePages);
    FaxPages pages;
    pages.files = list.split(QLatin1Char('+'), Qt::SkipEmptyParts);
    // "S" or "T", as the authorization's one letter.
    const bool authorized = !settings.authorization.isEmpty() && QStringLiteral("ST").contains(settings.authorization.left(1));
    if (!(authorized || somePages || annotate || settings.addMessage))
        return pages;
    auto prepared = PrepareFiles(settings, today, false, QueueItems(job.files, job.messages), step);
    if (!prepared)
        return prepared.failure();
    if (!prepared->problems.isEmpty() || prepared->files.size() < pages.files.size()) {
        for (const QString& file : std::as_const(prepared->files))
            QFile::remove(file);
        return Failure(QStringLiteral("Not every test report could be prepared for the fax; nothing was sent.\n\n")
                       + prepared->problems.join(QLatin1Char('\n')));
    }
    pages.files = prepared->files;
    pages.staged = true;
    return pages;
}

FaxJob JobOf(const FaxRequest& request, const fax::Sender& sender)
{
    FaxJob job;
    job.toName = request.toName.trimmed();
    job.toCompany = request.toCompany.trimmed();
    job.faxNumber = request.number.trimmed();
    job.fromName = request.fromName.trimmed();
    job.message = request.message;
    job.fromCompany = sender.company;
    job.voiceNumber = sender.voice;
    job.fromFaxNumber = sender.fax;
    job.stationId = sender.stationId;
    job.retries = sender.retries;
    job.retryInterval = sender.intervalMinutes * 60;
    job.initString = sender.initString;
    return job;
}

IoResult<SentFax> SendFax(FaxEngine& engine, const FaxRequest& request, const fax::Sender& sender,
                          const QString& tempDir, QDate today)
{
    if (request.pageFiles.isEmpty())
        return Failure(QStringLiteral("There is no test report to fax: no report is open and the fax queue is empty."));
    if (request.number.trimmed().isEmpty())
        return Failure(QStringLiteral("Enter the fax number to send to."));
    FaxJob job = JobOf(request, sender);
    CoverFields cover;
    cover.company = job.toCompany;
    cover.to = job.toName;
    cover.fax = job.faxNumber;
    cover.voice = sender.voice;
    cover.from = job.fromName;
    cover.fromCompany = sender.company;
    cover.fromFax = sender.fax;
    cover.subject = job.subject;
    cover.message = job.message;
    cover.date = today;
    auto file = MakeJobFile(tempDir, today.day(), sender.coverPage, cover, request.pageFiles);
    if (!file)
        return file.failure();
    job.jobFile = *file;
    job.documents = {*file};
    auto id = engine.submit(job);
    if (!id)
        return Failure(QStringLiteral("The fax server did not take the fax: ") + id.error());
    return SentFax{*id, *file};
}

IoResult<SentFax> ReFax(FaxEngine& engine, const FaxJobInfo& details, const QString& number,
                        const fax::Sender& sender, const QString& tempDir, QDate today)
{
    FaxRequest request;
    request.toName = details.toName;
    request.toCompany = details.toCompany;
    request.fromName = details.fromName;
    request.message = details.message;
    request.number = number;
    FaxJob job = JobOf(request, sender);
    if (!details.subject.isEmpty())
        job.subject = details.subject;
    if (details.tag.isEmpty())
        return Failure(QStringLiteral("Can't send previous fax files:") + Quoted(details.tag));
    auto copy = CopyJobFile(details.tag, tempDir, today.day());
    if (!copy)
        return Failure(QStringLiteral("Can't copy previous fax files:") + Quoted(details.tag));
    if (!TiffReader::open(*copy)) {
        QFile::remove(*copy);
        return Failure(QStringLiteral("Can't convert previous fax files:") + Quoted(details.tag));
    }
    job.jobFile = *copy;
    job.documents = {*copy};
    auto id = engine.submit(job);
    if (!id)
        return Failure(QStringLiteral("Can't send previous fax files:") + Quoted(details.tag) + QStringLiteral("\n\n") + id.error());
    return SentFax{*id, *copy};
}

}  // namespace tarlox
