#include "output/forms/PrintDoc.h"

#include "base/Prompter.h"
#include "data/Session.h"
#include "data/Settings.h"
#include "output/OutputPreparation.h"
#include "store/ImageFiles.h"
#include "store/TiffReader.h"

#include <QDir>
#include <QFile>
#include <QLineEdit>
#include <QPainter>
#include <QPrintDialog>
#include <QPrinter>
#include <QPrinterInfo>
#include <QRegularExpression>

#include <algorithm>

namespace tarlox {

namespace {

constexpr double kTwipsPerInch = 1440;

// Removes the files it holds when the run ends, however it ends.
struct TempFiles {
    QStringList files;
    ~TempFiles()
    {
        for (const QString& file : files)
            QFile::remove(file);
    }
};

bool SameDir(const QString& a, const QString& b)
{
    return QDir::cleanPath(QDir(a).absolutePath()) == QDir::cleanPath(QDir(b).absolutePath());
}

}  // namespace

namespace output {

void SetPrinter(Session& session, QPrinter& printer)
{
    if (session.printer.isEmpty() || printer.outputFormat() != QPrinter::NativeFormat)
        return;
    if (!QPrinterInfo::printerInfo(session.printer).isNull())
        printer.setPrinterName(session.printer);
}

bool GetPrinter(QWidget* form, QPrinter& printer, int pageCount, int& copies, int& from, int& to)
{
    QPrintDialog dialog(&printer, form);
    dialog.setOption(QAbstractPrintDialog::PrintPageRange, true);
    dialog.setMinMax(1, std::max(1, pageCount));
    dialog.setFromTo(1, std::max(1, pageCount));
    if (dialog.exec() != QDialog::Accepted)
        return false;
    copies = std::max(1, printer.copyCount());
    printer.setCopyCount(1);
    if (printer.printRange() == QPrinter::PageRange && printer.fromPage() > 0) {
        from = printer.fromPage();
        to = std::min(pageCount, printer.toPage() > 0 ? printer.toPage() : pageCount);
    }
    printer.setPrintRange(QPrinter::AllPages);
    return true;
}

}  // namespace output

void RemoveTemporary(const PrintFile& file)
{
    for (const QString& path : file.temporary)
        QFile::remove(path);
}

IoResult<PrintFile> PreparePrint(Session& s, const QString& pages, const QString& fileName, bool annotate,
                                 const MessageFields& fields, const PrintProgress& progress)
{
    PrintFile print{fileName, {}};
    if (!s.tempDir.isEmpty() && !SameDir(s.tempDir, s.dataDir)) {
        const QString copy = QDir(s.tempDir).filePath(QStringLiteral("TP") + fileName.right(10));
        QFile::remove(copy);
        if (!QFile::copy(fileName, copy))
            return Failure(QStringLiteral("\"%1\" could not be copied to \"%2\".").arg(fileName, copy));
        print.temporary << copy;
        print.path = copy;
    }
    const OutputSettings settings = ReadOutputSettings(s);
    const bool allPages = pages.trimmed().isEmpty() || pages.trimmed().compare(QLatin1String("All"), Qt::CaseInsensitive) == 0;
    if (!settings.authorization.isEmpty() || !allPages || annotate || settings.addMessage) {
        IoResult<QString> made = SaveFile(s, print.path, pages, 0, false, fields, progress);
        if (!made) {
            RemoveTemporary(print);
            return made.failure();
        }
        // An annotated file keeps its first state beside it ("OT").
        print.temporary << *made << OutputOriginalPathOf(*made);
        print.path = *made;
    }
    return print;
}

IoStatus PrintPrepared(Session& s, QPrinter& printer, const PrintFile& print, PrintFrame frame, QWidget* dialogOwner,
                       const PrintProgress& progress, bool keepTemporary)
{
    TempFiles temp;
    if (!keepTemporary)
        temp.files = print.temporary;
    output::SetPrinter(s, printer);
    const QString& file = print.path;
    IoResult<TiffReader> reader = TiffReader::open(file);
    if (!reader)
        return reader.failure();
    int copies = 1;
    int from = 1;
    int to = reader->pageCount();
    if (dialogOwner && GetLocalBool(s, section::Info, QStringLiteral("AskForPrinter")))
        output::GetPrinter(dialogOwner, printer, reader->pageCount(), copies, from, to);

    const QRectF frameInches(1 / kTwipsPerInch, 1 / kTwipsPerInch, 11520 / kTwipsPerInch,
                             (frame == PrintFrame::Long ? 19440 : 15120) / kTwipsPerInch);
    const bool toFile = printer.outputFormat() == QPrinter::PdfFormat;  // one file holds every page
    QPainter painter;
    for (int copy = 1; copy <= copies; ++copy) {
        for (int page = from; page <= to; ++page) {
            if (progress && !progress(QStringLiteral("Printing Page %1 of %2").arg(page).arg(file)))
                return Failure(kOutputCancelled);
            IoResult<QImage> image = reader->readPage(page - 1);
            if (!image)
                return image.failure();
            QImage sheet = *image;
            if (sheet.height() < sheet.width())
                sheet = sheet.convertToFormat(QImage::Format_Grayscale8).transformed(QTransform().rotate(-90));
            if (painter.isActive()) {
                printer.newPage();
            } else if (!painter.begin(&printer)) {
                return Failure(QStringLiteral("The printer \"%1\" could not start a print job.")
                                   .arg(printer.printerName().isEmpty() ? printer.outputFileName() : printer.printerName()));
            }
            const double dpi = printer.resolution();
            painter.drawImage(QRectF(frameInches.left() * dpi, frameInches.top() * dpi, frameInches.width() * dpi,
                                     frameInches.height() * dpi),
                              sheet);
            if (!toFile && !painter.end())  // each page a job of its own
                return Failure(QStringLiteral("The print job of page %1 could not be finished.").arg(page));
        }
    }
    if (painter.isActive() && !painter.end())
        return Failure(QStringLiteral("The printed file \"%1\" could not be finished.").arg(printer.outputFileName()));
    return {};
}

IoStatus PrintDoc(Session& s, QPrinter& printer, const QString& pages, const QString& fileName, PrintFrame frame,
                  const MessageFields& fields, QWidget* dialogOwner, const PrintProgress& progress)
{
    s.traceCall(QStringLiteral("PrintDoc"), {pages, fileName});
    IoResult<PrintFile> prepared = PreparePrint(s, pages, fileName, ReadOutputSettings(s).annotate, fields, progress);
    if (!prepared)
        return prepared.failure();
    return PrintPrepared(s, printer, *prepared, frame, dialogOwner, progress);
}

MessageFields SetMessageFields(const QWidget* form)
{
    const auto text = [form](const char* name) {
        const auto* box = form->findChild<QLineEdit*>(QLatin1String(name));
        return box ? box->text() : QString();
    };
    MessageFields m;
    m.order = text("txtOrder");
    m.custPO = text("txtCustPO");
    m.invoice = text("txtInvoice");
    m.lineNum = text("txtLineNum");
    m.partDesc = text("txtPartDesc");
    m.quantity = text("txtQuantity");
    m.to = text("txtComp");
    m.heat = text("txtHeat");
    m.tag = text("txtTag");
    return m;
}

bool ValidatePagesBox(Session& s, QLineEdit* box)
{
    const QString text = box->text().trimmed();
    if (text.isEmpty()) {
        box->setText(QStringLiteral("All"));
        return true;
    }
    if (text.compare(QLatin1String("All"), Qt::CaseInsensitive) == 0
        || QRegularExpression(QStringLiteral("^[,0-9]+$")).match(text).hasMatch())
        return true;
    s.prompter().tell(QStringLiteral("Invalid Pages"), QStringLiteral("Pages must be 'All' or in the form 'n,m,l'"), Icon::Exclamation);
    box->setText(QStringLiteral("All"));
    return false;
}

}  // namespace tarlox
