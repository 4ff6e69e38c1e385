#include "data/ImageData.h"
#include "data/InfoData.h"
#include "store/NextImage.h"
#include "support/QtPrinters.h"
#include "support/TestSite.h"

#include <QFile>

using namespace tarlox;
using namespace tarlox::test;

namespace {

const QDateTime Jan2(QDate(2003, 1, 2), QTime(0, 0));

class ImageDataTest : public SiteTest {
protected:
    QString askedText() { return prompter().asked().size() == 1 ? prompter().asked().first().text : QString(); }
    void setNextName(qint64 value) { ASSERT_TRUE(site.execRaw(QStringLiteral("UPDATE \"Options\" SET \"NextName\" = %1").arg(value))); }
    void imageRow(qint32 number) { ASSERT_TRUE(site.execRaw(QStringLiteral("INSERT INTO \"Images\" VALUES (%1, '/x', ' ', '2003-01-02T00:00:00', ' ', '4')").arg(number))); }
    void touch(const QString& path) { ASSERT_TRUE(WriteFile(path, "x")) << path.toStdString(); }
};

// The number GetNextImage gives, 0 for none.
qint32 take(Session& session) { const auto image = GetNextImage(session); return image ? image->number : 0; }

// The counter is corrected by the highest image only; the row gets the server's name of the directory.
TEST_P(ImageDataTest, NumbersSkipHigherImagesAndExistingFiles)
{
    setNextName(100), imageRow(99);
    EXPECT_EQ(take(s()), 100);
    imageRow(101), touch(data(QStringLiteral("TR000102.TIF"))), touch(site.path(QStringLiteral("TEMP/TR000103.TIF")));
    s().dataDir = data();  // ends in a separator
    s().drvMap = QStringLiteral("X=Y;") + site.path(QStringLiteral("SERVER")) + QLatin1Char('=') + site.dir();
    const auto image = GetNextImage(s());
    ASSERT_TRUE(image);
    EXPECT_EQ(std::tuple(image->number, nextName(), QFile::exists(image->tempFilePath), prompter().asked().size()), std::tuple(103, 104, false, 0))
        << "an old work file of the new number is removed";
    EXPECT_EQ((QStringList{image->filePath, image->tempFilePath, image->storedPath}),
              (QStringList{data(QStringLiteral("TR000103.TIF")), site.path(QStringLiteral("TEMP/TR000103.TIF")), site.path(QStringLiteral("SERVER/DATA/"))}));
}

TEST_P(ImageDataTest, SixDigitsAreTheEnd)
{
    setNextName(999999);
    EXPECT_EQ(take(s()), 999999);

    const qint32 past = take(s());
    EXPECT_EQ(std::tuple(past, nextName(), askedText().contains(QStringLiteral("1000000"))), std::tuple(0, 1000000, true));

    // Numbers burnt by files run into the same end.
    setNextName(999998), touch(data(QStringLiteral("TR999998.TIF"))), touch(data(QStringLiteral("TR999999.TIF")));
    EXPECT_EQ(take(s()), 0);

    // So does a table whose highest image is the last number.
    setNextName(5), imageRow(999999);
    const qint32 none = take(s());
    EXPECT_EQ(std::tuple(none, nextName()), std::tuple(0, 5));
}

TEST_P(ImageDataTest, NoCounterRowOrNoReadableDriveMapTakesNoNumber)
{
    s().drvMap = QStringLiteral("F");
    const qint32 none = take(s());
    EXPECT_EQ(std::tuple(none, nextName(), askedText().contains(QStringLiteral("Applying Drive Map"))), std::tuple(0, 1, true));

    s().drvMap = QStringLiteral("F=");  // two characters: no entry, no fault
    EXPECT_EQ(take(s()), 1);

    prompter().clear();
    ASSERT_TRUE(site.execRaw(QStringLiteral("DELETE FROM \"Options\"")));
    EXPECT_TRUE(take(s()) == 0 && askedText().contains(QStringLiteral("Options row is missing")));
}

TEST_P(ImageDataTest, ImageRowRoundTrip)
{
    s().image = ImageRecord{7, QStringLiteral("F:/MTR"), QString(), Jan2, QString(), QStringLiteral("4")};
    ASSERT_TRUE(AddImage(s(), false));
    s().image = {};
    ASSERT_TRUE(ReadImage(s(), 7));
    // Blanks are stored as one space.
    EXPECT_EQ(std::tuple(s().image.path, s().image.volumeId, s().image.entryDate), std::tuple(QStringLiteral("F:/MTR"), QStringLiteral(" "), Jan2));

    std::tie(s().image.size, s().image.volumeId) = std::tuple(QStringLiteral("G"), QStringLiteral("MTR'S DISK"));
    ASSERT_TRUE(UpdateImage(s(), 7));
    s().image = {};
    ASSERT_TRUE(ReadImage(s(), 7));
    // A number without a row leaves the record as it was.
    const bool eight = ReadImage(s(), 8);
    EXPECT_EQ(std::tuple(s().image.volumeId, eight, s().image.imageNumber, prompter().asked().size()), std::tuple(QStringLiteral("MTR'S DISK"), false, 7, 0));

    // The number is the key.
    s().image.path = QStringLiteral("/other");
    EXPECT_FALSE(AddImage(s(), true) || s().image.errorNumber == 0);

    EXPECT_TRUE(DeleteImage(s(), 7) && !ReadImage(s(), 7));
}

TEST_P(ImageDataTest, ImageWithReferencesGoesInWholeOrNotAtAll)
{
    s().image = ImageRecord{11, QStringLiteral("/srv"), QStringLiteral("VOL"), Jan2, QStringLiteral(" "), QStringLiteral("4")};
    s().info = InfoRecord{QStringLiteral("H1 H2"), QStringLiteral("P1 P2"), QStringLiteral("A"), QStringLiteral("V"), {}, Jan2, 11};
    EXPECT_TRUE(AddImageWithInfo(s(), true) && rows("Info", "\"Image #\" = 11") == 2);

    // The same pair twice in one entry breaks the key: neither row stays.
    s().image.imageNumber = s().info.imageNumber = 12;
    std::tie(s().info.heat, s().info.part) = std::tuple(QStringLiteral("H1 H1"), QStringLiteral("P1 P1"));
    EXPECT_FALSE(AddImageWithInfo(s(), true));
    EXPECT_EQ(std::tuple(rows("Images", "\"Image #\" = 12"), rows("Info", "\"Image #\" = 12")), std::tuple(qint64(0), qint64(0)));
    ASSERT_TRUE(DeleteImageAll(s(), 11));
    EXPECT_EQ(std::tuple(rows("Images"), rows("Info")), std::tuple(qint64(0), qint64(0)));
}

TEST_P(ImageDataTest, ListsOfImagesAndReferences)
{
    const auto add = [&](qint32 number, const QString& heat, const QString& part, const QString& po, const QDateTime& date) {
        s().image = ImageRecord{number, QStringLiteral("/srv"), QStringLiteral("VOL"), date, QStringLiteral(" "), QStringLiteral("4")};
        s().info = InfoRecord{heat, part, po, QStringLiteral("Vend"), QStringLiteral("Mfg"), date, number};
        ASSERT_TRUE(AddImageWithInfo(s(), false));
    };
    add(1234, QStringLiteral("B1 A1"), QStringLiteral("P2 P1"), {}, QDateTime(QDate(2003, 1, 2), QTime(14, 5, 6)));
    add(5, QStringLiteral("A1"), QStringLiteral("P1"), QStringLiteral("Z9"), Jan2);
    // A second reference on image 5 with an earlier date.
    s().info = InfoRecord{QStringLiteral("C1"), QStringLiteral("P3"), {}, QStringLiteral("Vend"), {}, QDateTime(QDate(2002, 12, 31), QTime(0, 0)), 5};
    ASSERT_TRUE(AddInfoRecords(s(), false));

    QStringList lines, b1;
    ASSERT_TRUE(LoadImages(s(), lines, SqlCondition{QStringLiteral("\"Info\".\"Vend Name\" = ?"), {QStringLiteral("vend")}})
                && LoadImages(s(), b1, SqlCondition{QStringLiteral("\"Info\".\"Heat #\" = ?"), {QStringLiteral("B1")}}));
    EXPECT_EQ(std::pair(lines, b1), std::pair(QStringList{QStringLiteral("TR000005 12/31/2002"), QStringLiteral("TR001234 1/2/2003 2:05:06 PM")},
                                              QStringList{QStringLiteral("TR001234 1/2/2003 2:05:06 PM")}));

    GridData grid;
    ASSERT_TRUE(LoadImageGrid(s(), grid, SqlCondition{QStringLiteral("\"Info\".\"Part #\" <> ?"), {QStringLiteral("P3")}}));
    ASSERT_EQ(grid.rows.size(), 3);
    EXPECT_EQ(QStringList(grid.rows[0]) << grid.rows[1][5], (QStringList{QStringLiteral("A1"), QStringLiteral("P1"), QStringLiteral(" "), QStringLiteral("Vend"),
                                                            QStringLiteral("Mfg"), QStringLiteral("TR001234"), QStringLiteral("1/2/2003 2:05:06 PM"), QStringLiteral("TR000005")}));

    const QStringList names{QStringLiteral("Order"), QStringLiteral("Mill"), QStringLiteral("Maker")};
    std::tie(s().poShort, s().vendShort, s().mfgShort) = std::tuple(names[0], names[1], names[2]);
    ASSERT_TRUE(LoadImageGrid(s(), grid, {}));
    EXPECT_EQ(std::tuple(grid.headers.mid(2, 3), grid.rows.size()), std::tuple(names, 4));
}

TARLOX_ON_BOTH_ENGINES(ImageDataTest);

}  // namespace
