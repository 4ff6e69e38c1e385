#pragma once

// Reports on disk and in the database for the viewer's tests.

#include "data/ImageData.h"
#include "base/FileTools.h"
#include "data/Session.h"
#include "store/ImageFiles.h"
#include "store/PageImage.h"
#include "store/TestPages.h"
#include "store/TiffReader.h"
#include "store/TiffWriter.h"
#include "support/FullDisk.h"
#include "support/TestSite.h"

#include <QImage>
#include <QList>

namespace tarlox::test {

// A page that says which page it is: a black bar whose width grows with n.
inline QImage NumberedPage(int n, int width = 850, int height = 1100, double dpi = 100)
{
    QImage page = NewMonoPage(width, height);
    FillBlack(page, 10, 10, 20 * n, 20);
    SetDpi(page, Dpi{dpi, dpi});
    return page;
}

// Which page NumberedPage made this (0 when it isn't one).
inline int PageNumberOf(const QImage& page)
{
    const QImage mono = ToStoreMono(page);
    if (mono.isNull() || mono.height() < 30 || !IsBlackAt(mono, 15, 15))
        return 0;
    int x = 10;
    while (x < mono.width() && IsBlackAt(mono, x, 15))
        ++x;
    return (x - 10) / 20;
}

// A page that looks like a certificate (typed lines) and still says which
// page it is: NumberedPage's bar on a white heading band.
inline QImage CertificatePage(int n, int width = 1275, int height = 1650, double dpi = 150)
{
    QImage page = TextPage(width, height, quint32(n), dpi);
    for (int y = 10; y < 30; ++y)
        for (int x = 0; x < 300 && x < width; ++x)
            page.setPixel(x, y, 0);
    FillBlack(page, 10, 10, 20 * n, 20);
    return page;
}

inline QList<QImage> NumberedPages(int count, int width = 850, int height = 1100)
{
    QList<QImage> pages;
    for (int i = 1; i <= count; ++i)
        pages.append(NumberedPage(i, width, height));
    return pages;
}

// The page numbers of a file, in order; empty when it can't be read whole.
inline QList<int> PageNumbersOf(const QString& path)
{
    QList<int> numbers;
    auto reader = TiffReader::open(path);
    if (!reader)
        return numbers;
    for (int i = 0; i < reader->pageCount(); ++i) {
        auto page = reader->readPage(i);
        if (!page)
            return {};
        numbers.append(PageNumberOf(*page));
    }
    return numbers;
}

// Stores pages as image number in the site's data directory with its row,
// and makes it the image in hand, as the selection screen does.
inline QString StoreReport(TestSite& site, const QList<QImage>& pages, qint32 number = 42, const QString& size = QStringLiteral(" "))
{
    Session& s = site.session();
    const QString path = JoinPath(s.dataDir, ImageFileNameFor(number));
    if (!WriteTiff(path, pages))
        return {};
    if (!ReadImage(s, number)) {
        s.image = ImageRecord{number, s.dataDir, s.dataVolume, QDateTime(QDate(2024, 3, 5), QTime(0, 0)), size, QStringLiteral("4")};
        if (!AddImage(s, false))
            return {};
    }
    s.currentImage = number;
    s.imageFileName = ImageFileNameFor(number);
    s.imageFilePath = path;
    return path;
}

}  // namespace tarlox::test
