#include "exchange/ExportFile.h"
#include "support/FullDisk.h"
#include "support/TestSite.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace tarlox;
using namespace tarlox::test;
using namespace Qt::StringLiterals;

namespace {

QDateTime at(int year, int month, int day, int hour = 0, int minute = 0, int second = 0) { return QDateTime(QDate(year, month, day), QTime(hour, minute, second)); }

ExportedInfo info(const QString& text, const QDateTime& date) { return ExportedInfo{text, text, text, text, text, date}; }

void writeImages(const QString& path, ExportFileWriter::Existing existing, const QList<ExportedImage>& images)
{
    IoResult<ExportFileWriter> writer = ExportFileWriter::open(path, existing);
    for (const ExportedImage& image : images)
        ASSERT_TRUE(writer && writer->write(image));
}

QList<ExportFileReader::Entry> readEntries(const QString& path)
{
    IoResult<ExportFileReader> reader = ExportFileReader::open(path);
    QList<ExportFileReader::Entry> entries;
    for (auto entry = reader ? reader->next() : std::nullopt; entry; entry = reader->next())
        entries << *entry;
    return entries;
}

// One line for each entry: the image with the heats of its references, or the lines skipped.
QStringList summary(const QString& path)
{
    QStringList lines;
    for (const ExportFileReader::Entry& entry : readEntries(path)) {
        if (const auto* skipped = std::get_if<SkippedLines>(&entry)) {
            lines << u"lines %1-%2: %3"_s.arg(skipped->firstLine).arg(skipped->lastLine).arg(skipped->reason);
            continue;
        }
        QString line = u"IMG %1:"_s.arg(std::get<ExportedImage>(entry).imageNumber);
        for (const ExportedInfo& reference : std::get<ExportedImage>(entry).infos)
            line += QLatin1Char(' ') + reference.heat;
        lines << line;
    }
    return lines;
}

ExportedImage image(qint32 number, const QString& heat) { return ExportedImage{number, at(2004, 3, 9), u"G"_s, u"4"_s, {info(heat, at(2004, 3, 9))}}; }

class ExportFileTest : public ::testing::Test {
protected:
    QTemporaryDir dir;
    const QString path = dir.filePath(QString::fromUtf16(kExportFileName));
};

}  // namespace

TEST_F(ExportFileTest, ImagesComeBackAsWrittenWithReferencesNewestFirst)
{
    const ExportedInfo old = info(u"old"_s, at(2001, 1, 1)), mid = info(u"mid"_s, at(2005, 6, 7, 0, 0, 1)),
                       newest = info(u"new"_s, at(2010, 1, 1, 9));
    const QList<ExportedImage> written{
        {1, at(2004, 3, 9), u" "_s, u"4"_s,
         {{u"H-100"_s, u"A,B, C"_s, u"O'Neil"_s, u"#5 #6"_s, u"Stål Ærø Ünal 鋼"_s, at(2004, 3, 9, 14, 5)}}},
        {2, at(1999, 12, 31, 23, 59, 59), u"G"_s, u"4"_s,
         {{u"\""_s, u"He said \"hi\" ok"_s, u"LINE\r\nBREAK"_s, u"\"V\""_s, u"M\""_s, QDateTime()}}},
        {999999, QDateTime(), u"A"_s, u"4"_s, {old, newest, mid}},
    };
    QList<ExportedImage> expected = written;
    expected[1].infos[0].po = u"LINE  BREAK"_s;
    expected[2].infos = {newest, mid, old};

    writeImages(path, ExportFileWriter::Existing::Overwrite, written);
    QList<ExportedImage> read;
    for (const ExportFileReader::Entry& entry : readEntries(path))
        read << std::get<ExportedImage>(entry);
    EXPECT_TRUE(read == expected);
}

TEST_F(ExportFileTest, WritesTheLinesByteForByte)
{
    const ExportedImage written{123, at(2004, 3, 9), u"G"_s, u"4"_s,
                                {{u"H1"_s, u"P2"_s, u"P3"_s, u"Stål"_s, u"M5"_s, at(2004, 3, 9)},
                                 {u"h"_s, u"p"_s, u"o"_s, u"v"_s, u"m"_s, at(2004, 3, 10, 14, 5)},
                                 {u"x"_s, {}, {}, {}, {}, QDateTime()}}};
    writeImages(path, ExportFileWriter::Existing::Overwrite, {written});
    EXPECT_EQ(FileBytes(path),
              "\"IMG\",123,#2004-03-09#,\"G\",\"4\"\r\n"
              "\"INF\",123,\"h\",\"p\",\"o\",\"v\",\"m\",#2004-03-10 14:05:00#\r\n"
              "\"INF\",123,\"H1\",\"P2\",\"P3\",\"St\xC3\xA5l\",\"M5\",#2004-03-09#\r\n"
              "\"INF\",123,\"x\",\"\",\"\",\"\",\"\",##\r\n");
}

