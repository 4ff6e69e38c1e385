// The fax engine against a real HylaFAX server (faxq + hfaxd on loopback,
// private spool, no modem), and the job file with its cover page.
#include "output/FaxJobFile.h"
#include "output/HylafaxClient.h"
#include "store/TestPages.h"
#include "store/TiffReader.h"
#include "store/TiffWriter.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTcpServer>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

using namespace tarlox;
using namespace tarlox::test;
using namespace Qt::StringLiterals;

namespace {

QString Script()
{
    return qEnvironmentVariable("TARLOX_SOURCE_DIR") + u"/tests/support/hylafax.sh"_s;
}

// One server for the whole program; started by the first test that needs it.
struct Server {
    QTemporaryDir dir;
    quint16 port = 0;
    QString skipReason;
    bool started = false;

    QString spool() const { return dir.path() + u"/spool"_s; }

    bool start()
    {
        if (started)
            return true;
        if (geteuid() != 0) {
            skipReason = u"the HylaFAX test server runs only as root (its daemons switch to uucp)"_s;
            return false;
        }
        if (!QFile::exists(u"/usr/sbin/faxq"_s) || !QFile::exists(u"/usr/sbin/hfaxd"_s)) {
            skipReason = u"hylafax-server is not installed (scripts/install-deps.sh)"_s;
            return false;
        }
        chmod(QFile::encodeName(dir.path()).constData(), 0755);
        QTcpServer probe;
        probe.listen(QHostAddress(u"127.0.0.1"_s), 0);
        port = probe.serverPort();
        probe.close();
        QProcess script;
        script.start(u"bash"_s, {Script(), u"start"_s, dir.path(), QString::number(port)});
        script.waitForFinished(60000);
        if (script.exitCode() != 0) {
            skipReason = u"the HylaFAX test server did not start: "_s + QString::fromLocal8Bit(script.readAll());
            ADD_FAILURE() << skipReason.toStdString();
            return false;
        }
        started = true;
        return true;
    }

    ~Server()
    {
        if (started)
            QProcess::execute(u"bash"_s, {Script(), u"stop"_s, dir.path()});
    }

