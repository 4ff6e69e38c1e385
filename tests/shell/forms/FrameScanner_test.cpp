#include "data/UserData.h"
#include "shell/forms/FormRegistry.h"
#include "shell/forms/mdiMain.h"
#include "support/SaneTestBackend.h"
#include "support/TestSite.h"

#include <QSignalSpy>

#include <gtest/gtest.h>

using namespace tarlox;
using namespace tarlox::test;

// The SANE test backend stands for an attached scanner: the frame learns of
// it after it is on screen, offers Scan and notes the scanner on the
// machine's row.
TEST(FrameScanner, AnAttachedScannerTurnsScanOn)
{
    UseSaneTestBackend();
    TestSite site;
    ASSERT_TRUE(site.start());
    site.session().machine.scanner = false;
    FormRegistry forms;
    forms.add(QStringLiteral("frmScan"), FormKind::Child, [](const FormContext&) { return new QWidget; });
    mdiMain frame(site.session(), std::move(forms));
    QSignalSpy found(&frame, &mdiMain::scannerChecked);
    frame.MDIForm_Load();
    ASSERT_TRUE(found.wait(30000));
    ASSERT_TRUE(ReadUser(site.session(), QString()));
    EXPECT_EQ(std::tuple(found.first().first().toBool(), frame.menuEntry(QStringLiteral("mnuScan"))->isEnabled(),
                         frame.toolbarButton(QStringLiteral("Scan"))->isVisible(), site.session().machine.scanner),
              std::tuple(true, true, true, true));
}
