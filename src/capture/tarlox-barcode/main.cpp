// tarlox-barcode: reads the barcodes of pages sent on standard input, one
// page after another, and answers each on standard output. It runs as a
// process of its own so that a fault of the decoder on one page costs that
// page and not the program that asked (BarcodeReader starts it again).
//
// Request: "page DPI\n" and one netpbm image, P4 (bit 1 black) or P5 (8-bit grey).
// Answer:  "codes N\n" and N lines "FORMAT LEFT TOP RIGHT BOTTOM HEX\n", HEX
//          being the code's text in UTF-8, two hex digits a byte. The first
//          line is "codes N lost K" when K parts of the page couldn't be read.
//
// The decoder of this version ends the process with an assertion on some
// pages, among them any page with two equal linear codes (a sheet with
// receipt 0 and tag 0). So each part of a page is read in a child process:
// when the child dies, the part is split in two overlapping halves and each
// is read again, until the equal codes stand in different parts.

#define ZX_USE_UTF8
#include <ZXing/ReadBarcode.h>

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include <sys/wait.h>
#include <unistd.h>

namespace {

struct Page {
    int width = 0;
    int height = 0;
    int dpi = 200;
    bool blackAndWhite = false;  // the pixels are only 0 and 255
    std::vector<uint8_t> pixels;  // 8-bit luminance, one byte a pixel
};

struct Code {
    std::string format;
    std::string text;
    int left = 0, top = 0, right = 0, bottom = 0;
};

// A part of the page, in pixels.
struct Area {
    int left = 0, top = 0, width = 0, height = 0;
};

int nextChar()
{
    return std::getc(stdin);
}

// The next number of a netpbm header, past blanks and comments; -1 at the end of input.
int headerNumber()
{
    int c = nextChar();
    while (c != EOF && (std::isspace(c) || c == '#')) {
        if (c == '#')
            while (c != EOF && c != '\n')
                c = nextChar();
        c = nextChar();
    }
    if (c == EOF || !std::isdigit(c))
        return -1;
    long value = 0;
    while (c != EOF && std::isdigit(c) && value < 1000000) {
        value = value * 10 + (c - '0');
        c = nextChar();
    }
    return int(value);  // the one blank after the number has been read with it
}

bool readExactly(uint8_t* into, size_t size)
{
    return std::fread(into, 1, size, stdin) == size;
}

// False at the end of input or on a request it can't understand.
bool readPage(Page& page)
{
    char line[64];
    if (!std::fgets(line, sizeof line, stdin) || std::sscanf(line, "page %d", &page.dpi) != 1)
        return false;
    if (nextChar() != 'P')
        return false;
    const int kind = nextChar();
    page.width = headerNumber();
    page.height = headerNumber();
    if (page.width <= 0 || page.height <= 0 || (kind != '4' && kind != '5'))
        return false;
    page.pixels.assign(size_t(page.width) * size_t(page.height), 255);
    page.blackAndWhite = kind == '4';
    if (kind == '5') {
        if (headerNumber() != 255)
            return false;
        return readExactly(page.pixels.data(), page.pixels.size());
    }
    const size_t rowBytes = size_t(page.width + 7) / 8;
    std::vector<uint8_t> row(rowBytes);
    for (int y = 0; y < page.height; ++y) {
        if (!readExactly(row.data(), rowBytes))
            return false;
        uint8_t* out = page.pixels.data() + size_t(y) * size_t(page.width);
        for (int x = 0; x < page.width; ++x)
            if (row[size_t(x) >> 3] & (0x80 >> (x & 7)))
                out[x] = 0;
    }
    return true;
}

Code toCode(const ZXing::Result& result, int offsetX, int offsetY)
{
    Code code{ZXing::ToString(result.format()), result.text()};
    const auto& p = result.position();
    code.left = std::min({p[0].x, p[1].x, p[2].x, p[3].x}) + offsetX;
    code.right = std::max({p[0].x, p[1].x, p[2].x, p[3].x}) + offsetX;
    code.top = std::min({p[0].y, p[1].y, p[2].y, p[3].y}) + offsetY;
    code.bottom = std::max({p[0].y, p[1].y, p[2].y, p[3].y}) + offsetY;
    return code;
}

ZXing::Results readView(const ZXing::ImageView& view, const ZXing::DecodeHints& hints)
{
    try {
        return ZXing::ReadBarcodes(view, hints);
    } catch (...) {
        return {};  // a symbol the decoder chokes on is a symbol not read
    }
}

ZXing::DecodeHints hintsFor(const Page& page, ZXing::BarcodeFormats formats)
{
    // Downscaling off: with it this version of the decoder can end the
    // process on some linear codes.
    ZXing::DecodeHints hints;
    hints.setTryHarder(true).setTryDownscale(false).setTryRotate(true).setFormats(formats);
    hints.setBinarizer(page.blackAndWhite ? ZXing::Binarizer::BoolCast : ZXing::Binarizer::LocalAverage);
    return hints;
}

void whiten(Page& page, const Code& code)
{
    const int margin = std::max(4, (code.bottom - code.top) / 8);
    for (int y = std::max(0, code.top - margin); y < std::min(page.height, code.bottom + margin + 1); ++y) {
        uint8_t* row = page.pixels.data() + size_t(y) * size_t(page.width);
        const int left = std::max(0, code.left - margin);
        const int right = std::min(page.width, code.right + margin + 1);
        if (left < right)
            std::memset(row + left, 255, size_t(right - left));
    }
}

bool rowHasInk(const Page& page, const Area& area, int y)
{
    const uint8_t* row = page.pixels.data() + size_t(y) * size_t(page.width) + area.left;
    return std::any_of(row, row + area.width, [](uint8_t v) { return v < 128; });
}

ZXing::ImageView viewOf(const Page& page, const Area& area)
{
    return ZXing::ImageView(page.pixels.data(), page.width, page.height, ZXing::ImageFormat::Lum)
        .cropped(area.left, area.top, area.width, area.height);
}

// The Data Matrix detector of this decoder version only finds a symbol that
// crosses the middle line of the image it is given, and at most one of them.
// So the area is read in overlapping bands whose middle lines are closer
// than the smallest symbol, and every symbol found is whitened before its
// band is read again. Symbols from about 0.15 in to 2 in are found.
void readDataMatrix(Page& page, const Area& area, std::vector<Code>& codes)
{
    const ZXing::DecodeHints hints = hintsFor(page, ZXing::BarcodeFormat::DataMatrix);
    const int step = std::max(8, page.dpi * 12 / 100);
    const int halfBand = std::max(step, page.dpi * 5 / 4);
    for (int middle = step / 2; middle < area.height; middle += step) {
        const int half = std::min({halfBand, middle, area.height - middle});
        if (half < 8)
            continue;
        const Area band{area.left, area.top + middle - half, area.width, 2 * half};
        for (int found = 0; found < 32 && rowHasInk(page, area, area.top + middle); ++found) {
            const ZXing::Results results = readView(viewOf(page, band), hints);
            if (results.empty())
                break;
            for (const auto& result : results) {
                Code code = toCode(result, band.left, band.top);
                whiten(page, code);
                codes.push_back(std::move(code));
            }
        }
    }
}

// A grey page in black and white, each pixel against the mean of the 80 by
// 80 pixels around it: dark is 12 levels under it. Done once, so that the
// many bands of readDataMatrix take the decoder's cheapest binarizer.
Page blackAndWhite(const Page& grey)
{
    constexpr int kBlock = 16;
    const int columns = (grey.width + kBlock - 1) / kBlock;
    const int rows = (grey.height + kBlock - 1) / kBlock;
    std::vector<int> means(size_t(columns) * size_t(rows));
    for (int by = 0; by < rows; ++by)
        for (int bx = 0; bx < columns; ++bx) {
            long sum = 0;
            int count = 0;
            for (int y = by * kBlock; y < std::min(grey.height, (by + 1) * kBlock); ++y)
                for (int x = bx * kBlock; x < std::min(grey.width, (bx + 1) * kBlock); ++x, ++count)
                    sum += grey.pixels[size_t(y) * size_t(grey.width) + size_t(x)];
            means[size_t(by) * size_t(columns) + size_t(bx)] = int(sum / std::max(1, count));
        }
    Page page = grey;
    page.blackAndWhite = true;
    for (int by = 0; by < rows; ++by)
        for (int bx = 0; bx < columns; ++bx) {
            int sum = 0;
            int count = 0;
            for (int ny = std::max(0, by - 2); ny <= std::min(rows - 1, by + 2); ++ny)
                for (int nx = std::max(0, bx - 2); nx <= std::min(columns - 1, bx + 2); ++nx, ++count)
                    sum += means[size_t(ny) * size_t(columns) + size_t(nx)];
            const int threshold = sum / count - 12;
            for (int y = by * kBlock; y < std::min(grey.height, (by + 1) * kBlock); ++y)
                for (int x = bx * kBlock; x < std::min(grey.width, (bx + 1) * kBlock); ++x) {
                    uint8_t& v = page.pixels[size_t(y) * size_t(grey.width) + size_t(x)];
                    v = v < threshold ? 0 : 255;
                }
        }
    return page;
}

// Every code of an area, read in this process.
std::vector<Code> readArea(Page& page, const Area& area)
{
    using ZXing::BarcodeFormat;
    std::vector<Code> codes;
    const auto others = BarcodeFormat::Code128 | BarcodeFormat::Code39 | BarcodeFormat::ITF | BarcodeFormat::QRCode
        | BarcodeFormat::PDF417;
    for (const auto& result : readView(viewOf(page, area), hintsFor(page, others)))
        if (result.isValid())
            codes.push_back(toCode(result, area.left, area.top));
    if (page.blackAndWhite) {
        readDataMatrix(page, area, codes);
    } else {
        Page marked = blackAndWhite(page);
        readDataMatrix(marked, area, codes);
    }
    return codes;
}

void writeCodes(FILE* out, const std::vector<Code>& codes, int lost = 0)
{
    if (lost > 0)
        std::fprintf(out, "codes %zu lost %d\n", codes.size(), lost);
    else
        std::fprintf(out, "codes %zu\n", codes.size());
    for (const auto& code : codes) {
        std::fprintf(out, "%s %d %d %d %d ", code.format.c_str(), code.left, code.top, code.right, code.bottom);
        for (unsigned char c : code.text)
            std::fprintf(out, "%02x", c);
        std::fprintf(out, "\n");
    }
    std::fflush(out);
}

bool readCodes(FILE* in, std::vector<Code>& codes)
{
    size_t count = 0;
    if (std::fscanf(in, "codes %zu\n", &count) != 1)
        return false;
    for (size_t i = 0; i < count; ++i) {
        Code code;
        char format[32];
        char hex[8192];
        if (std::fscanf(in, "%31s %d %d %d %d %8191s\n", format, &code.left, &code.top, &code.right, &code.bottom, hex) != 6)
            return false;
        code.format = format;
        for (size_t j = 0; hex[j] && hex[j + 1]; j += 2)
            code.text += char(std::stoi(std::string(hex + j, 2), nullptr, 16));
        codes.push_back(std::move(code));
    }
    return true;
}

// The codes of an area, read in a child process; false when the child died.
bool readAreaInChild(Page& page, const Area& area, std::vector<Code>& codes)
{
    int channel[2];
    if (pipe(channel) != 0)
        return false;
    const pid_t child = fork();
    if (child == 0) {
        close(channel[0]);
        // The decoder's assertion messages would fill the pipe the caller seldom reads.
        std::freopen("/dev/null", "w", stderr);
        FILE* out = fdopen(channel[1], "w");
        writeCodes(out, readArea(page, area));
        _exit(0);
    }
    close(channel[1]);
    if (child < 0) {
        close(channel[0]);
        return false;
    }
    FILE* in = fdopen(channel[0], "r");
    std::vector<Code> read;
    const bool complete = readCodes(in, read);
    std::fclose(in);
    int status = 0;
    waitpid(child, &status, 0);
    if (!complete || !WIFEXITED(status) || WEXITSTATUS(status) != 0)
        return false;
    codes.insert(codes.end(), read.begin(), read.end());
    return true;
}

// Reads an area; when the decoder dies on it, reads its two halves, split
// across the longer side with an overlap of an inch, so that a code on the
// split stands whole in one of them. Areas under two inches are given up
// and counted in lost.
void readGuarded(Page& page, const Area& area, std::vector<Code>& codes, int& lost)
{
    if (readAreaInChild(page, area, codes))
        return;
    const int overlap = page.dpi;
    const bool across = area.height >= area.width;
    const int length = across ? area.height : area.width;
    if (length < 2 * page.dpi) {
        ++lost;
        return;
    }
    const int half = (length + overlap) / 2;
    Area first = area;
    Area second = area;
    if (across) {
        first.height = half;
        second.top = area.top + length - half;
        second.height = half;
    } else {
        first.width = half;
        second.left = area.left + length - half;
        second.width = half;
    }
    readGuarded(page, first, codes, lost);
    readGuarded(page, second, codes, lost);
}

// A linear code comes back as the scan line it was read on, so one code read
// in two overlapping parts may come back as two lines a little apart: those
// within slack of each other are the same code.
bool sameCode(const Code& a, const Code& b, int slack)
{
    return a.format == b.format && a.text == b.text && a.left <= b.right && b.left <= a.right && a.top <= b.bottom + slack
        && b.top <= a.bottom + slack;
}

std::vector<Code> readPageCodes(Page& page, int& lost)
{
    std::vector<Code> codes;
    lost = 0;
    readGuarded(page, Area{0, 0, page.width, page.height}, codes, lost);
    std::vector<Code> unique;
    for (auto& code : codes)
        if (std::none_of(unique.begin(), unique.end(), [&](const Code& seen) { return sameCode(seen, code, page.dpi / 3); }))
            unique.push_back(std::move(code));
    return unique;
}

}  // namespace

int main()
{
    Page page;
    int lost = 0;
    while (readPage(page)) {
        const std::vector<Code> codes = readPageCodes(page, lost);
        writeCodes(stdout, codes, lost);
    }
    return 0;
}