    // The scheduler's file of a job: "name:value" lines.
    QString queueFile(const QString& queue, const QString& id) const
    {
        QFile file(spool() + u'/' + queue + u"/q"_s + id);
        return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
    }
};

Server& TheServer()
{
    static Server server;
    return server;
}

QByteArray Bytes(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

std::optional<FaxJobInfo> Find(FaxEngine& engine, FaxState view, const QString& id)
{
    auto jobs = engine.listJobs(view);
    EXPECT_TRUE(jobs.ok()) << jobs.error().toStdString();
    if (jobs) {
        for (const auto& job : *jobs) {
            if (job.id == id)
                return job;
        }
    }
    return std::nullopt;
}

// A report of three pages, a cover page of its own and the job file of both.
class FaxFiles : public ::testing::Test {
protected:
    void SetUp() override
    {
        chmod(QFile::encodeName(temp.path()).constData(), 0755);
        report = temp.filePath(u"report.tif"_s);
        ASSERT_TRUE(WriteTiff(report, {TextPage(1700, 2200, 1, 200), TextPage(1700, 2200, 2, 200),
                                       TextPage(1700, 2200, 3, 200)})
                        .ok());
        CoverFields fields;
        fields.company = u"Buyer & Co"_s;
        fields.to = u"Jo Buyer"_s;
        fields.fax = u"5551234"_s;
        fields.message = u"Certificates for PO 4471"_s;
        fields.subject = u"Requested MTR's"_s;
        fields.pages = 4;
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
        if (!TheServer().start())
            GTEST_SKIP() << TheServer().skipReason.toStdString();
        FaxFiles::SetUp();
    }

    FaxJob sampleJob() const
    {
        FaxJob job;
        job.toName = u"Jo Buyer"_s;
        job.toCompany = u"Buyer & Co"_s;
        job.faxNumber = u"5551234"_s;
        job.fromName = u"Pat Sender"_s;
        job.fromCompany = u"Acme Steel"_s;
        job.voiceNumber = u"555-1000"_s;
        job.fromFaxNumber = u"555-1001"_s;
        job.stationId = u"ACME STEEL"_s;
        job.message = u"Certificates for \"PO 4471\"\nline two"_s;
        job.retries = 3;
        job.retryInterval = 300;
        job.killMinutes = 120;
        job.initString = u"AT&F"_s;
        job.jobFile = jobFile;
        job.documents = {cover, report};
        return job;
    }

    HylafaxServer where() const
    {
        HylafaxServer server;
        server.port = TheServer().port;
        server.timeoutMs = 10000;
        return server;
    }
};

}  // namespace

TEST(FaxJobFile, NamesCountFromTheDayOfTheMonth)
{
    const struct {
        QString dir;
        int value;
        QString name;
    } rows[] = {
        {u"/tmp/x"_s, 150000, u"/tmp/x/FX150000.FMF"_s},
        {u"/tmp/x/"_s, 5, u"/tmp/x/FX000005.FMF"_s},
        {u"C:\\Temp\\"_s, 310042, u"C:\\Temp\\FX310042.FMF"_s},
        {u"/t"_s, 1234567, u"/t/FX234567.FMF"_s},
    };
    for (const auto& row : rows)
        EXPECT_EQ(JobFileName(row.dir, row.value), row.name) << row.value;

    QTemporaryDir dir;
    auto first = FreeJobFileName(dir.path(), 15);
    ASSERT_TRUE(first.ok());
    EXPECT_EQ(QFileInfo(*first).fileName(), u"FX150000.FMF"_s);
    QFile(*first).open(QIODevice::WriteOnly);
    EXPECT_EQ(QFileInfo(*FreeJobFileName(dir.path(), 15)).fileName(), u"FX150001.FMF"_s);
}

TEST(FaxJobFile, TemplateFillsPlaceholdersOnce)
{
    CoverFields fields;
    fields.to = u"Jo {fax}"_s;
    fields.fax = u"555"_s;
    fields.fromCompany = u"Acme"_s;
    fields.from = u"Pat"_s;
    fields.pages = 4;
    fields.date = QDate(2024, 3, 15);
    const struct {
        QString text;
        QString filled;
    } rows[] = {
        {u"{to} / {fax}"_s, u"Jo {fax} / 555"_s},  // a value is never read as a placeholder
        {u"{from} of {fromcompany}"_s, u"Pat of Acme"_s},
        {u"{pages} pages on {date}"_s, u"4 pages on 2024-03-15"_s},
        {u"{unknown} {"_s, u"{unknown} {"_s},
    };
    for (const auto& row : rows)
        EXPECT_EQ(FillCoverTemplate(row.text, fields), row.filled) << row.text.toStdString();
}

TEST_F(FaxFiles, JobFileHoldsTheCoverAndEveryPageCopiedAsStored)
{
    auto joined = TiffReader::open(jobFile);
    ASSERT_TRUE(joined.ok()) << joined.error().toStdString();
    ASSERT_EQ(joined->pageCount(), 4);
    EXPECT_NE(*joined->readPage(0), NewMonoPage(1700, 2200)) << "the cover page is blank";
    auto source = TiffReader::open(report);
    for (int page = 0; page < 3; ++page)
        EXPECT_EQ(*joined->readPage(page + 1), *source->readPage(page)) << page;
    EXPECT_EQ(QFileInfo(jobFile).fileName(), u"FX150000.FMF"_s);
    EXPECT_FALSE(ReadCoverTemplate(temp.filePath(u"missing.cpe"_s)).ok());
}

TEST_F(HylafaxTest, SubmittedJobIsListedAlteredKilledAndRemoved)
{
    HylafaxClient engine(where());
    auto id = engine.submit(sampleJob());
    ASSERT_TRUE(id.ok()) << id.error().toStdString();

    auto pending = Find(engine, FaxState::Pending, *id);
    ASSERT_TRUE(pending);
    EXPECT_EQ(pending->toCompany, u"Buyer & Co"_s);
    EXPECT_EQ(pending->pages, 4);
    EXPECT_EQ(pending->tag, jobFile);
    EXPECT_EQ(pending->maxTries, 3);

    // What the server holds: the number and both documents, cover first.
    const QString queued = TheServer().queueFile(u"sendq"_s, *id);
    EXPECT_TRUE(queued.contains(u"\nnumber:5551234\n"_s)) << queued.toStdString();
    QStringList documents;
    for (const auto& line : queued.split(u'\n')) {
        if (line.startsWith(u"tiff:"_s))
            documents << line.section(u':', 3);
    }
    ASSERT_EQ(documents.size(), 2) << queued.toStdString();
    EXPECT_EQ(Bytes(TheServer().spool() + u'/' + documents[0]), Bytes(cover));
    EXPECT_EQ(Bytes(TheServer().spool() + u'/' + documents[1]), Bytes(report));

    auto details = engine.job(*id);
    ASSERT_TRUE(details.ok()) << details.error().toStdString();
    EXPECT_EQ(details->subject, u"Requested MTR's"_s);
    EXPECT_EQ(details->message, u"Certificates for \"PO 4471\" line two"_s);
    EXPECT_EQ(details->documents.size(), 2);

    FaxJobChange change;
    change.faxNumber = u"5559876"_s;
    change.retries = 5;
    ASSERT_TRUE(engine.alter(*id, change).ok());
    auto altered = Find(engine, FaxState::Pending, *id);
    ASSERT_TRUE(altered);
    EXPECT_EQ(altered->number, u"5559876"_s);
    EXPECT_EQ(altered->maxTries, 5);

    ASSERT_TRUE(engine.kill(*id).ok());
    EXPECT_FALSE(Find(engine, FaxState::Pending, *id));
    auto failed = Find(engine, FaxState::Failed, *id);
    ASSERT_TRUE(failed);
    EXPECT_EQ(failed->status, u"Job aborted by request"_s);

    ASSERT_TRUE(engine.remove(*id).ok());
    EXPECT_FALSE(Find(engine, FaxState::Failed, *id));
    EXPECT_FALSE(engine.kill(*id).ok());
}

TEST_F(HylafaxTest, KeptJobFileIsSentAgainAndAPendingJobRemoved)
{
    HylafaxClient engine(where());
    auto copy = CopyJobFile(jobFile, temp.path(), 15);
    ASSERT_TRUE(copy.ok()) << copy.error().toStdString();
    EXPECT_EQ(QFileInfo(*copy).fileName(), u"FX150001.FMF"_s);
    FaxJob again = sampleJob();
    again.documents = {*copy};
    again.jobFile = *copy;
    again.faxNumber = u"5550000"_s;
    auto id = engine.submit(again);
    ASSERT_TRUE(id.ok()) << id.error().toStdString();
    auto pending = Find(engine, FaxState::Pending, *id);
    ASSERT_TRUE(pending);
    EXPECT_EQ(pending->number, u"5550000"_s);
    const QString queued = TheServer().queueFile(u"sendq"_s, *id);
    const QString document = queued.section(u"\ntiff:"_s, 1).section(u'\n', 0, 0).section(u':', 2);
    EXPECT_EQ(Bytes(TheServer().spool() + u'/' + document), Bytes(jobFile));
    EXPECT_EQ(pending->tag, *copy);

    ASSERT_TRUE(engine.remove(*id).ok());
    EXPECT_FALSE(Find(engine, FaxState::Pending, *id));
    EXPECT_FALSE(Find(engine, FaxState::Failed, *id));
}

TEST_F(HylafaxTest, ModemsAndRefusalsComeBackAsValues)
{
    // A modem as hfaxd sees one: its configuration, status file and FIFO.
    const QString spool = TheServer().spool();
    QFile config(spool + u"/etc/config.ttyS9"_s);
    ASSERT_TRUE(config.open(QIODevice::WriteOnly));
    config.write("FAXNumber: +1.555.0100\n");
    config.close();
    QFile status(spool + u"/status/ttyS9"_s);
    ASSERT_TRUE(status.open(QIODevice::WriteOnly));
    status.write("Running and idle\n");
    status.close();
    mkfifo(QFile::encodeName(spool + u"/FIFO.ttyS9"_s).constData(), 0600);
    HylafaxClient engine(where());
    auto modems = engine.devices();
    ASSERT_TRUE(modems.ok()) << modems.error().toStdString();
    ASSERT_EQ(modems->size(), 1);
    EXPECT_EQ(modems->at(0).name, u"ttyS9"_s);
    EXPECT_EQ(modems->at(0).number, u"+1.555.0100"_s);
    EXPECT_EQ(modems->at(0).status, u"Running and idle"_s);

    FaxJob noNumber = sampleJob();
    noNumber.faxNumber = u" "_s;
    FaxJob missingFile = sampleJob();
    missingFile.documents = {temp.filePath(u"gone.tif"_s)};
    for (const auto& job : {noNumber, missingFile}) {
        auto refused = engine.submit(job);
        EXPECT_FALSE(refused.ok());
        EXPECT_FALSE(refused.error().isEmpty());
    }
    EXPECT_FALSE(engine.alter(u"99999"_s, FaxJobChange{}).ok());

    HylafaxServer closed = where();
    QTcpServer probe;
    probe.listen(QHostAddress(u"127.0.0.1"_s), 0);
    closed.port = probe.serverPort();
    probe.close();
    auto none = HylafaxClient(closed).listJobs(FaxState::Pending);
    EXPECT_FALSE(none.ok());
    EXPECT_TRUE(none.error().contains(u"can't connect"_s)) << none.error().toStdString();
}
