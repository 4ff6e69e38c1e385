// Fax control against a real HylaFAX server: the views, delete, resend and
// the columns kept in the settings.
#include "output/forms/frmFaxct.h"

#include "data/Settings.h"
#include "output/FaxSend.h"
#include "output/HylafaxClient.h"
#include "store/TestPages.h"
#include "store/TiffWriter.h"
#include "support/FaxTestServer.h"
#include "support/TestSite.h"

#include <QApplication>
#include <QMenu>
#include <QPointer>
#include <QSignalSpy>
#include <QTest>
#include <QTreeWidget>

#include <gtest/gtest.h>

using namespace tarlox;
using namespace tarlox::test;
using namespace Qt::StringLiterals;

namespace {

class FaxControlScreen : public ::testing::Test {
protected:
    void SetUp() override
    {
        server = FaxTestServer::Get();
        if (!server)
            GTEST_SKIP() << FaxTestServer::skipReason().toStdString();
        ASSERT_TRUE(site.start());
        Session& s = site.session();
        PutLocal(s, fax::Section, fax::FaxServer, server->address());
        PutLocal(s, fax::Section, fax::CoverPage, qEnvironmentVariable("TARLOX_SOURCE_DIR") + u"/resources/tarlox.cpe"_s);
        report = site.path(u"report.tif"_s);
        ASSERT_TRUE(WriteTiff(report, {TextPage(1700, 2200, 1, 200), TextPage(1700, 2200, 2, 200)}).ok());
    }

    SentFax send(const QString& number)
    {
        HylafaxServer where = *fax::ServerSettings([&](const QString& key) { return GetLocal(site.session(), fax::Section, key); });
        HylafaxClient engine(where);
        FaxRequest request{u"Jo Buyer"_s, u"Buyer & Co"_s, number, u"Pat"_s, u"Certificates"_s, {report}};
        fax::Sender sender;
        sender.coverPage = GetLocal(site.session(), fax::Section, fax::CoverPage);
        auto sent = SendFax(engine, request, sender, site.session().tempDir, QDate(2026, 3, 15));
        EXPECT_TRUE(sent.ok()) << sent.error().toStdString();
        return sent ? *sent : SentFax{};
    }

    // Waits until the form has the server's answer.
    static void settle(frmFaxct* form)
    {
        ASSERT_TRUE(QTest::qWaitFor([form] { return form->idle(); }, 20000));
    }

    QStringList ids(frmFaxct* form) const
    {
        QStringList result;
        for (const FaxJobInfo& job : form->rows())
            result << job.id;
        return result;
    }

    void shot(QWidget* form, const char* name)
    {
        if (const QString folder = qEnvironmentVariable("TARLOX_SCREENSHOTS"); !folder.isEmpty())
            form->grab().save(folder + u'/' + QLatin1String(name) + u".png"_s);
    }

    FaxTestServer* server = nullptr;
    TestSite site;
    QString report;
};

}  // namespace

TEST_F(FaxControlScreen, ViewsDeleteAndResendWorkOnTheServersJobs)
{
    const SentFax first = send(u"5551001"_s);
    const SentFax second = send(u"5551002"_s);
    QPointer<frmFaxct> form = new frmFaxct(site.session());
    form->resize(1000, 300);
    form->show();
    settle(form);
    // No failed or sent jobs: the form opens on the pending ones.
    EXPECT_EQ(form->view(), 0);
    EXPECT_EQ(form->windowTitle(), u"Tarlox Fax Control for Pending Faxes"_s);
    EXPECT_FALSE(form->action(u"mnuResend"_s)->isEnabled());
    EXPECT_EQ(ids(form), (QStringList{first.jobId, second.jobId}));
    QTreeWidget* list = form->findChild<QTreeWidget*>(u"FaxMan1"_s);
    EXPECT_EQ(list->topLevelItem(0)->text(0), u"Buyer & Co"_s);
    EXPECT_EQ(list->topLevelItem(1)->text(1), u"5551002"_s);
    EXPECT_EQ(list->topLevelItem(0)->text(7), u"3"_s);  // the cover and the two pages
    EXPECT_TRUE(list->isColumnHidden(10));
    shot(form, "faxct-pending");

    // Delete: the selected job leaves the server.
    form->setSelectedRow(1);
    form->mnuDelete_Click();
    settle(form);
    EXPECT_EQ(ids(form), QStringList{first.jobId});

    // The first fails (stopped on the server); the failed view resends it to a new number.
    ASSERT_TRUE(HylafaxClient(*fax::ServerSettings([&](const QString& k) { return GetLocal(site.session(), fax::Section, k); }))
                    .kill(first.jobId).ok());
    form->mnuView_Click(3);
    settle(form);
    EXPECT_EQ(form->windowTitle(), u"Tarlox Fax Control for Failed Faxes"_s);
    EXPECT_TRUE(form->action(u"mnuResend"_s)->isEnabled());
    ASSERT_EQ(ids(form), QStringList{first.jobId});
    EXPECT_EQ(list->topLevelItem(0)->text(5), u"Job aborted by request"_s);
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
    shot(form, "faxct-failed");

    form->mnuView_Click(0);
    settle(form);
    ASSERT_EQ(ids(form), QStringList{newId});
    const FaxJobInfo again = form->rows()[0];
    EXPECT_EQ(again.number, u"5559999"_s);
    EXPECT_EQ(again.toCompany, u"Buyer & Co"_s);
    EXPECT_NE(again.tag, first.jobFile);
    EXPECT_TRUE(QFile::exists(first.jobFile)) << "the earlier job file stays";

    // A job whose file is gone: the resend says which file it could not copy.
    QFile::remove(again.tag);
    QSignalSpy refused(form.data(), &frmFaxct::resent);
    list->itemDoubleClicked(list->topLevelItem(0), 0);  // double click works in any view
    ASSERT_TRUE(refused.wait(20000));
    EXPECT_TRUE(refused[0][1].toString().startsWith(u"Can't copy previous fax files:\n\n'"_s + again.tag)) << refused[0][1].toString().toStdString();
    ASSERT_FALSE(site.prompter().asked().isEmpty());
    EXPECT_EQ(site.prompter().asked().last().title, u"Error resending fax"_s);

    // Delete All empties the view; the dragged widths are kept on closing.
    form->mnuDeleteAll_Click();
    settle(form);
    EXPECT_TRUE(form->rows().isEmpty());
    list->setColumnWidth(0, 40 * list->fontMetrics().horizontalAdvance(u'0'));
    form->close();
    ASSERT_TRUE(QTest::qWaitFor([&] { return form.isNull(); }, 10000)) << "closes three seconds after the resend";
    const auto columns = ReadControlColumns(GetLocal(site.session(), fax::Section, fax::ControlColumns));
    EXPECT_EQ(columns[0].width, 40);
    EXPECT_EQ(columns[10].width, 0);
}
