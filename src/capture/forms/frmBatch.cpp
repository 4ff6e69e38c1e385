#include "capture/forms/frmBatch.h"

#include "base/ErrorReport.h"
#include "base/FileTools.h"
#include "base/Prompter.h"
#include "base/TextTools.h"
#include "base/forms/FormLayout.h"
#include "capture/BatchFiles.h"
#include "capture/ScanChoices.h"
#include "capture/forms/BrightnessControls.h"
#include "capture/forms/ScanDialogs.h"
#include "data/FormGeometry.h"
#include "data/Session.h"
#include "data/Settings.h"
#include "store/OffThread.h"
#include "store/ScannerSession.h"
#include "ui_frmBatch.h"

#include <QCloseEvent>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QHeaderView>
#include <QPainter>

namespace tarlox {

namespace {

const QColor kAppendedColour(0xC0, 0xFF, 0xFF);  // FFFFC0 blue-green-red: light cyan
const QColor kSkippedColour(0xFF, 0xFF, 0xC0);   // C0FFFF: light yellow
constexpr int kColumns = 6;

}  // namespace

frmBatch::frmBatch(Session& session, QWidget* parent)
    : QWidget(parent)
    , session_(session)
    , ui_(std::make_unique<Ui::frmBatch>())
{
    ui_->setupUi(this);
    setMinimumWidth(TwipsToPixels(9060));
    brightness_ = new BrightnessControls(ui_->txtBright, ui_->hsbBright, this);
    ui_->prgWork->hide();
    ui_->cmdCancel->hide();
    ui_->grdSave->setColumnCount(kColumns);
    // Each page of the strip the same size, whatever its mark says.
    ui_->lstThumbs->setGridSize(QSize(112, 132));
    ui_->lstThumbs->setUniformItemSizes(true);
    ui_->lstThumbs->setWordWrap(true);
    ui_->grdSave->verticalHeader()->setVisible(true);

    connect(ui_->tabMain, &QTabWidget::currentChanged, this, &frmBatch::tabMain_Click);
    connect(ui_->cmdGetDir, &QPushButton::clicked, this, &frmBatch::cmdGetDir_Click);
    connect(ui_->txtFilesDir, &QLineEdit::textChanged, this, &frmBatch::txtFilesDir_Change);
    connect(ui_->cmdSelectAll, &QPushButton::clicked, this, [this] { SelectImages(true); });
    connect(ui_->cmdClearAll, &QPushButton::clicked, this, [this] { SelectImages(false); });
    connect(ui_->cmdScan, &QPushButton::clicked, this, &frmBatch::cmdScan_Click);
    connect(ui_->cmdAdd, &QPushButton::clicked, this, &frmBatch::cmdAdd_Click);
    connect(ui_->cmdNext, &QPushButton::clicked, this, [this] { NewPage(currentPage_ + 1, true); });
    connect(ui_->cmdPrevious, &QPushButton::clicked, this, [this] { NewPage(currentPage_ - 1, true); });
    connect(ui_->cmdCancel, &QPushButton::clicked, this, [this] {
        cancel_ = true;
        ui_->lblStatus->setText(QStringLiteral("Stopping..."));
    });
    connect(ui_->txtHeat, &QLineEdit::textEdited, this, [this](const QString& t) { fieldEdited(&BatchItem::heat, t); });
    connect(ui_->txtPart, &QLineEdit::textEdited, this, [this](const QString& t) { fieldEdited(&BatchItem::part, t); });
    // P/O is kept as typed but decides nothing until the page is shown again
    // or Heat or Part change.
    connect(ui_->txtPO, &QLineEdit::textEdited, this, [this](const QString& t) {
        if (currentPage_ > 0)
            pages_.item(currentPage_).po = t;
    });
    // A row of the list: that page, on the indexing tab.
    connect(ui_->grdSave, &QTableWidget::cellClicked, this, [this](int row, int) {
        if (!listEnabled_ || working_ || row + 1 > pages_.pageCount())
            return;
        NewPage(row + 1, false);
        ui_->tabMain->setCurrentIndex(IndexTab);
    });
    connect(ui_->lstThumbs, &QListWidget::itemClicked, this, [this](QListWidgetItem* item) {
        if (working_ || !pending_)
            return;
        const int page = ui_->lstThumbs->row(item) + 1;
        if (ui_->tabMain->currentIndex() != IndexTab)
            ui_->tabMain->setCurrentIndex(IndexTab);
        if (page != currentPage_)
            NewPage(page, true);
    });
    Form_Load();
}

frmBatch::~frmBatch() = default;

void frmBatch::Form_Load()
{
    session_.traceCall(QStringLiteral("frmBatch.Form_Load"));
    const QString separator = GetLocal(session_, section::Form, QStringLiteral("BatchSeparator"));
    if (IntVal(separator) > 0) {
        const int left = TwipsToPixels(IntVal(separator));
        ui_->fraSeparator->setSizes({left, std::max(100, width() - left)});
    }
    const QString size = GetLocal(session_, section::Form, QStringLiteral("BatchPageSize")).trimmed().toUpper();
    (size == QLatin1String("G") ? ui_->optLegal : size == QLatin1String("A") ? ui_->optA4 : ui_->optLetter)->setChecked(true);
    applySiteNames();
    const QStringList headers{QStringLiteral("Heat"), QStringLiteral("Part"), ui_->lblPO->text().remove(QLatin1Char('&')).remove(QLatin1Char(':')),
                              ui_->lblVend->text().remove(QLatin1Char('&')).remove(QLatin1Char(':')),
                              ui_->lblMfg->text().remove(QLatin1Char('&')).remove(QLatin1Char(':')), QStringLiteral("Append")};
    ui_->grdSave->setHorizontalHeaderLabels(headers);
    for (int c = 0; c < 5; ++c) {
        int twips = IntVal(GetLocal(session_, section::Form, QStringLiteral("BatchColWidth%1").arg(c)));
        if (twips < 200)
            twips = 600;
        ui_->grdSave->setColumnWidth(c, std::max(TwipsToPixels(twips), 40));
    }
    ui_->txtFilesDir->setText(GetLocal(session_, section::Form, QStringLiteral("BatchDir")));
    LoadData();
    ClearGrid();
    GetFormSize(session_, this, {}, QStringLiteral("frmBatch"));
    const int first = IntVal(GetLocal(session_, section::Form, QStringLiteral("BatchFirstTab")));
    if (first >= ScanTab && first <= ReadTab && ui_->tabMain->isTabEnabled(first))
        ui_->tabMain->setCurrentIndex(first);
    else if (!ui_->txtFilesDir->text().isEmpty() || !scannerAvailable())
        ui_->tabMain->setCurrentIndex(ReadTab);
}

void frmBatch::applySiteNames()
{
    const auto apply = [](QLabel* label, QLineEdit* field, const FieldTexts& texts) {
        label->setText(texts.label);
        field->setToolTip(texts.hint);
    };
    apply(ui_->lblPO, ui_->txtPO, PurchaseOrderTexts(session_.poShort, FieldTexts{ui_->lblPO->text(), ui_->txtPO->toolTip()}));
    apply(ui_->lblVend, ui_->txtVend, VendorTexts(session_.vendShort, FieldTexts{ui_->lblVend->text(), ui_->txtVend->toolTip()}));
    apply(ui_->lblMfg, ui_->txtMfg, ManufacturerTexts(session_.mfgShort, FieldTexts{ui_->lblMfg->text(), ui_->txtMfg->toolTip()}));
}

bool frmBatch::scannerAvailable() const
{
    return session_.machine.scanner;
}

void frmBatch::LoadData()
{
    session_.traceCall(QStringLiteral("frmBatch.LoadData"));
    pending_ = false;
    listEnabled_ = false;
    const ResolutionChoice resolution = ReadResolutionChoice(session_);
    ui_->opt200->setText(resolution.lowCaption());
    ui_->opt300->setText(resolution.highCaption());
    (HighResolutionByDefault(session_) ? ui_->opt300 : ui_->opt200)->setChecked(true);
    brightness_->setValue(DefaultBrightness(session_));
    workFile_ = BatchWorkFile(session_);
    ui_->tabMain->setTabEnabled(ScanTab, scannerAvailable());
    ui_->txtHeat->clear();
    ui_->txtPart->clear();
    ui_->imcMain->clear();
    ui_->lblPage->clear();
    copy_.reset();
    pages_.reset(0);
    sources_.clear();
    currentPage_ = 0;
    ui_->lstThumbs->clear();
    ClearGrid();
    SetCommandButtons();
}

void frmBatch::cmdGetDir_Click()
{
    const QString start = !ui_->txtFilesDir->text().trimmed().isEmpty() ? ui_->txtFilesDir->text()
                                                                           : GetLocal(session_, section::Form, QStringLiteral("BatchDir"));
    const QString chosen = session_.prompter().chooseDirectory(QStringLiteral("Image Directory"), start);
    if (chosen.isEmpty())
        return;
    ui_->txtFilesDir->setText(QDir::toNativeSeparators(chosen));
    PutLocal(session_, section::Form, QStringLiteral("BatchDir"), ui_->txtFilesDir->text());
}

void frmBatch::txtFilesDir_Change()
{
    ui_->lstFiles->clear();
    const QString dir = ui_->txtFilesDir->text().trimmed();
    if (dir.isEmpty())
        return;
    // Every matching file is listed, and each new name arrives selected.
    for (const QString& name : ListBatchFiles(dir)) {
        auto* item = new QListWidgetItem(name, ui_->lstFiles);
        item->setData(Qt::UserRole, ui_->lstFiles->count());
        item->setSelected(true);
    }
}

void frmBatch::SelectImages(bool selected)
{
    for (int i = 0; i < ui_->lstFiles->count(); ++i)
        ui_->lstFiles->item(i)->setSelected(selected);
}

void frmBatch::setWorking(bool working, const QString& status)
{
    working_ = working;
    cancel_ = false;
    ui_->prgWork->setVisible(working);
    ui_->cmdCancel->setVisible(working);
    ui_->tabMain->setEnabled(!working);
    ui_->lstThumbs->setEnabled(!working);
    ui_->lblStatus->setText(status);
    if (working) {
        ui_->prgWork->setRange(0, 0);
        ui_->cmdCancel->setFocus();
    }
}

void frmBatch::cmdScan_Click()
{
    if (working_)
        return;
    session_.traceCall(QStringLiteral("frmBatch.cmdScan_Click"));
    brightness_->txtBright_LostFocus();
    KillFile(workFile_);
    copy_.reset();
    session_.pageSizeCode = PageSizeCodeFor(ui_->optLegal->isChecked(), ui_->optA4->isChecked());
    const int dpi = IntVal(ReadResolutionChoice(session_).dpiFor(ui_->opt300->isChecked()));
    session_.dpi = QString::number(dpi);
    session_.brightness = brightness_->value();
    ScanProfile profile;
    profile.outputFile = workFile_;
    profile.scanDoneAtStart = true;
    profile.adfStepLabel = false;
    profile.sizeTest = false;
    profile.singlePrecisionFrame = true;
    ScannerSession scanner(session_, profile, ScanSettings::read(session_, dpi, brightness_->value(), session_.pageSizeCode));
    AttachScanDialogs(scanner, this, nullptr);
    connect(&scanner, &ScannerSession::pageReady, this, [this](const QImage& page, int number) {
        ui_->imcMain->setPage(page);
        ui_->lblStatus->setText(QStringLiteral("Page %1 scanned.").arg(number));
    });
    setWorking(true, QStringLiteral("Scanning..."));
    connect(ui_->cmdCancel, &QPushButton::clicked, &scanner, &ScannerSession::requestStop);
    scanner.Scan();
    setWorking(false);
    auto reader = TiffReader::open(workFile_);
    if (reader && reader->pageCount() > 0) {
        scanned_ = true;
        if (auto first = reader->readPage(0))
            ui_->imcMain->setPage(*first);
        ui_->lblPage->setText(QStringLiteral("Page 1"));
        ui_->lblStatus->setText(QStringLiteral("%1 page(s) scanned: index them on the Index tab.").arg(reader->pageCount()));
    }
}

bool frmBatch::LoadFilesForIndexing()
{
    session_.traceCall(QStringLiteral("LoadFilesForIndexing"));
    const QString dir = ui_->txtFilesDir->text().trimmed();
    QStringList files;
    for (int i = 0; i < ui_->lstFiles->count(); ++i) {
        if (ui_->lstFiles->item(i)->isSelected())
            files.append(JoinPath(dir, ui_->lstFiles->item(i)->text()));
    }
    const int dpi = BatchWorkDpi(session_);
    setWorking(true, QStringLiteral("Reading files..."));
    int fileCount = int(files.size());
    ui_->prgWork->setRange(0, fileCount);
    BatchReadResult result;
    RunOffThread([&] {
        result = ReadBatchFiles(files, workFile_, dpi, [&](const BatchReadProgress& p) {
            QMetaObject::invokeMethod(this, [this, p] {
                ui_->prgWork->setValue(p.file - 1);
                ui_->lblStatus->setText(QStringLiteral("Reading %1, page %2 of %3...").arg(p.name).arg(p.page).arg(p.pages));
            }, Qt::QueuedConnection);
        }, &cancel_);
    });
    setWorking(false);
    if (result.cancelled) {
        ui_->lblStatus->setText(QStringLiteral("Reading cancelled; the files are still listed."));
        return false;
    }
    if (!result.error.isEmpty()) {
        ReportError(session_.prompter(), ErrorDetails{QStringLiteral("LoadFilesForIndexing"), result.step, 481, result.error});
        return false;
    }
    // Which pages came from which file, for removing the originals later.
    sources_.clear();
    int first = 1;
    for (int f = 0; f < files.size() && f < result.pagesPerFile.size(); ++f) {
        sources_.append(Source{files[f], first, result.pagesPerFile[f]});
        first += result.pagesPerFile[f];
    }
    ui_->lstFiles->clear();
    ui_->lblStatus->setText(QStringLiteral("%1 page(s) read from %2 file(s).").arg(result.pages).arg(fileCount));
    return result.pages > 0;
}

void frmBatch::tabMain_Click(int tab)
{
    if (switchingTab_)
        return;
    const int left = previousTab_;
    previousTab_ = tab;
    if (left == IndexTab && tab != IndexTab && pending_) {
        // The fields of the page in hand are kept.
        SaveCurrentItem();
    }
    if (tab != IndexTab)
        return;
    const bool selected = !ui_->lstFiles->selectedItems().isEmpty();
    if (!selected && !scanned_)
        return;  // back to the work in hand, as it was
    int count = 0;
    if (selected) {
        if (LoadFilesForIndexing())
            count = TiffReader::open(workFile_) ? TiffReader::open(workFile_)->pageCount() : 0;
    } else if (scanned_) {
        auto reader = TiffReader::open(workFile_);
        count = reader ? reader->pageCount() : 0;
        scanned_ = false;
        sources_.clear();
    }
    if (count < 1) {
        session_.prompter().ask(QStringLiteral("Nothing Selected"), QStringLiteral("Must select or scan files first!"), Buttons::Ok,
                                Icon::Critical);
        switchingTab_ = true;
        ui_->tabMain->setCurrentIndex(left);
        switchingTab_ = false;
        previousTab_ = left;
        return;
    }
    SetupInputFiles();
    added_ = false;
    pending_ = true;
    SetCommandButtons();
    if (left > ListTab)
        PutLocal(session_, section::Form, QStringLiteral("BatchFirstTab"), QString::number(left));
}

void frmBatch::SetupInputFiles()
{
    session_.traceCall(QStringLiteral("SetupInputFiles"));
    listEnabled_ = false;
    ClearGrid();
    copy_.reset();
    auto reader = TiffReader::open(workFile_);
    if (!reader) {
        ReportError(session_.prompter(), ErrorDetails{QStringLiteral("SetupInputFiles"), workFile_, 481, reader.error()});
        return;
    }
    copy_.emplace(std::move(*reader));
    pages_.reset(copy_->pageCount(), WorkFilePageSizes(workFile_));
    ui_->grdSave->setRowCount(pages_.pageCount());
    for (int page = 1; page <= pages_.pageCount(); ++page) {
        ui_->grdSave->setItem(page - 1, 0, new QTableWidgetItem(QStringLiteral("Skip")));
        for (int c = 1; c < kColumns; ++c)
            ui_->grdSave->setItem(page - 1, c, new QTableWidgetItem());
    }
    makeThumbnails();
    listEnabled_ = true;
    currentPage_ = 0;
    NewPage(1, false);
}

void frmBatch::makeThumbnails()
{
    ui_->lstThumbs->clear();
    const int count = pages_.pageCount();
    QList<QImage> small;
    setWorking(true, QStringLiteral("Making the page strip..."));
    ui_->prgWork->setRange(0, count);
    const QString file = workFile_;
    RunOffThread([&] {
        auto reader = TiffReader::open(file);
        for (int p = 0; reader && p < count && !cancel_; ++p) {
            auto page = reader->readPage(p);
            QImage thumb = page ? page->convertToFormat(QImage::Format_Grayscale8).scaled(84, 108, Qt::KeepAspectRatio, Qt::SmoothTransformation)
                                : QImage();
            small.append(thumb);
            QMetaObject::invokeMethod(this, [this, p] { ui_->prgWork->setValue(p + 1); }, Qt::QueuedConnection);
        }
    });
    setWorking(false);
    for (int p = 0; p < count; ++p) {
        auto* item = new QListWidgetItem(ui_->lstThumbs);
        if (p < small.size() && !small[p].isNull())
            item->setIcon(QIcon(QPixmap::fromImage(small[p])));
        markThumbnail(p + 1);
    }
}

void frmBatch::markThumbnail(int page)
{
    QListWidgetItem* item = ui_->lstThumbs->item(page - 1);
    if (!item)
        return;
    const BatchItem& it = pages_.item(page);
    QString state;
    QColor colour;
    if (it.storedAs)
        state = QStringLiteral("Stored (%1)").arg(it.storedAs);
    else if (!it.visited)
        state = QStringLiteral("Not seen");
    else if (it.skip) {
        state = QStringLiteral("Skipped");
        colour = kSkippedColour;
    } else if (it.append) {
        const int joins = pages_.joinedTo(page);
        state = joins ? QStringLiteral("Appended to %1").arg(joins) : QStringLiteral("Appended to ?");
        colour = kAppendedColour;
    } else {
        state = QStringLiteral("New");
    }
    item->setText(QStringLiteral("%1 %2").arg(page).arg(state));
    item->setBackground(colour.isValid() ? QBrush(colour) : QBrush());
    item->setToolTip(QStringLiteral("Page %1: %2").arg(page).arg(state));
}

void frmBatch::ClearGrid()
{
    ui_->grdSave->setRowCount(0);
}

void frmBatch::showPage(int page)
{
    if (!copy_)
        return;
    if (auto image = copy_->readPage(page - 1))
        ui_->imcMain->setPage(*image);
    else
        ui_->imcMain->clear();
}

bool frmBatch::NewPage(int page, bool saveFirst)
{
    if (page < 1 || page > pages_.pageCount())
        return false;
    if (saveFirst && currentPage_ > 0) {
        if (!ui_->optNew->isChecked() && !ui_->optAppend->isChecked() && !ui_->optSkip->isChecked()) {
            session_.prompter().ask(QStringLiteral("Error"), QStringLiteral("Select an action"), Buttons::RetryCancel, Icon::Critical);
            return false;
        }
        if (!SaveCurrentItem())
            return false;
    }
    currentPage_ = page;
    SetCurrentItem();
    ui_->lblPage->setText(QStringLiteral("Page %1").arg(page));
    showPage(page);
    if (page <= ui_->grdSave->rowCount()) {
        const bool was = listEnabled_;
        listEnabled_ = false;
        ui_->grdSave->setCurrentCell(page - 1, 0);
        listEnabled_ = was;
    }
    ui_->lstThumbs->setCurrentRow(page - 1);
    markThumbnail(page);
    return true;
}

void frmBatch::SetCurrentItem()
{
    pages_.visit(currentPage_);
    const BatchItem& it = pages_.item(currentPage_);
    ui_->txtHeat->setText(it.heat);
    ui_->txtPart->setText(it.part);
    ui_->txtPO->setText(it.po);
    ui_->txtVend->setText(it.vend);
    ui_->txtMfg->setText(it.mfg);
    ui_->optNew->setChecked(true);
    if (it.append)
        ui_->optAppend->setChecked(true);
    if (it.skip)
        ui_->optSkip->setChecked(true);
    SetOptions();
    SetCommandButtons();
}

void frmBatch::fieldEdited(QString BatchItem::*field, const QString& text)
{
    if (currentPage_ < 1)
        return;
    pages_.item(currentPage_).*field = text;
    SetOptions();
    pages_.item(currentPage_).append = ui_->optAppend->isChecked();
    markThumbnail(currentPage_);
}

void frmBatch::SetOptions()
{
    if (currentPage_ < 1)
        return;
    const bool matches = pages_.matchesEarlier(currentPage_);
    const bool skip = ui_->optSkip->isChecked();
    ui_->optAppend->setVisible(matches);
    ui_->optNew->setVisible(!matches);
    // A skipped page stays skipped; the other two follow the data.
    if (!skip)
        (matches ? ui_->optAppend : ui_->optNew)->setChecked(true);
}

bool frmBatch::SaveCurrentItem()
{
    if (currentPage_ < 1)
        return false;
    BatchItem& it = pages_.item(currentPage_);
    bool ok = true;
    if (ui_->optSkip->isChecked()) {
        it.skip = true;
        it.visited = true;
    } else {
        InfoRecord& info = session_.info;
        info = InfoRecord{};
        info.heat = ui_->txtHeat->text();
        info.part = ui_->txtPart->text();
        info.po = ui_->txtPO->text();
        info.vend = SpaceIfEmpty(ui_->txtVend->text());
        info.mfg = SpaceIfEmpty(ui_->txtMfg->text());
        info.imageNumber = session_.currentImage;
        info.entryDate = session_.now();
        ok = ValidateInfo(session_);
        if (ok) {
            // The check may have repeated the last Part.
            if (info.part != ui_->txtPart->text())
                ui_->txtPart->setText(info.part);
            it.heat = ui_->txtHeat->text();
            it.part = ui_->txtPart->text();
            it.po = ui_->txtPO->text();
            it.vend = ui_->txtVend->text();
            it.mfg = ui_->txtMfg->text();
            it.skip = false;
            it.append = ui_->optAppend->isChecked();
            it.visited = true;
        }
    }
    savedOk_ = ok;
    SetSaveListItem();
    markThumbnail(currentPage_);
    return ok;
}

void frmBatch::SetSaveListItem()
{
    const int page = currentPage_;
    if (page < 1 || page > ui_->grdSave->rowCount())
        return;
    const bool was = listEnabled_;
    listEnabled_ = false;
    const QStringList cells = pages_.rowText(page).split(QLatin1Char('\t'));
    const BatchPages::RowColour colour = pages_.rowColour(page);
    for (int c = 0; c < kColumns; ++c) {
        auto* cell = new QTableWidgetItem(c < cells.size() ? cells[c] : QString());
        if (c < 5 && colour != BatchPages::RowColour::Plain)
            cell->setBackground(colour == BatchPages::RowColour::Appended ? kAppendedColour : kSkippedColour);
        ui_->grdSave->setItem(page - 1, c, cell);
    }
    ui_->grdSave->setCurrentCell(page - 1, 0);
    ui_->grdSave->scrollToItem(ui_->grdSave->item(page - 1, 0));
    listEnabled_ = was;
}

void frmBatch::SetCommandButtons()
{
    const int count = pages_.pageCount();
    if (count < 1 || currentPage_ < 1) {
        ui_->cmdPrevious->setEnabled(false);
        ui_->cmdNext->setEnabled(false);
        ui_->cmdAdd->setEnabled(false);
        return;
    }
    ui_->cmdPrevious->setEnabled(currentPage_ > 1);
    ui_->cmdNext->setEnabled(currentPage_ < count);
    ui_->cmdAdd->setEnabled(currentPage_ == count && (savedOk_ || count == 1));
}

bool frmBatch::AddFiles()
{
    session_.traceCall(QStringLiteral("AddFiles"));
    const QList<int> unjoined = pages_.unjoined();
    if (!unjoined.isEmpty()) {
        const QString text =
            QStringLiteral("%1 marked Append, but no page before %2 a report with the same Heat #, Part # and P/O #, so %3 not be "
                           "stored.\n\nAdd the other documents?")
                .arg(unjoined.size() == 1 ? QStringLiteral("Page %1 is").arg(unjoined.front())
                                          : QStringLiteral("Pages %1 are").arg(PageListText(unjoined)),
                     unjoined.size() == 1 ? QStringLiteral("it starts") : QStringLiteral("them starts"),
                     unjoined.size() == 1 ? QStringLiteral("it will") : QStringLiteral("they will"));
        if (session_.prompter().ask(QStringLiteral("Pages Not Joined"), text, Buttons::YesNo, Icon::Question, Answer::No) != Answer::Yes)
            return false;
    }
    const int total = int(pages_.reports().size());
    setWorking(true, QStringLiteral("Adding the documents..."));
    ui_->prgWork->setRange(0, std::max(1, total));
    BatchAddOptions options;
    options.progress = [this](int done, int count) {
        ui_->prgWork->setValue(done);
        ui_->lblStatus->setText(QStringLiteral("Adding document %1 of %2...").arg(std::min(done + 1, count)).arg(count));
        QCoreApplication::processEvents();
        return !cancel_.load();
    };
    options.runPageCopy = [](const std::function<void()>& copy) { RunOffThread(copy); };
    lastAdd_ = AddBatchReports(session_, workFile_, pages_, options);
    setWorking(false);
    for (int page = 1; page <= pages_.pageCount(); ++page)
        markThumbnail(page);

    const QList<int> left = lastAdd_.notStored(pages_);
    if (lastAdd_.cancelled || !left.isEmpty()) {
        // What was stored stays stored; the rest of the batch stays in hand.
        session_.prompter().tell(lastAdd_.cancelled ? QStringLiteral("Adding Stopped") : QStringLiteral("Not All Stored"),
                                 QStringLiteral("%1 document(s) stored. Not stored yet: page(s) %2.\n\nThey stay in the batch; "
                                                "correct them and press Add again.")
                                     .arg(lastAdd_.stored())
                                     .arg(PageListText(left)),
                                 Icon::Exclamation);
        ui_->lblStatus->setText(QStringLiteral("%1 document(s) stored; page(s) %2 still to add.").arg(lastAdd_.stored()).arg(PageListText(left)));
        return false;
    }
    added_ = true;
    pending_ = false;
    ui_->lblStatus->setText(QStringLiteral("%1 document(s) stored.").arg(lastAdd_.stored()));
    return true;
}

void frmBatch::cmdAdd_Click()
{
    if (working_ || !SaveCurrentItem())
        return;
    if (!AddFiles())
        return;
    bool anyWhole = false;
    for (const Source& source : sources_) {
        bool whole = source.pages > 0;
        for (int p = source.firstPage; whole && p < source.firstPage + source.pages; ++p)
            whole = pages_.item(p).storedAs != 0;
        anyWhole = anyWhole || whole;
    }
    if (anyWhole && GetLocalBool(session_, section::Info, QStringLiteral("DeletePrompt"))
        && session_.prompter().ask(QStringLiteral("Remove Original Files"), QStringLiteral("Delete Original Files"), Buttons::YesNo, Icon::Question)
               == Answer::Yes)
        RemoveOriginals();
    const QString status = ui_->lblStatus->text();
    LoadData();
    ui_->lblStatus->setText(status);
}

void frmBatch::RemoveOriginals()
{
    session_.traceCall(QStringLiteral("RemoveOriginals"));
    session_.prompter().setBusy(true);
    // Only files whose every page went into a stored report.
    for (const Source& source : sources_) {
        bool whole = source.pages > 0;
        for (int p = source.firstPage; whole && p < source.firstPage + source.pages; ++p)
            whole = p <= pages_.pageCount() && pages_.item(p).storedAs != 0;
        if (whole)
            KillFile(source.path);
    }
    sources_.clear();
    session_.prompter().setBusy(false);
}

void frmBatch::closeEvent(QCloseEvent* event)
{
    if (working_) {
        event->ignore();
        return;
    }
    if (pending_ && !added_
        && session_.prompter().ask(QStringLiteral("Images Pending"), QStringLiteral("You have not added the images yet! Is this OK?"),
                                   Buttons::OkCancel, Icon::Critical, Answer::Cancel)
               != Answer::Ok) {
        event->ignore();
        return;
    }
    const QList<int> sizes = ui_->fraSeparator->sizes();
    if (!sizes.isEmpty())
        PutLocal(session_, section::Form, QStringLiteral("BatchSeparator"), QString::number(PixelsToTwips(sizes.front())));
    for (int c = 0; c < 5; ++c)
        PutLocal(session_, section::Form, QStringLiteral("BatchColWidth%1").arg(c), QString::number(PixelsToTwips(ui_->grdSave->columnWidth(c))));
    PutLocal(session_, section::Form, QStringLiteral("BatchPageSize"),
             ui_->optLegal->isChecked() ? QStringLiteral("G") : ui_->optA4->isChecked() ? QStringLiteral("A") : QStringLiteral("L"));
    SaveFormSize(session_, this, {}, QStringLiteral("frmBatch"));
    QWidget::closeEvent(event);
    Q_EMIT formClosed();
}

}  // namespace tarlox
