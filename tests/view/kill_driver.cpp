// Saves and page rewrites of one report, over and over, for the viewer's kill
// test: kill_driver COPY ORIGINAL. Each finished operation prints a line.
// Runs until it is killed.

#include "store/PageImage.h"
#include "store/TiffReader.h"
#include "view/PageFiles.h"

#include <QString>

#include <cstdio>

using namespace tarlox;

namespace {

void mark(QImage& page, int at)
{
    for (int y = 300; y < 340; ++y)
        for (int x = at; x < at + 40 && x < page.width(); ++x)
            page.setPixel(x, y, 1);
}

}  // namespace

int main(int argc, char** argv)
{
    if (argc < 3) {
        std::fprintf(stderr, "usage: kill_driver COPY ORIGINAL\n");
        return 2;
    }
    const QString copy = QString::fromLocal8Bit(argv[1]);
    const QString original = QString::fromLocal8Bit(argv[2]);
    for (int i = 0;; ++i) {
        auto reader = TiffReader::open(copy);
        if (!reader) {
            std::fprintf(stderr, "%s\n", qPrintable(reader.error()));
            return 1;
        }
        const int pages = reader->pageCount();
        bool ok = false;
        const char* what = "";
        if (i % 3 == 0) {
            auto page = reader->readPage(1);
            if (!page)
                return 1;
            QImage edited = ToStoreMono(*page);
            mark(edited, 100 + (i * 50) % 1200);
            ok = SaveEditedCopy(copy, original, edited, 2).ok();
            what = "save";
        } else if (pages == 3) {
            QImage extra = NewMonoPage(850, 1100);
            SetDpi(extra, Dpi{100, 100});
            mark(extra, 10 + i % 500);
            ok = RewritePages(copy, ScanMode::Append, 3, [&] { return std::optional<QImage>(extra); }).ok();
            what = "append";
        } else {
            ok = RewritePages(copy, ScanMode::Delete, pages, {}).ok();
            what = "delete";
        }
        if (!ok)
            return 1;
        std::printf("%s %d\n", what, i);
        std::fflush(stdout);
    }
}
