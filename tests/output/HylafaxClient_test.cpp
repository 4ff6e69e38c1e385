// The fax engine against a real HylaFAX server (faxq + hfaxd on loopback,
// private spool, no modem), the job file with its cover page, and the fax
// control's columns, server settings and printed log.
#include "output/FaxControl.h"
#include "output/FaxJobFile.h"
#include "output/FaxSettings.h"
#include "output/HylafaxClient.h"
#include "store/TestPages.h"
#include "store/TiffReader.h"
#include "store/TiffWriter.h"
#include "support/FaxTestServer.h"
#include "support/TestSite.h"

#include <QFile>
#include <QPdfWriter>
#include <QElapsedTimer>
#include <QTemporaryDir>
#include <QThread>

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

using namespace tarlox;
using namespace tarlox::test;
using namespace Qt::StringLiterals;

namespace {

std::optional<FaxJobInfo> Find(FaxEngine& engine, FaxState view, const QString& id)
{
    auto jobs = engine.listJobs(view);
    EXPECT_TRUE(jobs.ok()) << jobs.error().toStdString();
    for (const auto& job : jobs ? *jobs : QList<FaxJobInfo>{})
        if (job.id == id)
            return job;
    return std::nullopt;
}

// A report of three pages, a cover page of its own and the job file of both.
class FaxFiles : public ::testing::Test {
protected:
    void SetUp() override
    {
        chmod(QFile::encodeName(temp.path()).constData(), 0755);
        report = temp.filePath(u"report.tif"_s);
        ASSERT_TRUE(WriteTiff(report, {TextPage(1700, 2200, 1, 200), TextPage(1700, 2200, 2, 200), TextPage(1700, 2200, 3, 200)}).ok());
        CoverFields fields;
        fields.company = u"Buyer & Co"_s, fields.to = u"Jo Buyer"_s, fields.fax = u"5551234"_s;
        fields.message = u"Certificates for PO 4471"_s, fields.subject = u"Requested MTR's"_s, fields.pages = 4;
        cover = temp.filePath(u"cover.tif"_s);
        ASSERT_TRUE(WriteTiff(cover, {RenderCoverPage(u"! FAX\n{to}\n{message}"_s, fields)}).ok());
        auto made = MakeJobFile(temp.path(), 15, coverTemplate(), fields, {report});
        ASSERT_TRUE(made.ok()) << made.error().toStdString();
        jobFile = *made;
    }

    QString coverTemplate() const { return qEnvironmentVariable("TARLOX_SOURCE_DIR") + u"/resources/tarlox.cpe"_s; }

    QTemporaryDir temp;
    QString report, cover, jobFile;
};

class HylafaxTest : public FaxFiles {
protected:
    void SetUp() override
    {
        if (!FaxTestServer::Get())
            GTEST_SKIP() << FaxTestServer::skipReason().toStdString();
        FaxFiles::SetUp();
    }

    FaxJob sampleJob() const
    {
        FaxJob job;
        job.toName = u"Jo Buyer"_s, job.toCompany = u"Buyer & Co"_s, job.faxNumber = u"5551234"_s;
        job.fromName = u"Pat Sender"_s, job.fromCompany = u"Acme Steel"_s, job.voiceNumber = u"555-1000"_s, job.fromFaxNumber = u"555-1001"_s;
        job.stationId = u"ACME STEEL"_s, job.message = u"Certificates for \"PO 4471\"\nline two"_s;
        job.retries = 3, job.retryInterval = 300, job.killMinutes = 120, job.initString = u"AT&F"_s;
        job.jobFile = jobFile, job.documents = {cover, report};
        return job;
    }

    HylafaxServer where() const
    {
        HylafaxServer server;
        server.port = FaxTestServer::Get()->port(), server.timeoutMs = 10000;
        return server;
    }
};

}  // namespace

