#include "output/MessageQueue.h"
#include "output/OutputPreparation.h"
#include "data/Settings.h"
#include "store/TestPages.h"
#include "store/TiffReader.h"
#include "store/TiffWriter.h"
#include "support/TestSite.h"

#include <QDir>
#include <QProcess>

#include <gtest/gtest.h>

using namespace tarlox;
using namespace tarlox::test;

namespace {

// A report whose page n carries a black square at (20 * n, 20 * n), so pages tell themselves apart.
QString WriteReport(const QString& path, int pages, int width = 850, int height = 1100, double dpi = 100)
{
    QList<QImage> list;
    for (int n = 1; n <= pages; ++n) {
        QImage page = NewMonoPage(width, height);
        FillBlack(page, 20 * n, 20 * n, 15, 15);
        FillBlack(page, 0, height - 10, width, 10);  // a bar at the bottom
        SetDpi(page, Dpi{dpi, dpi});
        list << page;
    }
    EXPECT_TRUE(WriteTiff(path, list).ok());
    return path;
}

QList<QImage> ReadAll(const QString& path)
{
    QList<QImage> pages;
    auto reader = TiffReader::open(path);
    for (int p = 0; reader && p < reader->pageCount(); ++p)
        pages << *reader->readPage(p);
    return pages;
}

// Length of the black run on row y that starts at x.
int BlackRun(const QImage& page, int x, int y)
{
    int n = 0;
    while (x + n < page.width() && IsBlackAt(page, x + n, y))
        ++n;
    return n;
}

// The first row at or below from with a black pixel in columns [left, right).
int FirstBlackRow(const QImage& page, int left, int right, int from = 0)
{
    for (int y = from; y < page.height(); ++y)
        for (int x = left; x < right; ++x)
            if (IsBlackAt(page, x, y))
                return y;
    return -1;
}

class OutputPreparationTest : public testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(site.start());
        ASSERT_TRUE(QDir().mkpath(s().tempDir));
        ASSERT_EQ(MessageFontProblem(), QString()) << "install the Debian package fonts-liberation";
    }
    Session& s() { return site.session(); }
    void set(const QString& section, const char* key, const QString& value) { PutLocal(s(), section, QLatin1String(key), value); }
    QStringList tempFiles() { return QDir(s().tempDir).entryList(QDir::Files); }

    TestSite site;
};

TEST_F(OutputPreparationTest, ChosenPagesOnlyInOrderCopiedAsStored)
{
    const QString report = WriteReport(site.path(QStringLiteral("TR000123.TIF")), 5);
    const QList<QImage> source = ReadAll(report);
    struct Case {
        const char* pages;
        int sequence;
        const char* name;
        QList<int> expected;
    };
    for (const Case& c : {Case{"2,3", 0, "TM000123.TIF", {2, 3}}, Case{"All", 2, "TM000123_2.TIF", {1, 2, 3, 4, 5}},
                          Case{"5,1,9", 1, "TM000123_1.TIF", {1, 5}}}) {
        IoResult<QString> made = SaveFile(s(), report, QLatin1String(c.pages), c.sequence, false, {});
        ASSERT_TRUE(made.ok()) << made.error().toStdString();
        EXPECT_EQ(QFileInfo(*made).fileName(), QLatin1String(c.name));
        const QList<QImage> pages = ReadAll(*made);
        ASSERT_EQ(pages.size(), c.expected.size()) << c.pages;
        for (int i = 0; i < pages.size(); ++i)
            EXPECT_TRUE(SamePixels(pages[i], source[c.expected[i] - 1])) << c.pages << " page " << i;
    }
    // An empty selection makes no file and says so.
    EXPECT_FALSE(SaveFile(s(), report, QStringLiteral("7"), 0, false, {}).ok());
    EXPECT_TRUE(site.prompter().textOf(QStringLiteral("Error")).startsWith(QStringLiteral("Image file '")));
}

