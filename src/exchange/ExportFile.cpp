#include "exchange/ExportFile.h"

#include "base/ReadField.h"
#include "store/TagText.h"
#include "store/DurableWrite.h"

#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace tarlox {

namespace {

constexpr int kImageFields = 5;
constexpr int kInfoFields = 8;

QByteArray textField(QString value)
{
    value.replace(u'\r', u' ').replace(u'\n', u' ');
    // A quote inside is doubled: the reader drops a closing quote that no
    // comma follows, so "" reads back as one quote, in older readers too.
    value.replace(u'"', QStringLiteral("\"\""));
    return '"' + value.toUtf8() + '"';
}

QByteArray dateField(const QDateTime& date)
{
    if (!date.isValid())
        return "##";
    QString text = date.date().toString(u"yyyy-MM-dd");
    const QString time = date.time().toString(u"HH:mm:ss");
    if (time != u"00:00:00")
        text += QLatin1Char(' ') + time;
    return '#' + text.toLatin1() + '#';
}

QByteArray exportLines(const ExportedImage& image)
{
    const QByteArray number = QByteArray::number(image.imageNumber);
    QByteArray lines = "\"IMG\"," + number + ',' + dateField(image.entryDate) + ',' + textField(image.size)
                       + ',' + textField(image.type) + "\r\n";
    QList<ExportedInfo> infos = image.infos;
    std::stable_sort(infos.begin(), infos.end(),
                     [](const ExportedInfo& a, const ExportedInfo& b) { return a.entryDate > b.entryDate; });
    for (const ExportedInfo& info : infos)
        lines += "\"INF\"," + number + ',' + textField(info.heat) + ',' + textField(info.part) + ','
                 + textField(info.po) + ',' + textField(info.vend) + ',' + textField(info.mfg) + ','
                 + dateField(info.entryDate) + "\r\n";
    return lines;
}

QString cantWrite(const QString& path, int error)
{
    return QStringLiteral("Can't write the export file %1: %2").arg(path, QString::fromLocal8Bit(std::strerror(error)));
}

std::optional<qint32> readNumber(const QString& text)
{
    if (text.isEmpty() || !std::all_of(text.begin(), text.end(), [](QChar c) { return c.isDigit() && c.unicode() < 0x80; }))
        return std::nullopt;
    bool ok = false;
    const qint32 number = text.toInt(&ok);
    return ok ? std::optional<qint32>(number) : std::nullopt;
}

// A date as written, with or without its time; empty is a date not set.
std::optional<QDateTime> readDate(const QString& text)
{
    if (text.isEmpty())
        return QDateTime();
    const QDateTime dateTime = QDateTime::fromString(text, u"yyyy-MM-dd HH:mm:ss");
    if (dateTime.isValid())
        return dateTime;
    const QDate date = QDate::fromString(text, u"yyyy-MM-dd");
    if (date.isValid())
        return QDateTime(date, QTime(0, 0));
    return std::nullopt;
}

enum class Kind { Image, Info, Other };

// One line of the file as far as it could be read; problem is empty for a
// good line.
struct Line {
    int lineNumber = 0;
    Kind kind = Kind::Other;
    std::optional<qint32> number;
    QStringList fields;
    QDateTime date;
    QString problem;
};

Line parseLine(const QString& text, qsizetype lineNumber)
{
    Line line;
    line.lineNumber = int(lineNumber);
    const QString notRecord = QStringLiteral("not an IMG or INF line");
    if (text.startsWith(u"\"IMG\""))
        line.kind = Kind::Image;
    else if (text.startsWith(u"\"INF\""))
        line.kind = Kind::Info;
    else {
        line.problem = notRecord;
        return line;
    }
    IoResult<QStringList> fields = ReadFields(text);
    if (!fields) {
        line.problem = fields.error();
        return line;
    }
    line.fields = std::move(fields).value();
    if (line.fields[0] != QStringView(line.kind == Kind::Image ? u"IMG" : u"INF")) {
        line.kind = Kind::Other;
        line.problem = notRecord;
        return line;
    }
    line.number = readNumber(line.fields.value(1));
    const int expected = line.kind == Kind::Image ? kImageFields : kInfoFields;
    const QString name = line.kind == Kind::Image ? QStringLiteral("an IMG") : QStringLiteral("an INF");
    if (line.fields.size() != expected) {
        line.problem = QStringLiteral("%1 line has %2 fields, this one %3").arg(name).arg(expected).arg(line.fields.size());
        return line;
    }
    if (!line.number) {
        line.problem = QStringLiteral("the image number \"%1\" is not a number").arg(line.fields[1]);
        return line;
    }
    const QString& dateText = line.fields[line.kind == Kind::Image ? 2 : 7];
    const std::optional<QDateTime> date = readDate(dateText);
    if (!date)
        line.problem = QStringLiteral("the entry date \"%1\" is not a date").arg(dateText);
    else
        line.date = *date;
    return line;
}

// Whether line belongs to the run of lines that head starts: the lines of an
// image run to the next IMG line or to a reference of another image; a run of
// references without their image, or of lines that are no record, keeps to
// its own kind.
bool continues(const Line& head, const Line& line)
{
    if (line.kind == Kind::Image)
        return false;
    const bool otherImage = line.number && head.number && *line.number != *head.number;
    switch (head.kind) {
    case Kind::Image:
        return !otherImage;
    case Kind::Info:
        return line.kind == Kind::Info && !otherImage;
    case Kind::Other:
        return line.kind == Kind::Other;
    }
    return false;
}

bool isBlank(const QString& line)
{
    return line.trimmed().isEmpty();
}

}  // namespace

