#include "store/SaneFrame.h"

#include "store/PageImage.h"
#include "store/PageLimits.h"

#include <algorithm>
#include <cstring>

namespace tarlox {

namespace {

const QString kWhat = QStringLiteral("the scanned page");

// Sample s of a line (8 or 16 bits) as 8 bits: the high byte of a 16-bit sample.
inline uchar sample8(const uchar* line, int s, int depth)
{
    if (depth == 8)
        return line[s];
    quint16 value;
    std::memcpy(&value, line + 2 * s, 2);
    return uchar(value >> 8);
}

inline bool bitAt(const uchar* line, qsizetype bit)
{
    return (line[bit >> 3] >> (7 - (bit & 7))) & 1;
}

qsizetype minimumLineBytes(const SaneFrameFormat& f)
{
    const qsizetype samples = qsizetype(f.pixelsPerLine) * (f.kind == SaneFrameFormat::Rgb ? 3 : 1);
    return (samples * f.depth + 7) / 8;
}

}  // namespace

int SanePageBuilder::Frame::lines() const
{
    const int complete = int(bytes.size() / format.bytesPerLine);
    return format.lines >= 0 ? std::min(format.lines, complete) : complete;
}

bool SanePageBuilder::noData() const
{
    for (const Frame& frame : frames_)
        if (!frame.bytes.isEmpty())
            return false;
    return true;
}

IoStatus SanePageBuilder::beginFrame(const SaneFrameFormat& format)
{
    if (format.depth != 1 && format.depth != 8 && format.depth != 16)
        return Failure(QStringLiteral("The scanner sent samples of %1 bits, which this program can't read.").arg(format.depth));
    if (format.pixelsPerLine <= 0 || format.bytesPerLine < minimumLineBytes(format))
        return Failure(QStringLiteral("The scanner described a line of %1 pixels in %2 bytes, which can't be right.")
                           .arg(format.pixelsPerLine)
                           .arg(format.bytesPerLine));
    const bool separate = format.kind == SaneFrameFormat::Red || format.kind == SaneFrameFormat::Green
                          || format.kind == SaneFrameFormat::Blue;
    if (!frames_.isEmpty()) {
        const SaneFrameFormat& first = frames_.first().format;
        const bool firstSeparate = first.kind != SaneFrameFormat::Gray && first.kind != SaneFrameFormat::Rgb;
        if (!separate || !firstSeparate || first.pixelsPerLine != format.pixelsPerLine || first.depth != format.depth)
            return Failure(QStringLiteral("The scanner sent frames of one page that don't fit together."));
    }
    if (format.lines > 0) {
        const int bits = format.kind == SaneFrameFormat::Gray && format.depth == 1 ? 1 : 8;
        if (IoStatus size = CheckPageSize(format.pixelsPerLine, format.lines, bits, kWhat); !size)
            return size;
    }
    Frame frame{format, {}};
    if (format.lines > 0)
        frame.bytes.reserve(qsizetype(format.bytesPerLine) * format.lines);
    frames_.append(std::move(frame));
    return {};
}

IoStatus SanePageBuilder::append(const char* data, qsizetype size)
{
    if (frames_.isEmpty())
        return Failure(QStringLiteral("The scanner sent data before describing the page."));
    QByteArray& bytes = frames_.last().bytes;
    // A device that doesn't know the length could send without end: the
    // page is refused once its raw data alone passes twice the page limit.
    if (bytes.size() + size > 2 * kMaxPageBytes)
        return Failure(QStringLiteral("Can't read %1: the scanner sent more than %2 MB for one page.").arg(kWhat).arg((2 * kMaxPageBytes) >> 20));
    bytes.append(data, size);
    return {};
}

IoResult<QImage> SanePageBuilder::finish(double dpiX, double dpiY)
{
    if (frames_.isEmpty())
        return Failure(QStringLiteral("The scanner sent no picture."));
    const Frame& first = frames_.first();
    const SaneFrameFormat& f = first.format;
    const int width = f.pixelsPerLine;
    int height = first.lines();
    for (const Frame& frame : frames_)
        height = std::min(height, frame.lines());
    if (height <= 0)
        return Failure(QStringLiteral("The scanner sent an empty page."));

    QImage page;
    if (f.kind == SaneFrameFormat::Gray) {
        if (IoStatus size = CheckPageSize(width, height, f.depth == 1 ? 1 : 8, kWhat); !size)
            return size.failure();
        if (f.depth == 1) {
            page = NewMonoPage(width, height);
        } else {
            page = QImage(width, height, QImage::Format_Grayscale8);
        }
        if (page.isNull())
            return Failure(QStringLiteral("There is not enough memory for the scanned page."));
        for (int y = 0; y < height; ++y) {
            const auto* line = reinterpret_cast<const uchar*>(first.bytes.constData()) + qsizetype(y) * f.bytesPerLine;
            uchar* out = page.scanLine(y);
            if (f.depth == 1)
                std::memcpy(out, line, size_t(width + 7) / 8);
            else
                for (int x = 0; x < width; ++x)
                    out[x] = sample8(line, x, f.depth);
        }
    } else {
        if (f.kind != SaneFrameFormat::Rgb && frames_.size() < 3)
            return Failure(QStringLiteral("The scanner sent %1 of the three colour frames of the page.").arg(frames_.size()));
        if (IoStatus size = CheckPageSize(width, height, 24, kWhat); !size)
            return size.failure();
        page = QImage(width, height, QImage::Format_RGB888);
        if (page.isNull())
            return Failure(QStringLiteral("There is not enough memory for the scanned page."));
        for (int y = 0; y < height; ++y) {
            uchar* out = page.scanLine(y);
            if (f.kind == SaneFrameFormat::Rgb) {
                const auto* line = reinterpret_cast<const uchar*>(first.bytes.constData()) + qsizetype(y) * f.bytesPerLine;
                for (int s = 0; s < 3 * width; ++s)
                    out[s] = f.depth == 1 ? (bitAt(line, s) ? 255 : 0) : sample8(line, s, f.depth);
                continue;
            }
            for (const Frame& frame : frames_) {
                const int channel = frame.format.kind == SaneFrameFormat::Red ? 0 : frame.format.kind == SaneFrameFormat::Green ? 1 : 2;
                const auto* line = reinterpret_cast<const uchar*>(frame.bytes.constData()) + qsizetype(y) * frame.format.bytesPerLine;
                for (int x = 0; x < width; ++x)
                    out[3 * x + channel] = frame.format.depth == 1 ? (bitAt(line, x) ? 255 : 0) : sample8(line, x, frame.format.depth);
            }
        }
    }
    SetDpi(page, Dpi{dpiX, dpiY});
    frames_.clear();
    return page;
}

}  // namespace tarlox