TEST_F(OutputPreparationTest, StampKeepsItsSizeOnPaperAndSqueezesThePage)
{
    // A 1-inch by 0.2-inch black stamp at 300 dpi.
    QImage stamp = NewMonoPage(300, 60);
    FillBlack(stamp, 0, 0, 300, 60);
    SetDpi(stamp, Dpi{300, 300});
    const QString stampPath = site.path(QStringLiteral("stamp.tif"));
    ASSERT_TRUE(WriteTiff(stampPath, {stamp}).ok());
    set(section::Info, "Authorization", QStringLiteral("S"));
    set(section::Info, "AuthorizationStamp", stampPath);
    for (const double dpi : {300.0, 200.0}) {
        const QString report = WriteReport(site.path(QStringLiteral("TR%1.TIF").arg(int(dpi), 6, 10, QLatin1Char('0'))), 1,
                                           int(8.5 * dpi), int(11 * dpi), dpi);
        IoResult<QString> made = SaveFile(s(), report, QStringLiteral("All"), 0, false, {});
        ASSERT_TRUE(made.ok()) << made.error().toStdString();
        const QImage page = ReadAll(*made).value(0);
        ASSERT_EQ(page.size(), QSize(int(8.5 * dpi), int(11 * dpi)));
        EXPECT_FALSE(IsBlackAt(page, 49, 1));
        EXPECT_NEAR(BlackRun(page, 50, 1), dpi, 2) << dpi;  // one inch at any resolution
        // The page's square at (20, 20) stands under the stamp, squeezed.
        const double squeeze = page.height() / (page.height() + 0.2 * dpi);
        EXPECT_NEAR(FirstBlackRow(page, 21, 36, int(0.2 * dpi * squeeze) + 1), (0.2 * dpi + 20) * squeeze, 2) << dpi;
        EXPECT_TRUE(IsBlackAt(page, 100, page.height() - 1));  // the bottom is kept
    }
    // With the message block as well, the message stands above the stamp.
    set(section::Interface, "AddMessage", QStringLiteral("True"));
    MessageFields fields;
    fields.heat = QStringLiteral("H12345");
    IoResult<QString> made = SaveFile(s(), site.path(QStringLiteral("TR000300.TIF")), QStringLiteral("All"), 0, false, fields);
    ASSERT_TRUE(made.ok()) << made.error().toStdString();
    const QImage page = ReadAll(*made).value(0);
    const int textTop = FirstBlackRow(page, 50, page.width());
    const int stampTop = [&] {
        for (int y = 0; y < page.height(); ++y)
            if (BlackRun(page, 50, y) >= 290)
                return y;
        return -1;
    }();
    EXPECT_GE(textTop, 0);
    EXPECT_GT(stampTop, textTop + TextHeight(page.width(), 8));
}

TEST_F(OutputPreparationTest, MessageRowsHoldWholeFields)
{
    EXPECT_EQ(TextHeight(1700, 0), 24);
    const int width = 1700;
    const QStringList values = {QStringLiteral("ACME Steel Distribution Incorporated"), QStringLiteral("SO-778812"),
                                QStringLiteral("INV-2231"), QStringLiteral("Twelve foot bar stock, cold drawn, 1018"),
                                QStringLiteral("PO-99812734"), QStringLiteral("1,250 pieces"), QStringLiteral("H7781234A"),
                                QStringLiteral("TAG-0001")};
    QStringList lines;
    int index = 0;
    QStringList texts;
    for (const QString& value : values) {
        AddTextToString(lines, QStringLiteral("Field"), value, index, width, 14);
        texts << QStringLiteral("Field: ") + value;
    }
    ASSERT_GT(index, 0);  // it wrapped
    QStringList seen;
    for (int i = 0; i <= index; ++i) {
        EXPECT_FALSE(CheckTextWidth(lines[i].trimmed(), width, 14)) << lines[i].toStdString();
        seen += lines[i].split(QStringLiteral("    "), Qt::SkipEmptyParts);
    }
    EXPECT_EQ(seen, texts);  // every field whole, in order
    // An empty value adds nothing, whatever its label.
    AddTextToString(lines, QStringLiteral("Qty"), QString(), index, width, 14);
    EXPECT_EQ(lines.join(QString()).count(QStringLiteral("Qty")), 0);
}