// Lines that are not UTF-8 were written in Windows-1252 by older installations;
// some editors put a byte order mark in front.
TEST_F(ExportFileTest, ReadsBothEncodingsAndSkipsBadImagesWhole)
{
    ASSERT_TRUE(WriteFile(path, "\xEF\xBB\xBF\"IMG\",1,#2004-03-09#,\"G\",\"4\"\r\n"
                   "\"INF\",1,\"St\xE5l\",\"P\",\"O\",\"V\",\"M\",#2004-03-09#\r\n"
                   "\"INF\",1,\"\x93Q\x94\x80\",\"P\",\"O\",\"V\",\"M\",#2004-03-09#\r\n"
                   "\"INF\",1,\"\xC3\xA6\",\"P\",\"O\",\"V\",\"M\",#2004-03-09#\r\n"
                   "\"IMG\",2,#2004-03-09#,\"G\",\"4\"\r\n"
                   "\"INF\",2,\"B1\",\"P\",\"O\",\"V\",\"M\",#2004-03-09#\r\n"
                   "\"INF\",2,\"B2\",\"P\",\"O\r\n"
                   "\"INF\",2,\"B3\",\"P\",\"O\",\"V\",\"M\",#2004-03-09#\r\n"
                   "\"IMG\",3,#2004-13-45#,\"G\",\"4\"\r\n"
                   "\"INF\",3,\"C1\",\"P\",\"O\",\"V\",\"M\",#2004-03-09#\r\n"
                   "\"INF\",9,\"Z1\",\"P\",\"O\",\"V\",\"M\",#2004-03-09#\r\n"
                   "garbage\r\n"
                   "\"IMG\",x5,#2004-03-09#,\"G\",\"4\"\r\n"
                   "\"INF\",5,\"E1\",\"P\",\"O\",\"V\",\"M\",#2004-03-09#\r\n"
                   "\r\n"
                   "\"IMG\",4,#2004-03-09 10:00:00#,\"A\",\"4\"\r\n"
                   "\"INF\",4,\"D1\",\"P\",\"O\",\"V\",\"M\",#2004-03-09#"));
    EXPECT_EQ(summary(path), (QStringList{u"IMG 1: Stål “Q”€ æ"_s, u"lines 5-8: line 7: an INF line has 8 fields, this one 5"_s,
                                          u"lines 9-10: line 9: the entry date \"2004-13-45\" is not a date"_s,
                                          u"lines 11-11: line 11: a reference of image 9 without its IMG line"_s, u"lines 12-12: line 12: not an IMG or INF line"_s,
                                          u"lines 13-14: line 13: the image number \"x5\" is not a number"_s, u"IMG 4: D1"_s}));
}

TEST_F(ExportFileTest, AppendKeepsEarlierImagesAndOverwriteStartsAfresh)
{
    using enum ExportFileWriter::Existing;
    writeImages(path, Append, {image(1, u"A"_s)});
    writeImages(path, Append, {image(2, u"B"_s)});
    EXPECT_EQ(summary(path), (QStringList{u"IMG 1: A"_s, u"IMG 2: B"_s}));

    writeImages(path, Overwrite, {image(3, u"C"_s)});
    EXPECT_EQ(summary(path), (QStringList{u"IMG 3: C"_s}));

    // An export cut off inside a line loses that image only.
    ASSERT_TRUE(WriteFile(path, FileBytes(path) + "\"INF\",3,\"cut"));
    writeImages(path, Append, {image(4, u"D"_s)});
    EXPECT_EQ(summary(path), (QStringList{u"lines 1-3: line 3: an INF line has 8 fields, this one 3"_s, u"IMG 4: D"_s}));
}

TEST_F(ExportFileTest, AFailedWriteIsReportedAndLeavesWholeImagesOnly)
{
    IoResult<ExportFileWriter> writer = ExportFileWriter::open(path, ExportFileWriter::Existing::Overwrite);
    ASSERT_TRUE(writer && writer->write(image(1, u"A"_s)));
    const QByteArray before = FileBytes(path);

    // The file may grow by 10 bytes only: the next image is cut off by the system.
    IoStatus failed;
    {
        FullDisk full(rlim_t(before.size() + 10));
        failed = writer->write(image(2, u"B"_s));
    }

    EXPECT_EQ(std::tuple(bool(failed), failed.error().contains(path), FileBytes(path)), std::tuple(false, true, before)) << failed.error().toStdString();
}
