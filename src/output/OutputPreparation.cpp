#include "output/OutputPreparation.h"

#include "base/Prompter.h"
#include "base/TextTools.h"
#include "data/Session.h"
#include "data/Settings.h"
#include "store/FileLists.h"
#include "store/ImageFiles.h"
#include "store/PageProcessing.h"
#include "store/TiffReader.h"
#include "store/TiffWriter.h"

#include <QFile>
#include <QDir>
#include <QFileInfo>
#include <QFontDatabase>
#include <QFontMetrics>
#include <QGuiApplication>
#include <QImageReader>
#include <QPainter>

#include <atomic>
#include <cmath>
#include <cstring>
#include <map>
#include <memory>

namespace tarlox {

const QString kOutputCancelled = QStringLiteral("The run was cancelled.");

namespace {

const QString kFontFamily = QStringLiteral("Liberation Sans");
constexpr int kTextRows = 21;
constexpr int kLeftMargin = 50;

// Writes srcBits pixels of a black-and-white row into dst (dstBits wide)
// from pixel dx on; the pixels before dx are left white, those past the
// right edge are cut.
void CopyRow(uchar* dst, const uchar* src, int srcBits, int dx, int dstBits)
{
    const int dstBytes = (dstBits + 7) / 8;
    const int srcBytes = (srcBits + 7) / 8;
    const int shift = dx % 8;
    const int first = dx / 8;
    std::memset(dst, 0, size_t(dstBytes));
    if (first >= dstBytes)
        return;
    const int count = std::min(srcBytes, dstBytes - first);
    if (shift == 0) {
        std::memcpy(dst + first, src, size_t(count));
    } else {
        uint carry = 0;
        for (int i = 0; i < count; ++i) {
            const uint byte = src[i];
            dst[first + i] = uchar(carry | (byte >> shift));
            carry = (byte << (8 - shift)) & 0xFF;
        }
        if (first + count < dstBytes)
            dst[first + count] = uchar(carry);
    }
    // Bits past the source's width, or past the destination's, stay white.
    const int end = dx + srcBits;
    for (int x = std::max(end, dx); x < std::min(dstBytes * 8, (first + count + 1) * 8); ++x)
        dst[x / 8] &= uchar(~(0x80 >> (x % 8)));
}

// The band above the page, the band from 50 px on row 1 and the page from
// 1 px under it, squeezed back to the page's size in pixels: each output row
// takes the row at its place in the combined height. Only the rows taken
// are composed.
IoResult<QImage> BandOverPage(const QImage& page, const QImage& band)
{
    const int w = page.width();
    const int h = page.height();
    QImage out = NewMonoPage(w, h);
    if (out.isNull())
        return Failure(QStringLiteral("Not enough memory for a page of %1 x %2 pixels.").arg(w).arg(h));
    const qint64 total = qint64(band.height()) + h;
    for (int y = 0; y < h; ++y) {
        const int row = int(std::min<qint64>(total - 1, (2 * qint64(y) + 1) * total / (2 * qint64(h))));
        if (row >= band.height())
            CopyRow(out.scanLine(y), page.constScanLine(row - band.height()), page.width(), 1, w);
        else if (row >= 1)
            CopyRow(out.scanLine(y), band.constScanLine(row - 1), band.width(), kLeftMargin, w);
    }
    SetDpi(out, DpiOf(page));
    return out;
}

QFont MessageFont(int rowHeight)
{
    // A GDI font height is the character cell (ascent + descent); Liberation
    // Sans, like Arial, has a cell of 2288 units to an em of 2048.
    QFont font(kFontFamily);
    font.setPixelSize(std::max(1, int(std::lround(rowHeight * 2048.0 / 2288.0))));
    font.setStyleStrategy(QFont::NoAntialias);
    return font;
}

// Dark pixels of a painted band become black.
QImage ToMono(const QImage& band)
{
    QImage mono = NewMonoPage(band.width(), band.height());
    for (int y = 0; y < band.height(); ++y) {
        const QRgb* s = reinterpret_cast<const QRgb*>(band.constScanLine(y));
        uchar* d = mono.scanLine(y);
        for (int x = 0; x < band.width(); ++x)
            if (qGray(s[x]) < 128)
                d[x / 8] |= uchar(0x80 >> (x % 8));
    }
    return mono;
}

IoResult<QImage> BlackAndWhite(IoResult<QImage> page)
{
    if (!page || IsBlackAndWhite(*page))
        return page;
    const Dpi dpi = DpiOf(*page);
    IoResult<QImage> reduced = ReduceToBlackAndWhite(*page);
    if (reduced)
        SetDpi(*reduced, dpi);
    return reduced;
}

}  // namespace

OutputSettings ReadOutputSettings(Session& s)
{
    OutputSettings o;
    const auto info = [&](const char* key) { return GetLocal(s, section::Info, QLatin1String(key)); };
    o.tempDir = s.tempDir;
    o.authorization = info("Authorization").trimmed().toUpper();
    o.stampPath = info("AuthorizationStamp");
    o.stampText = info("AuthorizationText");
    o.addMessage = GetLocalBool(s, section::Interface, QStringLiteral("AddMessage"));
    o.pdf = BoolFromIni(info("PDF"));
    o.annotate = BoolFromIni(info("Annotate"));
    o.fontSize = IntVal(info("FontSize"));
    if (o.fontSize <= 0)
        o.fontSize = 8;
    const QString highDpi = info("HighDPI");
    if (!highDpi.trimmed().isEmpty() && Val(highDpi) > 0)
        o.highDpi = Val(highDpi);
    o.from = GetLocal(s, section::Fax, QStringLiteral("CompanyName"));
    // The font database is filled here, on the interface thread, before a
    // run draws text on a thread of its own.
    if (o.addMessage || o.authorization == QLatin1String("T"))
        MessageFontProblem();
    return o;
}

QString TempFileName(const QString& tempDir, const QString& fileName, int sequence, bool pdf)
{
    QString name = QStringLiteral("TM") + fileName.right(10).left(6);
    if (sequence > 0)
        name += QLatin1Char('_') + QString::number(sequence);
    name += pdf ? QStringLiteral(".pdf") : fileName.right(4);
    QString dir = tempDir;
    if (!dir.isEmpty() && !dir.endsWith(QLatin1Char('/')) && !dir.endsWith(QLatin1Char('\\')))
        dir += QLatin1Char('/');
    return dir + name;
}

int TextHeight(int pageWidth, int fontSize)
{
    return int(std::lround(double(pageWidth) * (fontSize <= 0 ? 8 : fontSize) / 566.0));
}

QString MessageFontProblem()
{
    static std::atomic<bool> found = false;  // fonts don't go away while the program runs
    if (found)
        return {};
    if (!qobject_cast<QGuiApplication*>(QCoreApplication::instance()))
        return QStringLiteral("Text can't be drawn on pages in this program (no graphics application).");
    if (!QFontDatabase::families().contains(kFontFamily))
        return QStringLiteral("The font \"%1\" is not installed; the message block and the authorization text need it "
                              "(Debian package fonts-liberation).")
            .arg(kFontFamily);
    found = true;
    return {};
}

bool CheckTextWidth(const QString& text, int pageWidth, int fontSize)
{
    const QFontMetrics metrics(MessageFont(TextHeight(pageWidth, fontSize)));
    return metrics.horizontalAdvance(text) > pageWidth - 100;
}

void AddTextToString(QStringList& lines, const QString& label, const QString& value, int& lineIndex, int pageWidth, int fontSize)
{
    if (value.isEmpty())
        return;
    const QString text = label.isEmpty() ? value : label + QStringLiteral(": ") + value;
    while (lines.size() < kTextRows)
        lines << QString();
    if (!lines[lineIndex].isEmpty() && CheckTextWidth(lines[lineIndex] + text, pageWidth, fontSize) && lineIndex + 1 < kTextRows)
        ++lineIndex;
    lines[lineIndex] += text + QStringLiteral("    ");
}

IoResult<QImage> AddText(const QImage& page, const QStringList& lines, int lineCount, int fontSize)
{
    if (const QString problem = MessageFontProblem(); !problem.isEmpty())
        return Failure(problem);
    const int w = page.width();
    const int height = TextHeight(w, fontSize);
    const int bandHeight = (lineCount + 1) * height;
    QImage band(w, bandHeight, QImage::Format_RGB32);
    band.fill(Qt::white);
    {
        QPainter painter(&band);
        painter.setFont(MessageFont(height));
        painter.setPen(Qt::black);
        for (int i = 0; i <= lineCount && i < lines.size(); ++i)
            painter.drawText(QRect(0, i * height, w, height), Qt::AlignLeft | Qt::AlignTop | Qt::TextDontClip, lines[i]);
    }
    return BandOverPage(page, ToMono(band));
}

IoResult<QImage> AddStampText(const QImage& page, const QString& text, int fontSize)
{
    return AddText(page, {QString(), text}, 1, fontSize);
}

IoResult<QImage> AddMessage(const QImage& page, const MessageFields& m, const QDate& today, int fontSize)
{
    QStringList lines;
    int index = 0;
    const int w = page.width();
    const std::pair<const char*, const QString*> fields[] = {
        {"From", &m.from},      {"To", &m.to},         {"SO#", &m.order},    {"Inv#", &m.invoice},
        {"Ln#", &m.lineNum},    {"PO#", &m.custPO},    {"Part", &m.part},    {"Desc", &m.partDesc},
        {"Qty", &m.quantity},   {"Heat#", &m.heat},    {"Tag", &m.tag},      {"", &m.text},
    };
    const QString date = FormatShortDate(today);
    bool dated = false;
    for (const auto& [label, value] : fields) {
        AddTextToString(lines, QLatin1String(label), *value, index, w, fontSize);
        if (!dated) {  // the date follows "From"
            AddTextToString(lines, QStringLiteral("Date"), date, index, w, fontSize);
            dated = true;
        }
    }
    return AddText(page, lines, index, fontSize);
}

IoResult<QImage> LoadStamp(const QString& path, double assumedDpi)
{
    if (path.trimmed().isEmpty())
        return Failure(QStringLiteral("No authorization stamp image is set (System Settings)."));
    if (!QFileInfo::exists(path))
        return Failure(QStringLiteral("The authorization stamp \"%1\" doesn't exist.").arg(path));
    QImage stamp;
    bool dpiRecorded = false;
    if (auto reader = TiffReader::open(path)) {
        auto info = reader->pageInfo(0);
        IoResult<QImage> page = reader->readPage(0);
        if (!page)
            return page;
        stamp = *page;
        dpiRecorded = info && info->dpiRecorded;
    } else {
        QImageReader imageReader(path);
        stamp = imageReader.read();
        if (stamp.isNull())
            return Failure(QStringLiteral("The authorization stamp \"%1\" can't be read: %2.").arg(path, imageReader.errorString()));
        // Qt gives images without a resolution its default one.
        dpiRecorded = stamp.dotsPerMeterX() != QImage(1, 1, QImage::Format_Mono).dotsPerMeterX();
    }
    if (!dpiRecorded)
        SetDpi(stamp, Dpi{assumedDpi, assumedDpi});
    const Dpi dpi = DpiOf(stamp);
    if (!IsBlackAndWhite(stamp)) {
        IoResult<QImage> reduced = ReduceToBlackAndWhite(FlattenOnWhite(stamp));
        if (!reduced)
            return reduced;
        stamp = *reduced;
    } else {
        stamp = ToStoreMono(stamp);
    }
    SetDpi(stamp, dpi);
    return stamp;
}

IoResult<QImage> AddStamp(const QImage& page, const QImage& stamp)
{
    const double pageDpi = DpiOf(page).x;
    const double stampDpi = DpiOf(stamp).x;
    QImage sized = stamp;
    if (pageDpi > 0 && stampDpi > 0 && std::abs(pageDpi - stampDpi) > 0.01) {
        const double factor = pageDpi / stampDpi;
        IoResult<QImage> scaled = ScalePage(stamp, std::max(1, int(std::lround(stamp.width() * factor))),
                                            std::max(1, int(std::lround(stamp.height() * factor))));
        if (!scaled)
            return scaled;
        sized = *scaled;
    }
    return BandOverPage(page, sized);
}

IoResult<QList<PdfPage>> PreparePages(const QString& file, const QString& pages, const OutputSettings& settings,
                                      const MessageFields& fields, const QDate& today, const ProgressStep& step)
{
    IoResult<TiffReader> reader = TiffReader::open(file);
    if (!reader)
        return reader.failure();
    const PageSelection chosen = CheckPages(pages);
    const bool stamp = settings.authorization == QLatin1String("S");
    const bool stampText = settings.authorization == QLatin1String("T");
    const bool changes = stamp || stampText || settings.addMessage;
    if (changes && (stampText || settings.addMessage))
        if (const QString problem = MessageFontProblem(); !problem.isEmpty())
            return Failure(problem);
    QImage stampImage;
    if (stamp) {
        IoResult<QImage> loaded = LoadStamp(settings.stampPath, settings.highDpi);
        if (!loaded)
            return loaded.failure();
        stampImage = *loaded;
    }
    QList<PdfPage> prepared;
    for (int p = 1; p <= reader->pageCount(); ++p) {
        if (!chosen.contains(p))
            continue;
        if (step && !step(QStringLiteral("Page %1 of %2").arg(p).arg(file)))
            return Failure(kOutputCancelled);
        if (!changes) {
            prepared << PdfPage::fromTiff(file, p - 1);
            continue;
        }
        IoResult<QImage> page = BlackAndWhite(reader->readPage(p - 1));
        if (page && stamp)
            page = AddStamp(*page, stampImage);
        if (page && stampText)
            page = AddStampText(*page, settings.stampText, settings.fontSize);
        if (page && settings.addMessage)
            page = AddMessage(*page, fields, today, settings.fontSize);
        if (!page)
            return page.failure();
        prepared << PdfPage::fromImage(*page, DpiOf(*page));
    }
    return prepared;
}

IoStatus WritePrepared(const QString& target, const QList<PdfPage>& pages, bool pdf, const PdfOptions& options)
{
    if (pages.isEmpty())
        return Failure(QStringLiteral("No page was chosen for \"%1\".").arg(target));
    if (pdf)
        return WritePdf(target, pages, options);
    IoResult<TiffWriter> writer = TiffWriter::create(target);
    if (!writer)
        return writer.failure();
    std::map<QString, std::unique_ptr<TiffReader>> readers;
    for (const PdfPage& page : pages) {
        IoStatus added;
        if (page.tiff.isEmpty()) {
            added = writer->addPage(page.image, page.dpi);
        } else {
            auto& reader = readers[page.tiff];
            if (!reader) {
                IoResult<TiffReader> opened = TiffReader::open(page.tiff);
                if (!opened)
                    return opened.failure();
                reader = std::make_unique<TiffReader>(std::move(*opened));
            }
            added = writer->addPageFrom(*reader, page.page);
        }
        if (!added)
            return added;
    }
    return writer->commit();
}

QList<PrepareItem> QueueItems(const QString& files, const QString& messages)
{
    const QStringList names = files.split(QLatin1Char(';'));
    const QStringList texts = QString(messages + QLatin1Char(';')).split(QLatin1Char(';'));
    QList<PrepareItem> items;
    for (qsizetype i = 0; 2 * i < names.size(); ++i)
        if (!names[2 * i].isEmpty())
            items << PrepareItem{names[2 * i], names.value(2 * i + 1), int(i + 1), ReadMessageString(texts.value(i))};
    return items;
}

IoResult<QString> PrepareFile(const OutputSettings& settings, const QDate& today, bool pdfFlag, const PrepareItem& item,
                              const ProgressStep& step)
{
    const bool pdf = pdfFlag && settings.pdf;
    const QString target = TempFileName(settings.tempDir, item.file, item.sequence, pdf);
    MessageFields withSender = item.fields;
    if (withSender.from.isEmpty())
        withSender.from = settings.from;
    IoResult<QList<PdfPage>> prepared = PreparePages(item.file, item.pages, settings, withSender, today, step);
    IoStatus written = prepared ? WritePrepared(target, *prepared, pdf) : IoStatus(prepared.failure());
    if (written)
        return target;
    if (written.error() == kOutputCancelled)
        return written.failure();
    return Failure(QStringLiteral("Image file '") + target + QStringLiteral("' was not created!\r\n") + written.error());
}

IoResult<PreparedFiles> PrepareFiles(const OutputSettings& settings, const QDate& today, bool pdfFlag,
                                     const QList<PrepareItem>& items, const ProgressStep& step)
{
    PreparedFiles run;
    for (const PrepareItem& item : items) {
        IoResult<QString> file = PrepareFile(settings, today, pdfFlag, item, step);
        if (file) {
            run.files << *file;
        } else if (file.error() == kOutputCancelled) {
            for (const QString& name : std::as_const(run.files))
                QFile::remove(name);
            return file.failure();
        } else {
            run.problems << file.error();
        }
    }
    return run;
}

IoResult<QString> AnnotatedToPdf(const QString& tiff)
{
    const QFileInfo info(tiff);
    const QString target = info.dir().filePath(info.completeBaseName() + QStringLiteral(".pdf"));
    IoResult<QList<PdfPage>> pages = PreparePages(tiff, QString(), OutputSettings{}, {}, {});
    if (IoStatus written = pages ? WritePrepared(target, *pages, true) : IoStatus(pages.failure()); !written)
        return written.failure();
    QFile::remove(tiff);
    QFile::remove(OutputOriginalPathOf(tiff));
    return target;
}

IoResult<QString> SaveFile(Session& s, const QString& fileName, const QString& pages, int sequence, bool pdfFlag,
                           const MessageFields& fields, const ProgressStep& step)
{
    s.traceCall(QStringLiteral("SaveFile"), {fileName, pages, QString::number(sequence)});
    IoResult<QString> made = PrepareFile(ReadOutputSettings(s), s.now().date(), pdfFlag, {fileName, pages, sequence, fields}, step);
    if (!made && made.error() != kOutputCancelled)
        s.prompter().tell(QStringLiteral("Error"), made.error(), Icon::Exclamation);
    return made;
}

IoResult<QStringList> SaveTempFiles(Session& s, const QString& files, const QString& messages, bool pdfFlag,
                                    const ProgressStep& step)
{
    s.traceCall(QStringLiteral("SaveTempFiles"), {files, messages});
    s.prompter().setBusy(true);
    IoResult<PreparedFiles> run = PrepareFiles(ReadOutputSettings(s), s.now().date(), pdfFlag, QueueItems(files, messages), step);
    s.prompter().setBusy(false);
    if (!run)
        return run.failure();
    for (const QString& problem : std::as_const(run->problems))
        s.prompter().tell(QStringLiteral("Error"), problem, Icon::Exclamation);
    return run->files;
}

}  // namespace tarlox