TEST(FaxJobFile, NamesCountFromTheDayOfTheMonthAndTheTemplateFillsPlaceholdersOnce)
{
    const struct { QString dir; int value; QString name; } rows[] = {
        {u"/tmp/x"_s, 150000, u"/tmp/x/FX150000.FMF"_s}, {u"/tmp/x/"_s, 5, u"/tmp/x/FX000005.FMF"_s},
        {u"C:\\Temp\\"_s, 310042, u"C:\\Temp\\FX310042.FMF"_s}, {u"/t"_s, 1234567, u"/t/FX234567.FMF"_s},
    };
    for (const auto& row : rows)
        EXPECT_EQ(JobFileName(row.dir, row.value), row.name) << row.value;

    QTemporaryDir dir;
    auto first = FreeJobFileName(dir.path(), 15);
    ASSERT_TRUE(first.ok() && QFileInfo(*first).fileName() == u"FX150000.FMF"_s);
    WriteFile(*first, {});
    EXPECT_EQ(QFileInfo(*FreeJobFileName(dir.path(), 15)).fileName(), u"FX150001.FMF"_s);
    CoverFields fields;
    fields.to = u"Jo {fax}"_s, fields.fax = u"555"_s, fields.fromCompany = u"Acme"_s, fields.from = u"Pat"_s;
    fields.pages = 4, fields.date = QDate(2024, 3, 15);
    const struct { QString text; QString filled; } templates[] = {
        {u"{to} / {fax}"_s, u"Jo {fax} / 555"_s},  // a value is never read as a placeholder
        {u"{from} of {fromcompany}"_s, u"Pat of Acme"_s}, {u"{pages} pages on {date}"_s, u"4 pages on 2024-03-15"_s}, {u"{unknown} {"_s, u"{unknown} {"_s},
    };
    for (const auto& row : templates)
        EXPECT_EQ(FillCoverTemplate(row.text, fields), row.filled) << row.text.toStdString();
}

TEST_F(FaxFiles, JobFileHoldsTheCoverAndEveryPageCopiedAsStored)
{
    auto joined = TiffReader::open(jobFile);
    ASSERT_TRUE(joined.ok() && joined->pageCount() == 4) << joined.error().toStdString();
    auto coverPage = joined->readPage(0);
    ASSERT_TRUE(coverPage.ok());
    // A cover page that is not blank.
    EXPECT_EQ(std::tuple(coverPage->size(), coverPage->format(), *coverPage != NewMonoPage(1700, 2200)), std::tuple(QSize(1700, 2200), QImage::Format_Mono, true));
    auto source = TiffReader::open(report);
    for (int page = 0; page < 3; ++page)
        EXPECT_EQ(*joined->readPage(page + 1), *source->readPage(page)) << page;
    EXPECT_EQ(std::pair(QFileInfo(jobFile).fileName(), ReadCoverTemplate(temp.filePath(u"missing.cpe"_s)).ok()), std::pair(u"FX150000.FMF"_s, false));
}

TEST_F(HylafaxTest, SubmittedJobIsListedAlteredKilledAndRemoved)
{
    HylafaxClient engine(where());
    auto id = engine.submit(sampleJob());
    ASSERT_TRUE(id.ok()) << id.error().toStdString();

    auto pending = Find(engine, FaxState::Pending, *id);
    ASSERT_TRUE(pending);
    EXPECT_EQ(std::tuple(pending->number, pending->toCompany, pending->toName, pending->fromName, pending->pages, pending->tag, pending->maxTries),
              std::tuple(u"5551234"_s, u"Buyer & Co"_s, u"Jo Buyer"_s, u"Pat Sender"_s, 4, jobFile, 3));

    // What the server holds: the number and both documents, cover first.
    const QString queued = FaxTestServer::Get()->queueFile(u"sendq"_s, *id);
    EXPECT_TRUE(queued.contains(u"\nnumber:5551234\n"_s)) << queued.toStdString();
    QStringList documents;
    for (const auto& line : queued.split(u'\n'))
        if (line.startsWith(u"tiff:"_s))
            documents << line.section(u':', 3);
    ASSERT_EQ(documents.size(), 2) << queued.toStdString();
    // The kill time, two hours from now.
    const qint64 killTime = queued.section(u"\nkilltime:"_s, 1).section(u'\n', 0, 0).toLongLong();
    EXPECT_NEAR(double(killTime - QDateTime::currentSecsSinceEpoch()), 120 * 60, 120) << queued.toStdString();
    const QString spool = FaxTestServer::Get()->spool() + u'/';
    EXPECT_EQ(std::pair(FileBytes(spool + documents[0]), FileBytes(spool + documents[1])), std::pair(FileBytes(cover), FileBytes(report)));

    auto details = engine.job(*id);
    ASSERT_TRUE(details.ok()) << details.error().toStdString();
    EXPECT_EQ(std::tuple(details->subject, details->message, details->fromCompany, details->documents.size()),
              std::tuple(u"Requested MTR's"_s, u"Certificates for \"PO 4471\" line two"_s, u"Acme Steel"_s, qsizetype(2)));

    FaxJobChange change;
    change.faxNumber = u"5559876"_s, change.retries = 5;
    ASSERT_TRUE(engine.alter(*id, change).ok());
    auto altered = Find(engine, FaxState::Pending, *id);
    ASSERT_TRUE(altered && std::pair(altered->number, altered->maxTries) == std::pair(u"5559876"_s, 5));

    ASSERT_TRUE(engine.kill(*id).ok());
    EXPECT_FALSE(Find(engine, FaxState::Pending, *id));
    auto failed = Find(engine, FaxState::Failed, *id);
    ASSERT_TRUE(failed);
    EXPECT_EQ(std::pair(failed->status, failed->tag), std::pair(u"Job aborted by request"_s, jobFile));

    ASSERT_TRUE(engine.remove(*id).ok());
    EXPECT_TRUE(!Find(engine, FaxState::Failed, *id) && !engine.kill(*id).ok());
}

