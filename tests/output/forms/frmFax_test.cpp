// The fax form: its fields, the pages rule, and a send to a real HylaFAX
// server that clears the queue only once the server took the job.
#include "output/forms/frmFax.h"

#include "data/Settings.h"
#include "output/HylafaxClient.h"
#include "store/TestPages.h"
#include "store/TiffReader.h"
#include "store/TiffWriter.h"
#include "support/FaxTestServer.h"
#include "support/FormControls.h"
#include "support/TestSite.h"

#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPointer>
#include <QPushButton>
#include <QSignalSpy>
#include <QTest>

#include <gtest/gtest.h>

using namespace tarlox;
using namespace tarlox::test;
using namespace Qt::StringLiterals;

namespace {

class FaxScreen : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(site.start());
        Session& s = site.session();
        PutLocal(s, fax::Section, fax::CoverPage, qEnvironmentVariable("TARLOX_SOURCE_DIR") + u"/resources/tarlox.cpe"_s);
        for (const char* name : {"a.tif", "b.tif"}) {
            reports << site.path(QLatin1String(name));
            ASSERT_TRUE(WriteTiff(reports.last(), {TextPage(1700, 2200, 1, 200), TextPage(1700, 2200, 2, 200)}).ok());
        }
        // One report queued; the other in hand.
        queue = reports[0] + u";"_s;
        PutLocal(s, section::Info, fax::FaxFiles, queue);
        s.imageFilePath = reports[1];
        site.prompter().clear();
    }

    QString queued() { return GetLocal(site.session(), section::Info, fax::FaxFiles); }

    TestSite site;
    QStringList reports;
    QString queue;
};

}  // namespace

TEST_F(FaxScreen, FieldsQueueLineAndThePagesRule)
{
    EXPECT_EQ(frmFax::QueueLine(1), u"There is 1 file queued to fax"_s);
    EXPECT_EQ(frmFax::QueueLine(2), u"There are 2 files queued to fax"_s);
    PutLocal(site.session(), fax::Section, fax::ToName, u"Jo Buyer"_s);
    auto* form = new frmFax(site.session());
    EXPECT_EQ(form->windowTitle(), u"Fax Test Report"_s);
    EXPECT_EQ(child<QLineEdit>(form, "txtTo")->text(), u"Jo Buyer"_s);
    EXPECT_EQ(child<QLabel>(form, "txtStatus")->text(), u"There is 1 file queued to fax"_s);
    EXPECT_EQ(child<QLineEdit>(form, "txtNo")->toolTip(), u"Fax # of person to send to"_s);
    QLineEdit* pages = child<QLineEdit>(form, "txtPages");
    EXPECT_EQ(pages->text(), u"All"_s);
    const struct {
        const char* typed;
        const char* kept;
        bool ok;  // no "Invalid Pages" box
    } rows[] = {{"", "All", true},  {"all", "All", true}, {"1,3", "1,3", true}, {",,", ",,", true},
                {"3,", "3,", true}, {"0", "0", true},     {"1-3", "All", false}, {"x", "All", false}};
    for (const auto& row : rows) {
        site.prompter().clear();
        pages->setText(QLatin1String(row.typed));
        EXPECT_EQ(form->txtPages_Validate(), row.ok) << row.typed;
        EXPECT_EQ(pages->text(), QLatin1String(row.kept)) << row.typed;
        EXPECT_EQ(site.prompter().textOf(u"Invalid Pages"_s), row.ok ? QString() : u"Pages must be 'All' or in the form 'n,m,l'"_s);
    }
    form->close();

    // Nothing in hand: Queue and the pages are off, the queue goes alone.
    site.session().imageFilePath.clear();
    frmFax alone(site.session());
    EXPECT_FALSE(child<QPushButton>(alone, "cmdQueue")->isEnabled());
    EXPECT_FALSE(child<QLineEdit>(alone, "txtPages")->isEnabled());
    EXPECT_TRUE(child<QLineEdit>(alone, "txtPages")->text().isEmpty());
}

TEST_F(FaxScreen, QueueIsClearedOnlyWhenTheServerTookTheJob)
{
    FaxTestServer* server = FaxTestServer::Get();
    if (!server)
        GTEST_SKIP() << FaxTestServer::skipReason().toStdString();
    Session& s = site.session();
    // A server that does not answer: the queue stays and the form says why.
    PutLocal(s, fax::Section, fax::FaxServer, u"127.0.0.1:%1"_s.arg(ClosedPort()));
    QPointer<frmFax> form = new frmFax(s);
    child<QLineEdit>(form, "txtNo")->setText(u"5552000"_s);
    child<QLineEdit>(form, "txtComp")->setText(u"Buyer & Co"_s);
    site.prompter().answer(Answer::Yes);
    QSignalSpy failed(form.data(), &frmFax::sent);
    form->cmdFax_Click();
    EXPECT_TRUE(form->sending());
    ASSERT_TRUE(failed.wait(20000));
    EXPECT_FALSE(failed[0][1].toString().isEmpty());
    EXPECT_EQ(site.prompter().titles(), (QStringList{u"Fax Queued Images?"_s, u"Fax Test Report"_s}));
    EXPECT_EQ(queued(), queue);
    EXPECT_FALSE(form.isNull());

    // The server answers: one job of both reports behind the cover page.
    PutLocal(s, fax::Section, fax::FaxServer, server->address());
    site.prompter().answer(Answer::Yes);
    QSignalSpy sent(form.data(), &frmFax::sent);
    form->cmdFax_Click();
    ASSERT_TRUE(sent.wait(20000));
    const QString id = sent[0][0].toString();
    ASSERT_FALSE(id.isEmpty()) << sent[0][1].toString().toStdString();
    EXPECT_TRUE(queued().isEmpty());
    EXPECT_EQ(GetLocal(s, fax::Section, fax::ToNumber), u"5552000"_s);
    form->close();
    EXPECT_FALSE(form.isNull()) << "held three seconds after the send";
    ASSERT_TRUE(QTest::qWaitFor([&] { return form.isNull(); }, 10000));

    HylafaxClient engine(*fax::ServerSettings([&](const QString& k) { return GetLocal(s, fax::Section, k); }));
    auto job = engine.job(id);
    ASSERT_TRUE(job.ok()) << job.error().toStdString();
    EXPECT_EQ(job->number, u"5552000"_s);
    EXPECT_EQ(job->toCompany, u"Buyer & Co"_s);
    EXPECT_EQ(job->subject, u"Requested MTR's"_s);
    auto file = TiffReader::open(job->tag);
    ASSERT_TRUE(file.ok()) << job->tag.toStdString();
    EXPECT_EQ(file->pageCount(), 5);
    EXPECT_TRUE(engine.remove(id).ok());
}
