// The fax form (its fields, the pages rule, a send that clears the queue only
// once the server took the job) and the fax control (views, delete, resend,
// the columns kept in the settings) against a real HylaFAX server.
#include "output/forms/frmFax.h"
#include "data/Settings.h"
#include "output/FaxSend.h"
#include "output/HylafaxClient.h"
#include "output/forms/frmFaxct.h"
#include "store/TestPages.h"
#include "store/TiffReader.h"
#include "store/TiffWriter.h"
#include "support/FaxTestServer.h"
#include "support/FormControls.h"
#include "support/TestSite.h"

#include <QLabel>
#include <QLineEdit>
#include <QPointer>
#include <QPushButton>
#include <QSignalSpy>
#include <QTest>
#include <QTreeWidget>

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
    EXPECT_EQ(frmFax::QueueLine(2), u"There are 2 files queued to fax"_s);
    PutLocal(site.session(), fax::Section, fax::ToName, u"Jo Buyer"_s);
    auto* form = new frmFax(site.session());
    QLineEdit* pages = child<QLineEdit>(form, "txtPages");
    EXPECT_EQ(std::tuple(child<QLineEdit>(form, "txtTo")->text(), child<QLabel>(form, "txtStatus")->text(), pages->text()),
              std::tuple(u"Jo Buyer"_s, u"There is 1 file queued to fax"_s, u"All"_s));
    // ok: no "Invalid Pages" box
    const struct { const char* typed; const char* kept; bool ok; } rows[] = {{"", "All", true}, {"all", "All", true}, {"1,3", "1,3", true}, {",,", ",,", true},
                                                                             {"3,", "3,", true}, {"0", "0", true}, {"1-3", "All", false}, {"x", "All", false}};
    for (const auto& row : rows) {
        site.prompter().clear();
        pages->setText(QLatin1String(row.typed));
        const bool valid = form->txtPages_Validate();
        EXPECT_EQ(std::tuple(valid, pages->text(), site.prompter().wasAsked(u"Invalid Pages"_s)), std::tuple(row.ok, QString::fromLatin1(row.kept), !row.ok)) << row.typed;
    }
    form->close();

    // Nothing in hand: Queue and the pages are off, the queue goes alone.
    site.session().imageFilePath.clear();
    frmFax alone(site.session());
    EXPECT_EQ(std::tuple(child<QPushButton>(alone, "cmdQueue")->isEnabled(), child<QLineEdit>(alone, "txtPages")->isEnabled(),
                         child<QLineEdit>(alone, "txtPages")->text()),
              std::tuple(false, false, QString()));
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
    EXPECT_EQ(std::tuple(failed[0][1].toString().isEmpty(), site.prompter().titles(), queued(), form.isNull()),
              std::tuple(false, QStringList{u"Fax Queued Images?"_s, u"Fax Test Report"_s}, queue, false));

    // The server answers: one job of both reports behind the cover page.
    PutLocal(s, fax::Section, fax::FaxServer, server->address());
    site.prompter().answer(Answer::Yes);
    QSignalSpy sent(form.data(), &frmFax::sent);
    form->cmdFax_Click();
    ASSERT_TRUE(sent.wait(20000));
    const QString id = sent[0][0].toString();
    ASSERT_FALSE(id.isEmpty()) << sent[0][1].toString().toStdString();
    EXPECT_EQ(std::pair(queued(), GetLocal(s, fax::Section, fax::ToNumber)), std::pair(QString(), u"5552000"_s));
    form->close();
    EXPECT_FALSE(form.isNull()) << "held three seconds after the send";
    ASSERT_TRUE(QTest::qWaitFor([&] { return form.isNull(); }, 10000));

    HylafaxClient engine(*fax::ServerSettings([&](const QString& k) { return GetLocal(s, fax::Section, k); }));
    auto job = engine.job(id);
    ASSERT_TRUE(job.ok()) << job.error().toStdString();
    EXPECT_EQ(std::tuple(job->number, job->toCompany, job->subject), std::tuple(u"5552000"_s, u"Buyer & Co"_s, u"Requested MTR's"_s));
    auto file = TiffReader::open(job->tag);
    EXPECT_TRUE(file.ok() && file->pageCount() == 5) << job->tag.toStdString();
    EXPECT_TRUE(engine.remove(id).ok());
}

namespace {

class FaxControlScreen : public FaxScreen {
protected:
    void SetUp() override
    {
        server = FaxTestServer::Get();
        if (!server)
            GTEST_SKIP() << FaxTestServer::skipReason().toStdString();
        FaxScreen::SetUp();
        PutLocal(site.session(), fax::Section, fax::FaxServer, server->address());
    }

    HylafaxServer where() { return *fax::ServerSettings([&](const QString& key) { return GetLocal(site.session(), fax::Section, key); }); }
    SentFax send(const QString& number)
    {
        HylafaxClient engine(where());
        FaxRequest request{u"Jo Buyer"_s, u"Buyer & Co"_s, number, u"Pat"_s, u"Certificates"_s, {reports[0]}};
        fax::Sender sender;
        sender.coverPage = GetLocal(site.session(), fax::Section, fax::CoverPage);
        auto sent = SendFax(engine, request, sender, site.session().tempDir, QDate(2026, 3, 15));
        EXPECT_TRUE(sent.ok()) << sent.error().toStdString();
        return sent ? *sent : SentFax{};
    }