TEST_F(HylafaxTest, ModemsAndRefusalsComeBackAsValues)
{
    // A modem as hfaxd sees one: its configuration, status file and FIFO.
    const QString spool = FaxTestServer::Get()->spool();
    ASSERT_TRUE(WriteFile(spool + u"/etc/config.ttyS9"_s, "FAXNumber: +1.555.0100\n"));
    ASSERT_TRUE(WriteFile(spool + u"/status/ttyS9"_s, "Running and idle\n"));
    mkfifo(QFile::encodeName(spool + u"/FIFO.ttyS9"_s).constData(), 0600);
    HylafaxClient engine(where());
    auto modems = engine.devices();
    ASSERT_TRUE(modems.ok()) << modems.error().toStdString();
    ASSERT_EQ(modems->size(), 1);
    EXPECT_EQ(std::tuple(modems->at(0).name, modems->at(0).number, modems->at(0).status), std::tuple(u"ttyS9"_s, u"+1.555.0100"_s, u"Running and idle"_s));

    FaxJob noNumber = sampleJob();
    noNumber.faxNumber = u" "_s;
    FaxJob missingFile = sampleJob();
    missingFile.documents = {temp.filePath(u"gone.tif"_s)};
    for (const auto& job : {noNumber, missingFile}) {
        auto refused = engine.submit(job);
        EXPECT_TRUE(!refused.ok() && !refused.error().isEmpty());
    }
    EXPECT_FALSE(engine.alter(u"99999"_s, FaxJobChange{}).ok());

    HylafaxServer closed = where();
    closed.port = ClosedPort();
    auto none = HylafaxClient(closed).listJobs(FaxState::Pending);
    EXPECT_TRUE(!none.ok() && none.error().contains(u"can't connect"_s)) << none.error().toStdString();
}

// Waits for the server's kill time (whole minutes, so about one): leave out
// with --gtest_filter=-HylafaxKillTime.* when working on the rest.
class HylafaxKillTime : public HylafaxTest {};

TEST_F(HylafaxKillTime, UnsentJobFailsAtItsKillTime)
{
    HylafaxClient engine(where());
    FaxJob job = sampleJob();
    job.killMinutes = 1;
    auto id = engine.submit(job);
    ASSERT_TRUE(id.ok()) << id.error().toStdString();
    ASSERT_TRUE(Find(engine, FaxState::Pending, *id));
    std::optional<FaxJobInfo> failed;
    QElapsedTimer clock;
    clock.start();
    while (!failed && clock.elapsed() < 150000) {
        QThread::msleep(2000);
        failed = Find(engine, FaxState::Failed, *id);
    }
    ASSERT_TRUE(failed) << "not failed after " << clock.elapsed() << " ms";
    EXPECT_EQ(std::pair(failed->status, failed->tag), std::pair(u"Kill time expired"_s, jobFile));
}

