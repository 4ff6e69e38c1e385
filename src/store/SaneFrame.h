#pragma once

#include "base/IoResult.h"

#include <QByteArray>
#include <QImage>
#include <QList>

namespace tarlox {

// The layout of one frame as a SANE device describes it before sending it.
struct SaneFrameFormat {
    enum Kind { Gray, Rgb, Red, Green, Blue };
    Kind kind = Gray;
    bool lastFrame = true;
    int bytesPerLine = 0;
    int pixelsPerLine = 0;
    int lines = 0;  // -1 when the device learns the length only while scanning
    int depth = 8;  // bits per sample: 1, 8 or 16
};

// Collects the frames of one page as the device sends them and turns them
// into a page image. SANE's conventions: 1-bit grey is 1 = black; 16-bit
// samples are in the machine's byte order; a line may carry unused bytes at
// its end; a colour page may come as one RGB frame or as three frames, one
// per colour. Grey and colour pages come out at 8 bits per sample,
// two-colour ones as black-and-white pages (PageImage.h).
class SanePageBuilder {
public:
    IoStatus beginFrame(const SaneFrameFormat& format);
    // Bytes of the current frame, in the order received.
    IoStatus append(const char* data, qsizetype size);
    // The page, after the last frame.
    IoResult<QImage> finish(double dpiX, double dpiY);

    int framesReceived() const { return int(frames_.size()); }
    // Nothing but descriptions arrived: no byte of any frame.
    bool noData() const;

private:
    struct Frame {
        SaneFrameFormat format;
        QByteArray bytes;
        int lines() const;
    };
    QList<Frame> frames_;
};

}  // namespace tarlox
