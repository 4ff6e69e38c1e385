#include "output/MessageQueue.h"
#include "output/forms/frmContactFM.h"
#include "output/forms/frmEmail.h"
#include "output/forms/frmFax.h"
#include "output/forms/frmSelectAll.h"
#include "data/ContactData.h"
#include "data/InfoData.h"
#include "data/Settings.h"
#include "shell/forms/mdiMain.h"
#include "view/ViewerTestSupport.h"
#include "support/FormControls.h"

#include <QDir>
#include <QLineEdit>
#include <QListWidget>
#include <QPlainTextEdit>
#include <QPointer>
#include <QPrinter>
#include <QPushButton>
#include <QTest>

#include <gtest/gtest.h>

using namespace tarlox;
using namespace tarlox::test;
using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int kReports = 3;
constexpr int kPages = 8;

// Cancel pressed once a page of a run over several reports is under way:
// the run ends early without sending or telling anything, the queues are
// as they were and nothing is left in TempDir.
TEST(OutputRuns, CancelBetweenPagesLeavesQueuesAndTempDirAsTheyWere)
{
    enum class Route { SelectAllPrint, EmailQueue, FaxQueue };
    for (Route route : {Route::SelectAllPrint, Route::EmailQueue, Route::FaxQueue}) {
        SCOPED_TRACE(int(route));
        TestSite site;
        ASSERT_TRUE(site.start());
        Session& s = site.session();
        PutLocal(s, section::Interface, u"AddMessage"_s, u"True"_s);  // every page is prepared
        Queue queue;
        for (int n = 1; n <= kReports; ++n)
            AddFileAndMessage(queue, StoreReport(site, NumberedPages(kPages), 60 + n), u"All"_s, MessageFields{.heat = u"H%1"_s.arg(n)});
        ASSERT_TRUE(WriteQueue(s, QueueMode::Email, queue) && WriteQueue(s, QueueMode::Fax, queue));
        s.imageFilePath.clear();
        for (int n = 1; n <= kReports; ++n) {  // Select All lists the references of the reports
            s.info = InfoRecord{u"H%1"_s.arg(n), u" "_s, u" "_s, u" "_s, u" "_s, QDateTime(QDate(2024, 3, 5), QTime(0, 0)), 60 + n};
            ASSERT_TRUE(AddInfo(s, false));
        }

        QPrinter printer(QPrinter::HighResolution);
        printer.setOutputFormat(QPrinter::PdfFormat), printer.setOutputFileName(site.path(u"printed.pdf"_s)), printer.setResolution(100);
        QPointer<QDialog> form;
        std::function<bool()> idle;
        std::function<void()> start;
        if (route == Route::SelectAllPrint) {
            auto* all = new frmSelectAll(s, SqlCondition{});
            all->usePrinter(&printer);
            start = [all] { all->cmdPrint_Click(); };
            idle = [all] { return !all->printing(); };
            form = all;
        } else if (route == Route::EmailQueue) {
            auto* mail = new frmEmail(s);
            child<QLineEdit>(mail, "txtToAddress")->setText(u"buyer@example.com"_s);
            start = [mail] { mail->cmdEmail_Click(); };
            idle = [mail] { return !mail->sending(); };
            form = mail;
        } else {
            auto* fax = new frmFax(s);
            child<QLineEdit>(fax, "txtNo")->setText(u"5552000"_s);
            start = [fax] { fax->cmdFax_Click(); };
            idle = [fax] { return !fax->sending(); };
            form = fax;
        }
        // Pages are told as "... Page n of FILE" in the form's message
        // line; Cancel is pressed at the first (the fax form's line is a
        // label: there at once).
        int pagesTold = 0;
        const auto count = [&, form](const QString& text) {
            if (text.contains(u"Page "_s) && ++pagesTold == 1)
                child<QPushButton>(form, "cmdCancel")->click();
        };
        for (auto* line : form->findChildren<QLineEdit*>())
            QObject::connect(line, &QLineEdit::textChanged, count);
        for (auto* box : form->findChildren<QPlainTextEdit*>())
            QObject::connect(box, &QPlainTextEdit::textChanged, [box, count] { count(box->toPlainText().section(u'\n', -1)); });
        start();
        if (route == Route::FaxQueue)
            child<QPushButton>(form, "cmdCancel")->click();
        ASSERT_TRUE(QTest::qWaitFor([&] { return form.isNull() || idle(); }, 30000));
        // The reports after the first never started.
        EXPECT_TRUE(route != Route::SelectAllPrint || pagesTold < kReports * kPages) << "the run went on after Cancel";
        EXPECT_TRUE(site.prompter().asked().isEmpty()) << "nothing was sent or failed";
        QTest::qWait(50);  // a worker that was stopped has removed its files
        EXPECT_EQ(std::tuple(ReadQueue(s, QueueMode::Email), ReadQueue(s, QueueMode::Fax), QDir(s.tempDir).entryList(QDir::Files)), std::tuple(queue, queue, QStringList()));
        delete form.data();
    }
}

// The fax form's Find Name opens the contact form in fax mode; the contact
// picked there fills the fax form that opens again.
TEST(OutputRuns, FindNameOfTheFaxFormFillsItFromTheContactPicked)
{
    TestSite site;
    ASSERT_TRUE(site.start());
    Session& s = site.session();
    s.contact = ContactRecord{u"Miller"_s, u"Ann"_s, u"Buyer Steel Inc"_s, u"555-0142"_s, u"ann@buyer.example"_s};
    ASSERT_TRUE(AddContact(s, false));
    mdiMain frame(s);
    QPointer<frmFax> fax = qobject_cast<frmFax*>(frame.ShowForm(u"frmFax"_s));
    ASSERT_TRUE(fax);
    fax->cmdFind_Click();
    ASSERT_TRUE(QTest::qWaitFor([&] { return fax.isNull(); }, 5000));
    auto* contacts = frame.findChild<frmContactFM*>();
    ASSERT_TRUE(contacts && contacts->contactMode() == u"Fax"_s);
    child<QListWidget>(contacts, "lstSearch")->setCurrentRow(0);
    contacts->lstSearch_Click();
    contacts->cmdOK_Click();
    fax = frame.findChild<frmFax*>();
    ASSERT_TRUE(fax);
    EXPECT_EQ(std::tuple(child<QLineEdit>(fax, "txtTo")->text(), child<QLineEdit>(fax, "txtComp")->text(), child<QLineEdit>(fax, "txtNo")->text()),
              std::tuple(u"Ann Miller"_s, u"Buyer Steel Inc"_s, u"555-0142"_s));
}

}  // namespace