    // Waits until the form has the server's answer.
    static void settle(frmFaxct* form) { ASSERT_TRUE(QTest::qWaitFor([form] { return form->idle(); }, 20000)); }
    // One step of the control: a menu click, then the server's answer.
    static void step(frmFaxct* form, const std::function<void()>& click) { click(), settle(form); }
    // The view: its title, Resend allowed, the job ids.
    static std::tuple<QString, bool, QStringList> seen(frmFaxct* form)
    {
        QStringList ids;
        for (const FaxJobInfo& job : form->rows())
            ids << job.id;
        return {form->windowTitle(), form->action(u"mnuResend"_s)->isEnabled(), ids};
    }

    FaxTestServer* server = nullptr;
};

}  // namespace

TEST_F(FaxControlScreen, ViewsDeleteAndResendWorkOnTheServersJobs)
{
    const SentFax first = send(u"5551001"_s);
    const SentFax second = send(u"5551002"_s);
    QPointer<frmFaxct> form = new frmFaxct(site.session());
    form->resize(1000, 300), form->show();
    settle(form);
    // No failed or sent jobs: the form opens on the pending ones.
    EXPECT_EQ(form->view(), 0);
    const QString pending = u"Tarlox Fax Control for Pending Faxes"_s;
    EXPECT_EQ(seen(form), std::tuple(pending, false, QStringList{first.jobId, second.jobId}));
    QTreeWidget* list = form->findChild<QTreeWidget*>(u"FaxMan1"_s);
    const auto cell = [&](int row, int column) { return list->topLevelItem(row)->text(column); };
    // Company, number, and the cover and the two pages.
    EXPECT_EQ(std::tuple(cell(0, 0), cell(1, 1), cell(0, 7), list->isColumnHidden(10)), std::tuple(u"Buyer & Co"_s, u"5551002"_s, u"3"_s, true));

    // Delete: the selected job leaves the server.
    form->setSelectedRow(1);
    step(form, [&] { form->mnuDelete_Click(); });
    EXPECT_EQ(seen(form), std::tuple(pending, false, QStringList{first.jobId}));

    // The first fails (stopped on the server); the failed view resends it to a new number.
    ASSERT_TRUE(HylafaxClient(where()).kill(first.jobId).ok());
    step(form, [&] { form->mnuView_Click(3); });
    ASSERT_EQ(seen(form), std::tuple(u"Tarlox Fax Control for Failed Faxes"_s, true, QStringList{first.jobId}));
    EXPECT_EQ(cell(0, 5), u"Job aborted by request"_s);
    QStringList asked;
    form->inputBox = [&](const QString& title, const QString& prompt, const QString& value) -> std::optional<QString> {
        asked << title << prompt << value;
        return asked.size() == 3 ? std::nullopt : std::optional<QString>(u"5559999"_s);
    };
    form->mnuResend_Click();  // Cancel: nothing is sent
    EXPECT_EQ(asked, (QStringList{u"Re-Fax"_s, u"Enter new fax number if necessary"_s, u"5551001"_s}));
    QSignalSpy resent(form.data(), &frmFaxct::resent);
    form->setSelectedRow(-1);
    form->mnuResend_Click();  // no row chosen: the first is taken
    ASSERT_TRUE(resent.wait(20000));
    const QString newId = resent[0][0].toString();
    ASSERT_FALSE(newId.isEmpty()) << resent[0][1].toString().toStdString();
    settle(form);

    step(form, [&] { form->mnuView_Click(0); });
    ASSERT_EQ(std::get<2>(seen(form)), QStringList{newId});
    const FaxJobInfo again = form->rows()[0];
    // The earlier job file stays.
    EXPECT_EQ(std::tuple(again.number, again.toCompany, again.tag != first.jobFile, QFile::exists(first.jobFile)), std::tuple(u"5559999"_s, u"Buyer & Co"_s, true, true));

    // A job whose file is gone: the resend says which file it could not copy.
    QFile::remove(again.tag);
    QSignalSpy refused(form.data(), &frmFaxct::resent);
    list->itemDoubleClicked(list->topLevelItem(0), 0);  // double click works in any view
    ASSERT_TRUE(refused.wait(20000));
    EXPECT_TRUE(refused[0][1].toString().startsWith(u"Can't copy previous fax files:\n\n'"_s + again.tag)) << refused[0][1].toString().toStdString();
    ASSERT_FALSE(site.prompter().asked().isEmpty());
    EXPECT_EQ(site.prompter().asked().last().title, u"Error resending fax"_s);

    // Delete All empties the view; the dragged widths are kept on closing.
    step(form, [&] { form->mnuDeleteAll_Click(); });
    EXPECT_TRUE(form->rows().isEmpty());
    list->setColumnWidth(0, 40 * list->fontMetrics().horizontalAdvance(u'0'));
    form->close();
    ASSERT_TRUE(QTest::qWaitFor([&] { return form.isNull(); }, 10000)) << "closes three seconds after the resend";
    const auto columns = ReadControlColumns(GetLocal(site.session(), fax::Section, fax::ControlColumns));
    EXPECT_EQ(std::pair(columns[0].width, columns[10].width), std::pair(40, 0));
}
