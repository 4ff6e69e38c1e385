#include "output/forms/frmPack.h"

#include "output/PackSite.h"
#include "output/MailRead.h"
#include "output/PdfTools.h"
#include "data/ContactData.h"
#include "data/Settings.h"
#include "support/FormControls.h"
#include "support/MailServers.h"
#include "support/TestSite.h"

#include <QComboBox>
#include <QDir>
#include <QJsonArray>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QRegularExpression>
#include <QTableWidget>

using namespace tarlox;
using namespace tarlox::test;
using namespace Qt::Literals::StringLiterals;

namespace {

class PackForm : public SiteTest {};

// The clerk's way through the form: a heat column the header doesn't name
// chosen by hand, the colours of the lines, a pick, a drop, the customer's
// address from the address book, and the pack made.
TEST_P(PackForm, LinesArePickedDroppedAndMade)
{
    ASSERT_GT(StorePackReport(s(), u"H1"_s, 2), 0);
    const qint32 older = StorePackReport(s(), u"H2"_s, 5);
    ASSERT_GT(StorePackReport(s(), u"H2"_s, 8), older);
    s().contact = ContactRecord{u"Miller"_s, u"Ann"_s, u"Acme Steel"_s, {}, u"ann@acme.example"_s};
    ASSERT_TRUE(AddContact(s(), false));

    frmPack form(s(), FindPackHeat(s()));
    child<QPlainTextEdit>(form, "txtLines")->setPlainText(u"Ln#\tMelt\n1\tH1\n2\tH2\n3\tH9\n"_s);
    form.cmdRead_Click();
    EXPECT_TRUE(form.plan().entries.isEmpty()) << "no heat column yet";
    auto* grid = child<QTableWidget>(form, "grdLines");
    auto* melt = qobject_cast<QComboBox*>(child<QTableWidget>(form, "grdColumns")->cellWidget(0, 1));
    ASSERT_TRUE(melt);
    melt->setCurrentIndex(melt->findText(u"Heat"_s));  // reads the lines again
    ASSERT_EQ(form.plan().entries.size(), 3);
    const auto colour = [&](int row) { return grid->item(row, 0)->background().color(); };
    // Found: no colour; several and none differ.
    EXPECT_TRUE(colour(0) == QColor(Qt::black) && colour(1) != colour(2) && colour(1) != QColor(Qt::black));

    auto* pick = qobject_cast<QComboBox*>(grid->cellWidget(1, 4));
    ASSERT_TRUE(pick);
    pick->setCurrentIndex(1);
    EXPECT_EQ(std::pair(form.plan().entries[1].report()->image, colour(1)), std::pair(older, QColor(Qt::black))) << "a pick settles the line";
    grid->setCurrentCell(0, 0);
    form.cmdDrop_Click();

    child<QComboBox>(form, "cboCustomer")->setCurrentText(u"acme steel"_s);
    EXPECT_EQ(child<QLineEdit>(form, "txtEmail")->text(), u"ann@acme.example"_s);
    const QString pdf = site.path(u"pack.pdf"_s);
    prompter().answerFile(pdf);
    form.cmdMake_Click();
    EXPECT_TRUE(Tool(u"pdfinfo"_s, {pdf}).contains(QRegularExpression(u"Pages:\\s+3\\n"_s))) << "the cover and line 2 only";

    // By e-mail: the pack goes out as one PDF attachment and leaves nothing in TempDir.
    SmtpTestServer server({});
    ASSERT_TRUE(server.start());
    for (auto [key, value] : {std::pair{u"EmailServer"_s, u"127.0.0.1"_s}, {u"ServerPort"_s, QString::number(server.port())}, {u"From Address"_s, u"qa@example.com"_s}})
        PutLocal(s(), u"Email"_s, key, value);
    child<QComboBox>(form, "cboMakeTo")->setCurrentIndex(2);
    form.cmdMake_Click();
    ASSERT_EQ(server.messages().size(), 1) << child<QPlainTextEdit>(form, "txtStatus")->toPlainText().toStdString();
    const QJsonObject mail = ReadMail(server.messages().first());
    EXPECT_EQ(std::tuple(mail[u"to"_s].toString().contains(u"ann@acme.example"_s), mail[u"files"_s].toArray().size(),
                         mail[u"files"_s].toArray().first().toString().contains(u".pdf application/pdf"_s), QDir(s().tempDir).entryList(QDir::Files),
                         child<QPlainTextEdit>(form, "txtStatus")->toPlainText().endsWith(u"The pack was sent to ann@acme.example."_s)),
              std::tuple(true, 1, true, QStringList(), true));
}

TARLOX_ON_BOTH_ENGINES(PackForm);

}  // namespace
