#include "support/CliRun.h"
#include "support/TestSite.h"

#include "base/FileTools.h"
#include "data/InfoData.h"
#include "search/SearchData.h"
#include "store/ImageFiles.h"
#include "store/PageImage.h"
#include "store/TiffReader.h"
#include "store/TiffWriter.h"

#include <gtest/gtest.h>

using namespace tarlox;
using namespace tarlox::test;

namespace {

QString S(const char* text) { return QString::fromUtf8(text); }

// An update with --rewrite-tags, then a TIFF import of the files into an
// empty site: the import finds the new values.
TEST(RewriteTagsCli, ATiffImportAfterTheUpdateFindsTheNewValues)
{
    TestSite a, b;
    ASSERT_TRUE(a.start());
    ASSERT_TRUE(b.start());
    const QString data = a.session().dataDir;
    const QDateTime day(QDate(2025, 3, 1), QTime(9, 0));
    // Image 3's file is missing: reported, the others still written.
    ASSERT_TRUE(addRefs(a.session(), {{S("H1"), S("P1"), S("PO1"), S("Acme"), S("M"), 1, day, data}, {S("H2"), S("P1"), S("PO1"), S("Acme"), S("M"), 1, day, data},
                                      {S("H3"), S("P3"), S("PO2"), S("Zeta"), S("M"), 2, day, data}, {S("H4"), S("P4"), S("PO3"), S("Acme"), S("M"), 3, day, data}}));
    QImage page(400, 300, QImage::Format_Mono);
    page.fill(0);
    SetDpi(page, Dpi{200, 200});
    ASSERT_TRUE(WriteTiff(JoinPath(data, ImageFileNameFor(1)), {page, page}, ReportTags::forReport(S("H1 H2"), S("P1"), S("PO1"), S("Acme"), S("M"))));
    ASSERT_TRUE(WriteTiff(JoinPath(data, ImageFileNameFor(2)), {page}, ReportTags::forReport(S("H3"), S("P3"), S("PO2"), S("Zeta"), S("M"))));
    a.session().db().close();

    const struct { QStringList args; int code; const char* out; } cases[] = {
        {{S("update"), S("vendor"), S("--pair"), S("Acme"), S("Acme Group"), S("--rewrite-tags")}, 1, "1 of 2 image files given the new tags, 1 skipped"},
        {{S("update"), S("heat"), S("--pair"), S("H2"), S("H8"), S("--pair"), S("H8"), S("H9"), S("--rewrite-tags")}, 0, "1 of 1 image files"},
    };
    for (const auto& c : cases) {
        const CliRun r = RunCli(QStringList{S("--ini"), a.localIni()} + c.args);
        EXPECT_EQ(std::tuple(r.code, r.out.contains(S(c.out))), std::tuple(c.code, true)) << r.err.toStdString() << r.out.toStdString();
    }
    const CliRun imported = RunCli({S("--ini"), b.localIni(), S("import-tif"), data});
    EXPECT_EQ(imported.code, 0) << imported.out.toStdString() << imported.err.toStdString();

    QList<InfoRow> rows;
    qint64 total = 0;
    LoadInfo(b.session(), SqlCondition{}, rows, 100, total);
    QStringList found;
    for (const InfoRow& r : std::as_const(rows))
        found << QStringLiteral("%1 %2 %3 %4 %5").arg(r.imageNumber).arg(r.heat, r.part, r.vend.trimmed(), r.po.trimmed());
    found.sort();
    EXPECT_EQ(found, (QStringList{S("1 H1 P1 Acme Group PO1"), S("1 H9 P1 Acme Group PO1"), S("2 H3 P3 Zeta PO2")}));
    auto reader = TiffReader::open(JoinPath(b.session().dataDir, ImageFileNameFor(1)));
    EXPECT_EQ(reader ? reader->pageCount() : -1, 2);
}

}  // namespace
