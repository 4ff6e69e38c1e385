#include "shell/PrinterChoice.h"
#include "base/IniFile.h"
#include "data/Session.h"
#include "support/ScriptedPrompter.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace tarlox;
using namespace tarlox::test;

class PrinterChoice : public ::testing::Test {
protected:
    void SetUp() override
    {
        session.localIni = dir.filePath(QStringLiteral("TARLOX.INI"));
        std::tie(session.printer, session.printerBin, session.serverPrinter, session.serverPrinterBin) = std::tuple(QStringLiteral("Office"), 1, QStringLiteral("Shipping"), 0);
    }
    QString read(const char* key) { return ReadIniValue(session.localIni, QStringLiteral("Info"), QLatin1String(key)).value; }

    QTemporaryDir dir;
    ScriptedPrompter prompter;
    Session session{prompter};
};

// The same printer and bin asks nothing; another asks, and OK keeps both under
// the keys of the role, Cancel nothing.
TEST_F(PrinterChoice, AnotherBinAsksAndOkKeepsPrinterAndBinWithKeysOfItsRole)
{
    EXPECT_EQ((std::tuple{KeepPrinterChoice(session, false, QStringLiteral("Office"), 1), KeepPrinterChoice(session, true, QStringLiteral("Shipping"), 0), prompter.asked().size()}),
              std::tuple(false, false, 0));
    prompter.answer(Answer::Ok);
    EXPECT_TRUE(KeepPrinterChoice(session, false, QStringLiteral("Office"), 3));
    ASSERT_EQ(prompter.asked().size(), 1);
    EXPECT_EQ(std::tuple(prompter.asked().first().text, prompter.asked().first().buttons, prompter.asked().first().icon),
              std::tuple(QStringLiteral("You changed the printer to: \r\n\r\n\tOffice\r\n\r\nDo you want to make this the default printer for Tarlox?"), Buttons::OkCancel, Icon::Question));
    EXPECT_EQ(std::tuple(read("Printer") + read("PrinterBin"), session.printerBin, read("ServerPrinter")), std::tuple(QStringLiteral("Office3"), 3, QString()));
    prompter.answer(Answer::Cancel);
    EXPECT_FALSE(KeepPrinterChoice(session, true, QStringLiteral("Front Desk"), 0));
    EXPECT_EQ(std::tuple(prompter.asked().last().text.endsWith(QStringLiteral("the default server printer for Tarlox?")), session.serverPrinter, read("ServerPrinter")),
              std::tuple(true, QStringLiteral("Shipping"), QString()));

    prompter.answer(Answer::Ok);
    EXPECT_TRUE(KeepPrinterChoice(session, true, QStringLiteral("Front Desk"), 2));
    EXPECT_EQ((QStringList{read("ServerPrinter") + read("ServerPrinterBin"), session.serverPrinter, session.printer, read("Printer")}),
              (QStringList{QStringLiteral("Front Desk2"), QStringLiteral("Front Desk"), QStringLiteral("Office"), QStringLiteral("Office")}));
}
