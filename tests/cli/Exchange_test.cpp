#include "support/CliRun.h"

#include <QDir>
#include <QImage>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace tarlox::test;
using namespace Qt::StringLiterals;

// The exchange commands on two installations: summaries and exit codes.
TEST(CliExchange, EveryCommandSaysWhatWentThroughAndExitsOneWhenAnythingWasSkipped)
{
    QTemporaryDir a, b, out;
    const auto at = [](const QTemporaryDir& site) { return QList<QPair<QString, QString>>{{u"TARLOX"_s, site.path()}}; };
    ASSERT_EQ(RunCli({u"init"_s}, at(a)).code, 0);
    ASSERT_EQ(RunCli({u"init"_s}, at(b)).code, 0);
    QImage page(200, 200, QImage::Format_Mono);
    page.fill(1);
    ASSERT_TRUE(page.save(out.filePath(u"page.png"_s)));
    for (const QString& heat : {u"H1"_s, u"H2"_s})
        ASSERT_EQ(RunCli({u"add"_s, u"--heat"_s, heat, u"--part"_s, u"P"_s, out.filePath(u"page.png"_s)}, at(a)).code, 0);
    ASSERT_EQ(RunCli({u"add"_s, u"--heat"_s, u"B1"_s, u"--part"_s, u"P"_s, out.filePath(u"page.png"_s)}, at(b)).code, 0);
    const QString exportDir = out.filePath(u"export"_s);
    QDir().mkpath(exportDir);

    struct Step { const char* what; QStringList arguments; bool onB; int code; const char* firstLine; };
    const Step steps[] = {
        {"export", {u"export"_s, exportDir, u"--heat"_s, u"H*"_s}, false, 0, "2 of 2 images exported, 0 skipped"},
        {"an export file is never emptied unasked", {u"export"_s, exportDir}, false, 2, ""},
        {"number 1 is taken there", {u"import"_s, exportDir}, true, 1, "1 of 2 images imported, 1 skipped"},
        {"renumbered", {u"import"_s, exportDir, u"--renumber"_s}, true, 0, "2 of 2 images imported, 0 skipped"},
        {"increment and renumber", {u"import"_s, exportDir, u"--renumber"_s, u"--increment"_s, u"5"_s}, true, 2, ""},
        {"delete needs --yes", {u"delete"_s, u"--heat"_s, u"H1"_s}, false, 2, ""},
        {"delete", {u"delete"_s, u"--heat"_s, u"H1"_s, u"--yes"_s}, false, 0, "1 of 1 images deleted, 0 skipped"},
        {"move", {u"move"_s, out.path(), u"--image"_s, u"2"_s}, false, 0, "1 of 1 images moved, 0 skipped"},
    };
    for (const Step& step : steps) {
        SCOPED_TRACE(step.what);
        const CliRun run = RunCli(step.arguments, at(step.onB ? b : a));
        EXPECT_EQ(std::tuple(run.code, *step.firstLine ? run.out.section(u'\n', 0, 0) : QString()), std::tuple(step.code, QString::fromUtf8(step.firstLine)))
            << run.err.toStdString() << run.out.toStdString();
    }
    EXPECT_TRUE(QFile::exists(out.filePath(u"TR000002.TIF"_s)));
}