ExportFileWriter::ExportFileWriter(QString path, int fd, qint64 size) : path_(std::move(path)), fd_(fd), size_(size) {}

ExportFileWriter::ExportFileWriter(ExportFileWriter&& other) noexcept
    : path_(std::move(other.path_)), fd_(std::exchange(other.fd_, -1)), size_(other.size_)
{
}

ExportFileWriter::~ExportFileWriter()
{
    if (fd_ >= 0)
        ::close(fd_);
}

IoResult<ExportFileWriter> ExportFileWriter::open(const QString& path, Existing existing)
{
    const int flags = O_RDWR | O_CREAT | O_CLOEXEC | (existing == Existing::Append ? O_APPEND : O_TRUNC);
    const int fd = ::open(QFile::encodeName(path).constData(), flags, 0666);
    if (fd < 0)
        return Failure(cantWrite(path, errno));
    struct stat status {};
    ::fstat(fd, &status);
    ExportFileWriter writer(path, fd, S_ISREG(status.st_mode) ? status.st_size : 0);
    SyncDirectory(QFileInfo(path).absolutePath());

    // An earlier export that was cut off inside a line: start on a line of our own.
    char last = '\n';
    if (writer.size_ > 0 && ::pread(fd, &last, 1, writer.size_ - 1) == 1 && last != '\n') {
        if (!WriteAll(fd, "\r\n", 2))
            return Failure(cantWrite(path, errno));
        writer.size_ += 2;
    }
    return writer;
}

IoStatus ExportFileWriter::write(const QList<ExportedImage>& images)
{
    QByteArray lines;
    for (const ExportedImage& image : images)
        lines += exportLines(image);
    if (!WriteAll(fd_, lines.constData(), lines.size()) || ::fsync(fd_) != 0) {
        const int error = errno;
        if (::ftruncate(fd_, size_) != 0) {
            // Nothing more can be done; the reader leaves the cut image out.
        }
        return Failure(cantWrite(path_, error));
    }
    size_ += lines.size();
    return {};
}

ExportFileReader::ExportFileReader(const QByteArray& content)
    : lines_(DecodeExchangeText(content).split(u'\n'))
{
    for (QString& line : lines_)
        if (line.endsWith(u'\r'))
            line.chop(1);
}

IoResult<ExportFileReader> ExportFileReader::open(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return Failure(QStringLiteral("Can't read the export file %1: %2").arg(path, file.errorString()));
    const QByteArray content = file.readAll();
    if (file.error() != QFileDevice::NoError)
        return Failure(QStringLiteral("Can't read the export file %1: %2").arg(path, file.errorString()));
    return ExportFileReader(content);
}

std::optional<ExportFileReader::Entry> ExportFileReader::next()
{
    while (index_ < lines_.size() && isBlank(lines_[index_]))
        ++index_;
    if (index_ >= lines_.size())
        return std::nullopt;

    const Line head = parseLine(lines_[index_], index_ + 1);
    QList<Line> run{head};
    for (++index_; index_ < lines_.size(); ++index_) {
        if (isBlank(lines_[index_]))
            continue;
        Line line = parseLine(lines_[index_], index_ + 1);
        if (!continues(head, line))
            break;
        run << std::move(line);
    }

    const auto skip = [&](const Line& at, const QString& why) {
        return SkippedLines{head.lineNumber, run.last().lineNumber, QStringLiteral("line %1: %2").arg(at.lineNumber).arg(why)};
    };
    for (const Line& line : run) {
        if (!line.problem.isEmpty())
            return skip(line, line.problem);
        if (line.kind == Kind::Info && head.kind != Kind::Image)
            return skip(line, QStringLiteral("a reference of image %1 without its IMG line").arg(*line.number));
    }

    ExportedImage image;
    image.imageNumber = *head.number;
    image.entryDate = head.date;
    image.size = head.fields[3];
    image.type = head.fields[4];
    for (qsizetype r = 1; r < run.size(); ++r) {
        const QStringList& f = run[r].fields;
        image.infos << ExportedInfo{f[2], f[3], f[4], f[5], f[6], run[r].date};
    }
    return image;
}

QString DecodeExchangeText(const QByteArray& bytes)
{
    QString text;
    text.reserve(bytes.size());
    qsizetype start = 0;
    while (start < bytes.size()) {
        qsizetype end = bytes.indexOf('\n', start);
        end = end < 0 ? bytes.size() : end + 1;
        text += DecodeTagText(bytes.mid(start, end - start));
        start = end;
    }
    if (text.startsWith(QChar(0xFEFF)))  // byte order mark of editors that add one
        text.remove(0, 1);
    return text;
}

}  // namespace tarlox
