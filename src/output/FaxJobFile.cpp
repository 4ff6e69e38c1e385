#include "output/FaxJobFile.h"

#include "store/PageImage.h"
#include "store/TiffReader.h"
#include "store/TiffWriter.h"

#include <QFile>
#include <QFileInfo>
#include <QFont>
#include <QPainter>

#include <vector>

using namespace Qt::StringLiterals;

namespace tarlox {
namespace {

constexpr int kNames = 1000000;  // six digits

// Sizes at 200 dpi: 12 pt text, 22 pt titles, 3/4 inch margins.
constexpr int kTextPixels = 33;
constexpr int kTitlePixels = 61;
constexpr int kMargin = 150;
// Where the text after a tab starts: 1.8 inches into the text.
constexpr int kTabColumn = 360;

}  // namespace

QString JobFileName(const QString& tempDir, int value)
{
    const bool separated = tempDir.isEmpty() || tempDir.endsWith(u'/') || tempDir.endsWith(u'\\');
    const QString digits = QString::number(value + kNames).right(6);
    return tempDir % (separated ? QString() : u"/"_s) % u"FX"_s % digits % u".FMF"_s;
}

IoResult<QString> FreeJobFileName(const QString& tempDir, int dayOfMonth)
{
    const int first = dayOfMonth * 10000;
    for (int step = 0; step < kNames; ++step) {
        const QString name = JobFileName(tempDir, first + step);
        if (!QFileInfo::exists(name))
            return name;
    }
    return Failure(u"There is no free fax file name left in "_s % tempDir % u'.');
}

IoResult<QString> ReadCoverTemplate(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return Failure(u"Can't read the fax cover page "_s % path % u": "_s % file.errorString());
    return QString::fromUtf8(file.readAll());
}

QString FillCoverTemplate(const QString& templateText, const CoverFields& fields)
{
    const QList<std::pair<QString, QString>> values = {
        {u"{company}"_s, fields.company},
        {u"{to}"_s, fields.to},
        {u"{fax}"_s, fields.fax},
        {u"{voice}"_s, fields.voice},
        {u"{fromcompany}"_s, fields.fromCompany},
        {u"{fromfax}"_s, fields.fromFax},
        {u"{from}"_s, fields.from},
        {u"{subject}"_s, fields.subject},
        {u"{pages}"_s, QString::number(fields.pages)},
        {u"{date}"_s, fields.date.toString(u"yyyy-MM-dd"_s)},
        {u"{message}"_s, fields.message},
    };
    // One pass from left to right, so a value that holds braces is never
    // read as a placeholder.
    QString filled;
    for (qsizetype at = 0; at < templateText.size();) {
        bool replaced = false;
        if (templateText.at(at) == u'{') {
            for (const auto& [key, value] : values) {
                if (QStringView(templateText).mid(at).startsWith(key)) {
                    filled += value;
                    at += key.size();
                    replaced = true;
                    break;
                }
            }
        }
        if (!replaced)
            filled += templateText.at(at++);
    }
    return filled;
}

QImage RenderCoverPage(const QString& templateText, const CoverFields& fields, QSize pixels)
{
    QImage page(pixels, QImage::Format_RGB32);
    if (page.isNull())
        return {};
    page.fill(Qt::white);
    SetDpi(page, Dpi{kDefaultDpi, kDefaultDpi});
    {
        QPainter painter(&page);
        painter.setRenderHint(QPainter::TextAntialiasing, false);
        painter.setPen(QPen(Qt::black, 3));
        QFont text(u"DejaVu Sans"_s);
        text.setPixelSize(kTextPixels);
        QFont bold = text;
        bold.setBold(true);
        QFont title = bold;
        title.setPixelSize(kTitlePixels);

        const int width = pixels.width() - 2 * kMargin;
        const int bottom = pixels.height() - kMargin;
        int y = kMargin;
        // Marks are read from the template's lines before the fields are
        // filled in, so a message line that starts with "! " stays text.
        for (const auto& templateLine : templateText.split(u'\n')) {
            QString line = templateLine;
            if (line.endsWith(u'\r'))
                line.chop(1);
            if (line.startsWith(u"# "_s) || line == u"#"_s)
                continue;
            if (y >= bottom)
                break;
            if (line.startsWith(u"---"_s)) {
                const int middle = y + kTextPixels / 2;
                painter.drawLine(kMargin, middle, kMargin + width, middle);
                y += kTextPixels;
                continue;
            }
            int flags = Qt::AlignLeft | Qt::TextWordWrap;
            if (line.startsWith(u"! "_s)) {
                painter.setFont(title);
                flags = Qt::AlignHCenter | Qt::TextWordWrap;
                line = line.mid(2);
            } else if (line.startsWith(u"* "_s)) {
                painter.setFont(bold);
                line = line.mid(2);
            } else {
                painter.setFont(text);
            }
            int left = kMargin;
            const qsizetype tab = line.indexOf(u'\t');
            if (tab >= 0) {
                // A label, and its value at the tab column.
                painter.drawText(QRect(kMargin, y, kTabColumn, bottom - y), Qt::AlignLeft,
                                 FillCoverTemplate(line.left(tab), fields));
                left += kTabColumn;
                line = line.mid(tab + 1);
            }
            const QString filled = FillCoverTemplate(line, fields);
            if (filled.trimmed().isEmpty()) {
                y += painter.fontMetrics().lineSpacing();
                continue;
            }
            QRect drawn;
            painter.drawText(QRect(left, y, kMargin + width - left, bottom - y), flags, filled, &drawn);
            y += std::max(drawn.height(), painter.fontMetrics().lineSpacing());
        }
    }
    QImage mono = ToStoreMono(page.convertToFormat(QImage::Format_Mono, Qt::ThresholdDither | Qt::MonoOnly));
    SetDpi(mono, Dpi{kDefaultDpi, kDefaultDpi});
    return mono;
}

IoStatus WriteJobFile(const QString& target, const QImage& cover, const QStringList& pageFiles)
{
    std::vector<TiffReader> sources;
    for (const auto& path : pageFiles) {
        auto reader = TiffReader::open(path);
        if (!reader)
            return reader.failure();
        sources.push_back(std::move(*reader));
    }
    auto writer = TiffWriter::create(target);
    if (!writer)
        return writer.failure();
    if (!cover.isNull()) {
        if (auto added = writer->addPage(cover); !added)
            return added;
    }
    for (auto& source : sources) {
        for (int page = 0; page < source.pageCount(); ++page) {
            if (auto added = writer->addPageFrom(source, page); !added)
                return added;
        }
    }
    return writer->commit();
}

IoResult<QString> MakeJobFile(const QString& tempDir, int dayOfMonth, const QString& templatePath,
                              CoverFields fields, const QStringList& pageFiles)
{
    auto templateText = ReadCoverTemplate(templatePath);
    if (!templateText)
        return templateText.failure();
    int pages = 1;
    for (const auto& path : pageFiles) {
        auto reader = TiffReader::open(path);
        if (!reader)
            return reader.failure();
        pages += reader->pageCount();
    }
    fields.pages = pages;
    const QImage cover = RenderCoverPage(*templateText, fields);
    if (cover.isNull())
        return Failure(u"There is not enough memory for the fax cover page."_s);
    auto name = FreeJobFileName(tempDir, dayOfMonth);
    if (!name)
        return name;
    if (auto written = WriteJobFile(*name, cover, pageFiles); !written)
        return written.failure();
    return name;
}

IoResult<QString> CopyJobFile(const QString& previous, const QString& tempDir, int dayOfMonth)
{
    if (!QFileInfo(previous).isFile())
        return Failure(u"The earlier fax file "_s % previous % u" is gone."_s);
    auto name = FreeJobFileName(tempDir, dayOfMonth);
    if (!name)
        return name;
    // Copied beside the final name and renamed, so no half copy is ever found.
    const QString work = *name % u".part"_s;
    QFile::remove(work);
    if (!QFile::copy(previous, work) || !QFile::rename(work, *name)) {
        QFile::remove(work);
        return Failure(u"Can't copy the earlier fax file "_s % previous % u" to "_s % *name % u'.');
    }
    return name;
}

}  // namespace tarlox