TEST(FaxControl, ControlColumnsRoundTripAndTheServerComesFromFaxServerAndFaxUser)
{
    const QList<FaxColumn> defaults = DefaultControlColumns();
    ASSERT_EQ(defaults.size(), FaxColumnCount);

    QList<FaxColumn> dragged = defaults;
    dragged[0].width = 31, dragged[10].width = 9, dragged[1].width = 0;  // Speed shown, Phone hidden
    EXPECT_EQ(ReadControlColumns(WriteControlColumns(dragged))[0].width, 31);
    EXPECT_EQ(WriteControlColumns(ReadControlColumns(WriteControlColumns(dragged))), WriteControlColumns(dragged));

    const QString text = WriteControlColumns(defaults);
    for (const QString& bad : QStringList{QString(), u"Company,20"_s, text + u",Extra,3"_s, QString(text).replace(u"Company,20"_s, u"Company,x"_s),
                               QString(text).replace(u"Company,20"_s, u",20"_s)})
        EXPECT_EQ(WriteControlColumns(ReadControlColumns(bad)), text) << bad.toStdString();
    // port 0: refused
    const struct { QString server, user, host; int port; QString login; } rows[] = {
        {{}, {}, u"localhost"_s, 4559, fax::LoginName()}, {u" fax.example "_s, u"office"_s, u"fax.example"_s, 4559, u"office"_s},
        {u"10.0.0.5:4560"_s, {}, u"10.0.0.5"_s, 4560, fax::LoginName()}, {u"[::1]:4561"_s, {}, u"::1"_s, 4561, {}}, {u"fax:port"_s, {}, {}, 0, {}},
        {u"fax:70000"_s, {}, {}, 0, {}},
    };
    for (const auto& row : rows) {
        const auto server = fax::ServerSettings([&](const QString& key) {
            return key == fax::FaxServer ? row.server : key == fax::FaxUser ? row.user : QString();
        });
        ASSERT_EQ(server.ok(), row.port != 0) << row.server.toStdString();
        if (!server) {
            EXPECT_TRUE(server.error().contains(row.server)) << server.error().toStdString();
            continue;
        }
        EXPECT_EQ(std::tuple(server->host, server->port, row.login.isEmpty() ? QString() : server->user), std::tuple(row.host, row.port, row.login));
    }
    const auto sender = fax::SenderSettings([](const QString& key) { return key == fax::Retries ? u"x"_s : QString(); }, u"/opt/tarlox/"_s);
    // No page of the program directory's own: the one that ships with the program.
    EXPECT_TRUE(sender.coverPage.endsWith(u"/tarlox.cpe"_s) && QFile::exists(sender.coverPage) && sender.retries == 3) << sender.coverPage.toStdString();
}

TEST(FaxControl, LogPrintsFortySixJobsAPage)
{
    QTemporaryDir dir;
    for (const auto& [jobs, pages] : {std::pair{0, 1}, {46, 1}, {47, 2}, {93, 3}}) {
        QList<FaxJobInfo> rows(jobs);
        for (int i = 0; i < jobs; ++i)
            rows[i].id = QString::number(i + 1), rows[i].toCompany = u"A company with a name of more than twenty-seven characters"_s;
        const QString file = dir.filePath(QStringLiteral("log%1.pdf").arg(jobs));
        {
            QPdfWriter pdf(file);
            pdf.setPageOrientation(QPageLayout::Landscape);
            EXPECT_EQ(PrintFaxLog(pdf, rows), pages) << jobs;
        }
        EXPECT_EQ(FileBytes(file).count("/Type /Page\n"), pages) << jobs;
    }
    FaxJobInfo job;
    job.toCompany = u"A company with a name of more than twenty-seven characters"_s, job.toName = u"Somebody with a long name"_s;
    job.fromName = u"Pat Sender-Smith"_s;
    const auto line = FaxLogLine(&job);
    ASSERT_EQ(line.size(), FaxLogLine(nullptr).size());
    EXPECT_EQ(std::tuple(line[0].second.size(), line[1].second, line[4].second), std::tuple(qsizetype(27), u"Somebody with a lo"_s, u"Pat Sender"_s));
}
