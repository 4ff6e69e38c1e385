#include "output/forms/PrintDoc.h"

#include "base/Prompter.h"
#include "base/forms/PrinterSetup.h"
#include "data/Session.h"
#include "data/Settings.h"
#include "store/ImageFiles.h"
#include "store/TiffReader.h"

#include <QDialog>
#include <QDir>
#include <QFile>
#include <QLineEdit>
#include <QPainter>
#include <QPrinter>
#include <QProgressBar>
#include <QPushButton>
#include <QRegularExpression>

#include <algorithm>

namespace tarlox {

namespace {

constexpr double kTwipsPerInch = 1440;

bool SameDir(const QString& a, const QString& b)
{
    return QDir::cleanPath(QDir(a).absolutePath()) == QDir::cleanPath(QDir(b).absolutePath());
}

}  // namespace

PrintSettings ReadPrintSettings(Session& s)
{
    return PrintSettings{ReadOutputSettings(s), s.dataDir, s.now().date(), GetLocalBool(s, section::Info, QStringLiteral("AskForPrinter"))};
}

void RemoveTemporary(const PrintFile& file)
{
    for (const QString& path : file.temporary)
        QFile::remove(path);
}

IoResult<PrintFile> PreparePrintFile(const PrintSettings& settings, const PrintItem& item, bool annotate, const ProgressStep& step)
{
    const OutputSettings& output = settings.output;
    PrintFile print{item.file, {}, 0};
    if (!output.tempDir.isEmpty() && !SameDir(output.tempDir, settings.dataDir)) {
        const QString copy = QDir(output.tempDir).filePath(QStringLiteral("TP") + item.file.right(10));
        QFile::remove(copy);
        if (!QFile::copy(item.file, copy))
            return Failure(QStringLiteral("\"%1\" could not be copied to \"%2\".").arg(item.file, copy));
        print.temporary << copy;
        print.path = copy;
    }
    const QString pages = item.pages.trimmed();
    const bool allPages = pages.isEmpty() || pages.compare(QLatin1String("All"), Qt::CaseInsensitive) == 0;
    if (!output.authorization.isEmpty() || !allPages || annotate || output.addMessage) {
        IoResult<QString> made = PrepareFile(output, settings.today, false, {print.path, item.pages, 0, item.fields}, step);
        if (!made) {
            RemoveTemporary(print);
            return made.failure();
        }
        // An annotated file keeps its first state beside it ("OT").
        print.temporary << *made << OutputOriginalPathOf(*made);
        print.path = *made;
    }
    IoResult<TiffReader> reader = TiffReader::open(print.path);
    if (!reader) {
        RemoveTemporary(print);
        return reader.failure();
    }
    print.pageCount = reader->pageCount();
    return print;
}

IoStatus PrintPages(QPrinter& printer, const QString& file, PrintFrame frame, int from, int to, int copies, const ProgressStep& step,
                    QPainter* pdfPainter)
{
    IoResult<TiffReader> reader = TiffReader::open(file);
    if (!reader)
        return reader.failure();
    const QRectF frameInches(1 / kTwipsPerInch, 1 / kTwipsPerInch, 11520 / kTwipsPerInch,
                             (frame == PrintFrame::Long ? 19440 : 15120) / kTwipsPerInch);
    const bool toFile = printer.outputFormat() == QPrinter::PdfFormat;  // one file holds every page
    QPainter own;
    QPainter& painter = toFile && pdfPainter ? *pdfPainter : own;
    for (int copy = 1; copy <= copies; ++copy) {
        for (int page = from; page <= std::min(to, reader->pageCount()); ++page) {
            if (step && !step(QStringLiteral("Printing Page %1 of %2").arg(page).arg(file)))
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
    if (&painter == &own && painter.isActive() && !painter.end())
        return Failure(QStringLiteral("The printed file \"%1\" could not be finished.").arg(printer.outputFileName()));
    return {};
}

IoStatus PrintDoc(Session& session, QPrinter& printer, const QString& pages, const QString& fileName, PrintFrame frame,
                  const MessageFields& fields, const ProgressStep& step)
{
    const PrintItem item{fileName, pages, fields, frame, 1};
    IoResult<PrintFile> file = PreparePrintFile(ReadPrintSettings(session), item, false, step);
    if (!file)
        return Failure(file.error());
    const IoStatus printed = PrintPages(printer, file->path, frame, 1, file->pageCount, 1, step);
    RemoveTemporary(*file);
    return printed;
}

PrintRun::PrintRun(Session& session, QWidget* owner) : QObject(owner), session_(session), owner_(owner) {}

PrintRun::~PrintRun()
{
    if (current_)
        RemoveTemporary(*current_);
}

QPrinter* PrintRun::printer()
{
    if (printer_)
        return printer_;
    if (!own_)
        own_ = std::make_shared<QPrinter>(QPrinter::HighResolution);
    return own_.get();
}

void PrintRun::attach(QDialog* form, QPushButton* print, QPushButton* cancel, QLineEdit* message, QProgressBar* bar)
{
    if (bar) {  // the buttons stay where they are when the bar shows
        QSizePolicy policy = bar->sizePolicy();
        policy.setRetainSizeWhenHidden(true);
        bar->setSizePolicy(policy);
    }
    connect(cancel, &QPushButton::clicked, form, [this, form] {
        if (running_)
            this->cancel();
        else
            form->close();
    });
    connect(this, &PrintRun::progress, form, [this, print, message, bar](const QString& doing, int done, int total) {
        print->setEnabled(!running_);
        message->setText(doing);
        if (bar) {
            bar->setRange(0, total);
            bar->setValue(done);
            bar->setVisible(running_);
        }
    });
    connect(this, &PrintRun::finished, form, &QWidget::close, Qt::QueuedConnection);
}

void PrintRun::start(const QList<PrintItem>& items, bool annotate)
{
    if (running_)
        return;
    session_.traceCall(QStringLiteral("PrintDoc"), {QString::number(items.size())});
    settings_ = ReadPrintSettings(session_);
    SetPrinter(session_, *printer());
    items_ = items;
    index_ = 0;
    annotate_ = annotate;
    running_ = true;
    stop_ = NewStopFlag();
    next();
}

void PrintRun::cancel()
{
    *stop_ = true;
    if (waiting_)  // nothing is under way: the run ends here
        finish(false);
}

void PrintRun::next()
{
    if (*stop_ || index_ >= items_.size()) {
        finish(!*stop_);
        return;
    }
    emit progress(QString(), int(index_), int(items_.size()));
    const ProgressStep step = RelayedStep(this, stop_, [this](const QString& doing) {
        emit progress(doing, int(index_), int(items_.size()));
    });
    RunInBackground(
        this, [settings = settings_, item = items_[index_], annotate = annotate_, step] { return PreparePrintFile(settings, item, annotate, step); },
        [this](IoResult<PrintFile> file) { prepared(std::move(file)); });
}

void PrintRun::prepared(IoResult<PrintFile> file)
{
    if (!file) {
        if (file.error() != kOutputCancelled)
            session_.prompter().tell(QStringLiteral("Print"), file.error(), Icon::Exclamation);
        finish(false);
        return;
    }
    current_ = *file;
    if (*stop_) {
        finish(false);
        return;
    }
    if (annotate_) {
        waiting_ = true;
        emit progress(QStringLiteral("Annotate the pages; closing the viewer prints them."), int(index_), int(items_.size()));
        emit annotateRequested(current_->path);
        return;
    }
    print();
}

void PrintRun::annotationDone()
{
    if (!waiting_)
        return;
    waiting_ = false;
    print();
}

void PrintRun::print()
{
    const PrintItem& item = items_[index_];
    int copies = item.copies;
    int from = 1;
    int to = current_->pageCount;
    // Asked for each report, but not again once a PDF file of the run is
    // open: the reports after the first go into that file.
    if (owner_ && settings_.askForPrinter && !(pdfPainter_ && pdfPainter_->isActive())) {
        int dialogCopies = 1;
        if (!GetPrinter(owner_, *printer(), current_->pageCount, dialogCopies, from, to)) {
            printed(IoStatus{});  // this report is left out
            return;
        }
        copies *= dialogCopies;
    }
    const ProgressStep step = RelayedStep(this, stop_, [this](const QString& doing) {
        emit progress(doing, int(index_), int(items_.size()));
    });
    // The printer lives as long as the job needs it, whoever owns it.
    std::shared_ptr<QPrinter> keep = printer_ ? std::shared_ptr<QPrinter>(printer_, [](QPrinter*) {}) : own_;
    if (!pdfPainter_)
        pdfPainter_ = std::make_shared<QPainter>();
    RunInBackground(
        this, [keep, painter = pdfPainter_, file = current_->path, frame = item.frame, from, to, copies, step] {
            return PrintPages(*keep, file, frame, from, to, copies, step, painter.get());
        },
        [this](IoStatus status) { printed(status); });
}

void PrintRun::printed(const IoStatus& status)
{
    RemoveTemporary(*current_);
    current_.reset();
    if (!status) {
        if (status.error() != kOutputCancelled)
            session_.prompter().tell(QStringLiteral("Print"), status.error(), Icon::Exclamation);
        finish(false);
        return;
    }
    ++index_;
    next();
}

void PrintRun::finish(bool completed)
{
    if (pdfPainter_ && pdfPainter_->isActive() && !pdfPainter_->end() && completed) {
        session_.prompter().tell(QStringLiteral("Print"),
                                 QStringLiteral("The printed file \"%1\" could not be finished.").arg(printer()->outputFileName()),
                                 Icon::Exclamation);
        completed = false;
    }
    pdfPainter_.reset();
    if (current_) {
        RemoveTemporary(*current_);
        current_.reset();
    }
    waiting_ = false;
    running_ = false;
    emit progress(QString(), int(index_), int(items_.size()));
    emit finished(completed);
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
