#pragma once

#include "base/IoResult.h"

#include <QByteArray>
#include <QDateTime>
#include <QList>
#include <QString>
#include <QStringList>

#include <optional>
#include <variant>

namespace tarlox {

// "TARLOX.EXP": the images of an export directory and their references, one
// record a line, each line ended by CR LF:
//   "IMG",123,#2004-03-09#,"G","4"
//   "INF",123,"H1","P2","P3","V4","M5",#2004-03-09 14:05:00#
// Text stands between double quotes, with a quote inside written twice
// (read back as one); numbers are bare digits; dates stand
// between "#" signs, without the time when it is midnight. A date that is not
// set is written as ## and read back as not set. A line break inside a text
// is written as a blank, since it would end the line.
inline constexpr char16_t kExportFileName[] = u"TARLOX.EXP";

// A reference of an exported image: one INF line.
struct ExportedInfo {
    QString heat;
    QString part;
    QString po;
    QString vend;
    QString mfg;
    QDateTime entryDate;

    bool operator==(const ExportedInfo&) const = default;
};

// An exported image: its IMG line and its references. The path and volume
// of the Images row belong to the machine that holds the files and are not
// exported.
struct ExportedImage {
    qint32 imageNumber = 0;
    QDateTime entryDate;
    QString size;
    QString type = QStringLiteral("4");
    QList<ExportedInfo> infos;

    bool operator==(const ExportedImage&) const = default;
};

// Lines of the file that were left out, 1-based and inclusive, and why.
struct SkippedLines {
    int firstLine = 0;
    int lastLine = 0;
    QString reason;
};

// Writes the export file a group of images at a time. The group reaches the
// disk before write() returns, and a write that fails is cut off again, so the
// file always holds whole images only.
class ExportFileWriter {
public:
    // What becomes of a file that is there: the person's Yes appends to it,
    // No empties it.
    enum class Existing { Append, Overwrite };

    // Opens or makes the file. A file that ends inside a line, from an export
    // that was cut off, gets a line end first, so the next image starts on a
    // line of its own.
    static IoResult<ExportFileWriter> open(const QString& path, Existing existing);

    ExportFileWriter(ExportFileWriter&& other) noexcept;
    ~ExportFileWriter();

    IoStatus write(const ExportedImage& image) { return write(QList<ExportedImage>{image}); }
    IoStatus write(const QList<ExportedImage>& images);

private:
    ExportFileWriter(QString path, int fd, qint64 size);

    QString path_;
    int fd_ = -1;
    qint64 size_ = 0;  // of the whole images written so far
};

// Reads an export file one image at a time. An image any of whose lines is
// bad is left out whole, from its IMG line to the next one, and so are
// references without an IMG line before them; each such run of lines comes
// back as SkippedLines, in file order between the images.
class ExportFileReader {
public:
    using Entry = std::variant<ExportedImage, SkippedLines>;

    static IoResult<ExportFileReader> open(const QString& path);

    // The next image or the next run of skipped lines; nothing at the end.
    std::optional<Entry> next();

private:
    explicit ExportFileReader(const QByteArray& content);

    QStringList lines_;
    qsizetype index_ = 0;
};

// Text of an exchange file. The program writes UTF-8; older installations
// wrote Windows-1252, so each line that is not valid UTF-8 is read as that.
QString DecodeExchangeText(const QByteArray& bytes);

}  // namespace tarlox
