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
        session.printer = QStringLiteral("Office");
        session.printerBin = 1;
        session.serverPrinter = QStringLiteral("Shipping");
        session.serverPrinterBin = 0;
    }
    QString read(const char* key) { return ReadIniValue(session.localIni, QStringLiteral("Info"), QLatin1String(key)).value; }

    QTemporaryDir dir;
    ScriptedPrompter prompter;
    Session session{prompter};
};

TEST_F(PrinterChoice, SamePrinterAndBinAsksNothing)
{
    EXPECT_FALSE(KeepPrinterChoice(session, false, QStringLiteral("Office"), 1));
    EXPECT_FALSE(KeepPrinterChoice(session, true, QStringLiteral("Shipping"), 0));
    EXPECT_TRUE(prompter.asked().isEmpty());
}

TEST_F(PrinterChoice, AnotherBinAsksAndOkKeepsPrinterAndBin)
{
    prompter.answer(Answer::Ok);
    EXPECT_TRUE(KeepPrinterChoice(session, false, QStringLiteral("Office"), 3));
    ASSERT_EQ(prompter.asked().size(), 1);
    EXPECT_EQ(prompter.asked().first().text,
              QStringLiteral("You changed the printer to: \r\n\r\n\tOffice\r\n\r\nDo you want to make this the default printer for Tarlox?"));
    EXPECT_EQ(prompter.asked().first().buttons, Buttons::OkCancel);
    EXPECT_EQ(prompter.asked().first().icon, Icon::Question);
    EXPECT_EQ(read("Printer") + read("PrinterBin"), QStringLiteral("Office3"));
    EXPECT_EQ(session.printerBin, 3);
    EXPECT_TRUE(read("ServerPrinter").isEmpty());
}

TEST_F(PrinterChoice, ServerRoleHasItsOwnKeysAndCancelKeepsNothing)
{
    prompter.answer(Answer::Cancel);
    EXPECT_FALSE(KeepPrinterChoice(session, true, QStringLiteral("Front Desk"), 0));
    EXPECT_TRUE(prompter.asked().first().text.endsWith(QStringLiteral("the default server printer for Tarlox?")));
    EXPECT_EQ(session.serverPrinter, QStringLiteral("Shipping"));
    EXPECT_TRUE(read("ServerPrinter").isEmpty());

    prompter.answer(Answer::Ok);
    EXPECT_TRUE(KeepPrinterChoice(session, true, QStringLiteral("Front Desk"), 2));
    EXPECT_EQ(read("ServerPrinter") + read("ServerPrinterBin"), QStringLiteral("Front Desk2"));
    EXPECT_EQ(session.serverPrinter, QStringLiteral("Front Desk"));
    EXPECT_EQ(session.printer, QStringLiteral("Office"));
    EXPECT_TRUE(read("Printer").isEmpty());
}
