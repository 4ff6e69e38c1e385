#pragma once

#include "base/IoResult.h"
#include "store/PageImage.h"

#include <QDateTime>
#include <QImage>
#include <QList>
#include <QString>

namespace tarlox {

// PDF files of black-and-white pages, one image per page, without loss.
//
// A Group 4 page of a TIFF goes into the PDF as it is stored: each strip
// becomes one image with the CCITTFaxDecode filter, its bytes copied (bits
// reversed where the file has FillOrder LSB2MSB). A page of several strips
// becomes as many images, each the height of its strip, placed one under
// the other; every strip is a complete Group 4 image of its own, so nothing
// is decoded. Any other page (an image in memory, a page of another
// encoding) is encoded as Group 4 once. The page size is the image's size
// at its resolution.

// Text laid invisibly over a page, where the image shows it, so that the
// page can be searched and its text copied: a line starting at x, its
// baseline at y (pixels of the page, from the top left), size the height of
// its letters in pixels. Written in the standard font Helvetica, Latin-1.
struct PdfTextRun {
    QString text;
    double x = 0;
    double y = 0;
    double size = 0;
};

// One page of a PDF: a page of a TIFF file, or a page in memory.
struct PdfPage {
    QString tiff;  // the TIFF file; empty for a page in memory
    int page = 0;  // page of the TIFF, from 0
    QImage image;  // a page in memory; grey or colour is reduced to black and white
    Dpi dpi;       // resolution of the page in memory; 0 takes the image's own
    QList<PdfTextRun> text;  // invisible text over the page

    static PdfPage fromTiff(const QString& path, int page) { return PdfPage{path, page, {}, {}, {}}; }
    static PdfPage fromImage(const QImage& image, Dpi dpi = {}) { return PdfPage{{}, 0, image, dpi, {}}; }
};

// An entry of the document's outline (its bookmarks): a title and the page
// it opens, from 0.
struct PdfBookmark {
    QString title;
    int page = 0;
};

struct PdfOptions {
    bool pdfa = false;  // PDF/A-1b: XMP metadata and an sRGB output intent
    QString title;
    QDateTime created;  // creation and modification date; now when not valid
    QList<PdfBookmark> outline;  // one level, in this order; the viewer shows it when not empty
};

// Writes the pages as a new PDF at target, replacing any file there. The
// file is written beside the target and renamed onto it: on failure the
// target stands as it was.
IoStatus WritePdf(const QString& target, const QList<PdfPage>& pages, const PdfOptions& options = {});

// Writes pages (from 0) of a TIFF file as a PDF; an empty list means every page.
IoStatus TiffToPdf(const QString& tiff, const QList<int>& pages, const QString& target, const PdfOptions& options = {});

}  // namespace tarlox