TEST_F(OutputPreparationTest, MessageStringsKeepEveryKey)
{
    MessageFields all;
    int n = 0;
    for (QString* f : {&all.to, &all.order, &all.invoice, &all.lineNum, &all.custPO, &all.part, &all.partDesc, &all.quantity,
                       &all.heat, &all.tag, &all.text})
        *f = QStringLiteral("v%1").arg(++n);
    EXPECT_EQ(ReadMessageString(BuildMessageString(all)), all);
    EXPECT_EQ(BuildMessageString({}), QStringLiteral("\"C\"D\"N\"L\"U\"P\"E\"Q\"H\"G\"K"));
    EXPECT_EQ(ReadMessageString(QString()), MessageFields{});
    MessageFields quoted;
    quoted.partDesc = QStringLiteral("1/2\" bar");
    EXPECT_EQ(ReadMessageString(BuildMessageString(quoted)).partDesc, QStringLiteral("1/2'' bar"));
    quoted.heat = QStringLiteral("A;B");
    EXPECT_TRUE(CheckMessageFields(quoted).contains(QStringLiteral("Heat #")));
    EXPECT_TRUE(CheckMessageFields(all).isEmpty());
}

TEST_F(OutputPreparationTest, QueuesAskBeforeMergingAndSurviveARestart)
{
    const QueueItem a{QStringLiteral("/d/TR000001.TIF"), {}};
    MessageFields heat;
    heat.heat = QStringLiteral("H1");
    const QueueItem b{QStringLiteral("/d/TR000002.TIF"), heat};
    ASSERT_TRUE(BuildQueue(s(), QueueMode::Email, {a, a, b}).has_value());  // empty queue: no question
    EXPECT_TRUE(site.prompter().asked().isEmpty());
    const Queue first = ReadQueue(s(), QueueMode::Email);
    EXPECT_EQ(first.count(), 2);
    EXPECT_EQ(first.files, QStringLiteral("/d/TR000001.TIF;All;/d/TR000002.TIF;All"));

    struct Case {
        Answer answer;
        int count;  // images queued afterwards
    };
    for (const Case& c : {Case{Answer::Cancel, 2}, Case{Answer::Yes, 3}, Case{Answer::No, 1}}) {
        site.prompter().answer(c.answer);
        const auto result = BuildQueue(s(), QueueMode::Email, {QueueItem{QStringLiteral("/d/TR000003.TIF"), {}}});
        EXPECT_EQ(result.has_value(), c.answer != Answer::Cancel);
        EXPECT_EQ(site.prompter().textOf(QStringLiteral("Email Queued Images?")).left(42),
                  QStringLiteral("There are other images queued up to email."));
        // Another start of the program reads the same queue.
        ScriptedPrompter other;
        auto again = site.openAnother(other);
        EXPECT_EQ(ReadQueue(*again, QueueMode::Email).count(), c.count);
    }
    EXPECT_TRUE(ReadQueue(s(), QueueMode::Fax).isEmpty());
}

TEST_F(OutputPreparationTest, QueueBecomesFilesAndAStoppedRunLeavesNone)
{
    const QString one = WriteReport(site.path(QStringLiteral("TR000011.TIF")), 3);
    const QString two = WriteReport(site.path(QStringLiteral("TR000012.TIF")), 2);
    set(section::Info, "PDF", QStringLiteral("True"));
    Queue queue;
    AddFileAndMessage(queue, one, QStringLiteral("1,3"), {});
    AddFileAndMessage(queue, site.path(QStringLiteral("TR000099.TIF")), QStringLiteral("All"), {});  // gone
    AddFileAndMessage(queue, two, QStringLiteral("All"), {});
    IoResult<QStringList> made = SaveTempFiles(s(), queue.files, queue.messages, true);
    ASSERT_TRUE(made.ok());
    ASSERT_EQ(made->size(), 2);  // the missing file is left out, the others go on
    EXPECT_TRUE(made->at(0).endsWith(QStringLiteral("TM000011_1.pdf")));
    EXPECT_TRUE(made->at(1).endsWith(QStringLiteral("TM000012_3.pdf")));
    QProcess check;
    check.start(QStringLiteral("qpdf"), {QStringLiteral("--check"), made->at(0)});
    ASSERT_TRUE(check.waitForFinished());
    EXPECT_EQ(check.exitCode(), 0);
    EXPECT_TRUE(check.readAllStandardOutput().contains("No syntax or stream encoding errors"));
    for (const QString& file : *made)
        QFile::remove(file);

    int steps = 0;
    IoResult<QStringList> stopped =
        SaveTempFiles(s(), queue.files, queue.messages, false, [&](const QString&) { return ++steps < 4; });
    EXPECT_EQ(stopped.error(), kOutputCancelled);
    EXPECT_EQ(tempFiles(), QStringList());
}

}  // namespace
