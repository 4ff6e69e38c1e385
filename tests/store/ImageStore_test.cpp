#include "base/IniFile.h"
#include "data/ImageData.h"
#include "data/InfoData.h"
#include "store/ImageFiles.h"
#include "store/ImageStore.h"
#include "store/NextImage.h"
#include "support/QtPrinters.h"
#include "support/SystemTexts.h"
#include "support/TestSite.h"

#include <QFile>

using namespace tarlox;
using namespace tarlox::test;
using namespace Qt::StringLiterals;

namespace {

const QDateTime Jan2(QDate(2003, 1, 2), QTime(0, 0));

class ImageStoreTest : public SiteTest {
protected:
    QString local(const char* key) const { return ReadIniValue(site.localIni(), QStringLiteral("Info"), QLatin1String(key)).value; }
    std::tuple<qint64, qint64> imageAndInfoRows() { return {rows(u"Images"_s), rows(u"Info"_s)}; }

    void imageRow(qint32 number, const QString& path, const QString& volume) { s().image = ImageRecord{number, path, volume, Jan2, u" "_s, u"4"_s}; ASSERT_TRUE(AddImage(s(), false)); }
    void entry(const QString& heat, const QString& part, const QString& po = {}) { s().info = InfoRecord{heat, part, po, u"Vend"_s, u"Mfg"_s, {}, 0}; }
};

TEST_P(ImageStoreTest, FromTempCopiesTheWorkFileWholeOrNotAtAll)
{
    const auto usePathsOf = [&](qint32 number) { const NewImage image = NewImagePaths(s(), number); std::tie(s().imageFilePath, s().tempFilePath) = std::tie(image.filePath, image.tempFilePath); };
    usePathsOf(5);
    ASSERT_TRUE(WriteFile(s().tempFilePath, "scanned pages") && WriteFile(s().imageFilePath, "older file") && FromTemp(s()));
    EXPECT_EQ(std::tuple(FileBytes(s().imageFilePath), QFile::exists(s().tempFilePath)), std::tuple(QByteArray("scanned pages"), true));

    // Nothing to copy: reported, and the file on disk is kept.
    QFile::remove(s().tempFilePath);
    EXPECT_FALSE(FromTemp(s()));
    EXPECT_EQ(std::tuple(FileBytes(s().imageFilePath), prompter().asked().size(), files(u"DATA"_s), prompter().asked().value(0).text.contains(u"Procedure: FromTemp"_s)),
              std::tuple(QByteArray("scanned pages"), 1, QStringList{QStringLiteral("TR000005.TIF")}, true));

    // One directory for both: nothing to do.
    s().tempDir = s().dataDir, usePathsOf(5);
    EXPECT_TRUE(FromTemp(s()));
}

TEST_P(ImageStoreTest, DeleteFileRemovesCopyAndOriginalWhereTheRowSays)
{
    imageRow(9, data(), QStringLiteral(" "));
    for (const char* name : {"TR000009.TIF", "OR000009.TIF", "TR000010.TIF"}) ASSERT_TRUE(WriteFile(data(QLatin1String(name)), "x"));
    DeleteFile(s(), 9);
    const QStringList left = files(u"DATA"_s);
    DeleteFile(s(), 10);  // no row: nothing happens, nothing is asked
    EXPECT_EQ(std::tuple(left, files(u"DATA"_s), prompter().asked().size()), std::tuple(QStringList{u"TR000010.TIF"_s}, QStringList{u"TR000010.TIF"_s}, 0));
}

TEST_P(ImageStoreTest, GetImageMapsTheStoredDirectoryAndNotesTheImage)
{
    s().drvMap = QStringLiteral("F=C;/srv/tarlox=") + site.dir();
    imageRow(12, QStringLiteral("/srv/tarlox/DATA"), QStringLiteral(" "));
    ASSERT_TRUE(WriteFile(data(QStringLiteral("TR000012.TIF")), "x") && GetImage(s(), 12));
    EXPECT_EQ((QStringList{s().imageFilePath, local("Last Image"), local("ImageDir")} << prompter().titles()),
              (QStringList{data(QStringLiteral("TR000012.TIF")), QStringLiteral("TR000012.TIF"), data().chopped(1)}));
    EXPECT_FALSE(GetImage(s(), 13));
    EXPECT_EQ(std::pair(prompter().asked().size(), prompter().asked().value(0).text), std::pair(qsizetype(1), texts::ImageNotInDatabase));
}

TEST_P(ImageStoreTest, MissingFileIsGoneOrOnAnotherVolume)
{
    imageRow(14, data(), s().dataVolume);
    EXPECT_FALSE(GetImage(s(), 14));
    EXPECT_EQ(std::tuple(prompter().titles(), prompter().textOf(QStringLiteral("Error"))), std::tuple(QStringList{QStringLiteral("Error")}, texts::ImageFileGone));

    prompter().clear();
    imageRow(15, data(), QStringLiteral("MTR ARCHIVE 3"));
    prompter().answer(Answer::Retry), prompter().answer(Answer::Cancel);
    EXPECT_FALSE(GetImage(s(), 15));
    ASSERT_EQ(prompter().asked().size(), 3);
    const Prompt& question = prompter().asked().first();
    EXPECT_EQ(std::pair(question.buttons, question.text.contains(QStringLiteral("'") + s().dataVolume + QStringLiteral("'\rIt should be 'MTR ARCHIVE 3'"))),
              std::pair(Buttons::RetryCancel, true));

    // Retry after the operator has put the volume in finds the file.
    prompter().clear(), prompter().answer(Answer::Retry);
    prompter().onAsk([&](const Prompt&) { WriteFile(data(QStringLiteral("TR000015.TIF")), "restored"); });
    EXPECT_TRUE(GetImage(s(), 15) && prompter().asked().size() == 1);
}

TEST_P(ImageStoreTest, SaveMtrStoresFileAndRowsTogether)
{
    entry(QStringLiteral("H1 H2"), QStringLiteral("P1 P2"), QStringLiteral("A"));
    s().pageSizeCode = QStringLiteral("G");
    QString writtenTo;
    const qint32 number = SaveMTR(s(), 300, [&](const QString& path) { writtenTo = path; return WriteFile(path, "page one, page two"); }).imageNumber;
    ASSERT_EQ(number, 1);
    // Pages are written away from the report's name.
    EXPECT_EQ(std::tuple(writtenTo != s().imageFilePath, QFile::exists(writtenTo), FileBytes(data(QStringLiteral("TR000001.TIF")))), std::tuple(true, false, QByteArray("page one, page two")));
    ASSERT_TRUE(ReadImage(s(), 1));
    EXPECT_EQ((QStringList{s().image.path, s().image.size, local("Last Image"), local("DPI")} << prompter().titles()),
              (QStringList{s().dataDir, QStringLiteral("G"), QStringLiteral("TR000001.TIF"), QStringLiteral("300")}));
    EXPECT_EQ(rows(u"Info"_s, u"\"Image #\" = 1 AND \"P/O #\" = 'A'"_s), 2);

    // The work file can lie in the data directory itself.
    s().tempDir = s().dataDir, entry(QStringLiteral("H3"), QStringLiteral("P3"));
    ASSERT_EQ(SaveMTR(s(), 200, [&](const QString& path) { return WriteFile(writtenTo = path, "third"); }).imageNumber, 2);
    EXPECT_EQ(std::tuple(QFileInfo(writtenTo).fileName().startsWith(QStringLiteral("TR")), FileBytes(data(QStringLiteral("TR000002.TIF"))), files(u"DATA"_s)),
              std::tuple(false, QByteArray("third"), QStringList{QStringLiteral("TR000001.TIF"), QStringLiteral("TR000002.TIF")}));
}

TEST_P(ImageStoreTest, SaveMtrWithoutAFileStoresNothing)
{
    entry(QStringLiteral("H1"), QStringLiteral("P1")), s().currentImage = 77;
    // Half a file and then a failure: the report's name never sees it.
    EXPECT_EQ(SaveMTR(s(), 300, [&](const QString& path) { return WriteFile(path, "half") && false; }).imageNumber, 0);
    ASSERT_EQ(prompter().asked().size(), 1);
    EXPECT_EQ(std::tuple(s().currentImage, prompter().asked().first().text, prompter().asked().first().icon, files(u"DATA"_s)),
              std::tuple(0, texts::ImageNotCreated, Icon::Exclamation, QStringList{}));
    EXPECT_EQ(std::tuple(imageAndInfoRows(), nextName()), std::tuple(std::tuple<qint64, qint64>(0, 0), 2)) << "a number once taken is not given back";

    // An entry that fails its checks takes no number and writes nothing.
    prompter().clear(), entry(QString(), QStringLiteral("P1"));
    bool called = false;
    EXPECT_EQ(SaveMTR(s(), 300, [&](const QString&) { return called = true; }).imageNumber, 0);
    EXPECT_EQ(std::tuple(called, nextName(), prompter().textOf(QStringLiteral("Error"))), std::tuple(false, 2, texts::HeatRequired));
}

TEST_P(ImageStoreTest, SaveMtrWhoseRowsFailLeavesNoFileAndNoRow)
{
    // A reference of image 1 without its image row: the entry's row for the same key can't go in.
    s().info = InfoRecord{QStringLiteral("H1"), QStringLiteral("P1"), {}, QStringLiteral("Vend"), QStringLiteral("Mfg"), Jan2, 1};
    ASSERT_TRUE(AddInfo(s(), false));
    entry(QStringLiteral("H1"), QStringLiteral("P1")), prompter().answer(Answer::Ok);  // add anyway
    EXPECT_EQ(SaveMTR(s(), 300, [&](const QString& path) { return WriteFile(path, "pages"); }).imageNumber, 0);
    EXPECT_EQ(std::tuple(prompter().titles().first(), prompter().asked().last().text.startsWith(QStringLiteral("An error has occured.")), imageAndInfoRows(), files(u"DATA"_s)),
              std::tuple(QStringLiteral("Duplicate Key"), true, std::tuple<qint64, qint64>(0, 1), QStringList{}));
    const auto next = GetNextImage(s());
    EXPECT_TRUE(next && next->number == 2) << "the counter moves on";
}

TARLOX_ON_BOTH_ENGINES(ImageStoreTest);

}  // namespace
