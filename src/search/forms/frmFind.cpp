#include "search/forms/frmFind.h"
#include "search/forms/DateBoxes.h"

#include "ui_frmFind.h"

#include "data/InfoData.h"
#include "search/FindQuery.h"
#include "base/ErrorReport.h"
#include "base/forms/FormLayout.h"
#include "data/FormGeometry.h"
#include "data/Settings.h"
#include "search/forms/FindResultsModel.h"
#include "base/Prompter.h"
#include "data/Session.h"
#include "base/TextTools.h"

#include <QCloseEvent>
#include <QFocusEvent>
#include <QHeaderView>
#include <QItemSelectionModel>
#include <QMdiSubWindow>
#include <QTimer>

namespace tarlox {

namespace {

// The smallest the form may become, in twips as the form was designed.
constexpr int MinWidthTwips = 8055;
constexpr int MinHeightTwips = 5445;
constexpr int WidthTwips = 8055;
constexpr int HeightTwips = 5475;

const char* const TagProperty = "tag";

QString tagOf(const QLineEdit* box) { return box->property(TagProperty).toString(); }

const QString ErrorTitle = QStringLiteral("Error");

// The list's column widths in the local file, section "Form", in twips.
const QString ColumnsKey = QStringLiteral("frmFindColumns");

}  // namespace

frmFind::frmFind(Session& session, QWidget* parent)
    : QWidget(parent)
    , session_(session)
    , connection_(session.db())
    , ui(std::make_unique<Ui::frmFind>())
{
    session_.traceCall(QStringLiteral("frmFind.Form_Load"));
    ui->setupUi(this);
    applyCustomLabels();
    findRecords_ = ReadFindRecords(session_);
    setUpResultsList();
    unavailable_ = {ui->cmdSelectAll, ui->cmdExport, ui->cmdDelete, ui->cmdMove};

    layout()->activate();
    setMinimumSize(layout()->minimumSize().expandedTo(QSize(TwipsToPixels(MinWidthTwips), TwipsToPixels(MinHeightTwips))));
    resize(QSize(TwipsToPixels(WidthTwips), TwipsToPixels(HeightTwips)).expandedTo(minimumSize()));

    connect(ui->cmdFind, &QPushButton::clicked, this, &frmFind::cmdFind_Click);
    connect(ui->cmdSelect, &QPushButton::clicked, this, &frmFind::cmdSelect_Click);
    connect(ui->cmdChange, &QPushButton::clicked, this, &frmFind::cmdChange_Click);
    connect(ui->cmdAddCur, &QPushButton::clicked, this, &frmFind::cmdAddCur_Click);
    connect(ui->cmdDelCur, &QPushButton::clicked, this, &frmFind::cmdDelCur_Click);
    connect(ui->cmdEnd, &QPushButton::clicked, this, &frmFind::closeForm);
    connect(ui->cmdFirst, &QPushButton::clicked, this, [this] { navigate(0); });
    connect(ui->cmdLast, &QPushButton::clicked, this, [this] { navigate(lastIndex_); });
    connect(ui->cmdNext, &QPushButton::clicked, this, [this] { navigate(currentIndex_ + 1); });
    connect(ui->cmdPrevious, &QPushButton::clicked, this, [this] { navigate(currentIndex_ - 1); });
    const auto handOver = [this](QPushButton* button, void (frmFind::*signal)()) {
        connect(button, &QPushButton::clicked, this, [this, signal] {
            ui->txtHeat->setFocus();
            emit(this->*signal)();
        });
    };
    handOver(ui->cmdSelectAll, &frmFind::selectAllRequested);
    handOver(ui->cmdExport, &frmFind::exportRequested);
    handOver(ui->cmdDelete, &frmFind::deleteRequested);
    handOver(ui->cmdMove, &frmFind::moveRequested);

    dateBoxes_ = new DateBoxes(session_, criteriaBoxes(), {ui->txtFrom, ui->txtTo}, this);
    for (QLineEdit* box : criteriaBoxes()) {
        // Enter in a criteria box finds, as the default button would.
        connect(box, &QLineEdit::returnPressed, this, [this, box] {
            if (box == ui->txtFrom || box == ui->txtTo) {
                QString text = box->text();
                box->setText(VerifyDate(text));
            }
            if (ui->cmdFind->isEnabled())
                cmdFind_Click();
        });
    }
    // The record boxes stay readable while they can't be edited.
    QList<QLineEdit*> shown = recordBoxes();
    shown << ui->txtCurPath;
    for (QLineEdit* box : shown) {
        QPalette p = box->palette();
        p.setColor(QPalette::Disabled, QPalette::Text, palette().color(QPalette::Active, QPalette::Text));
        box->setPalette(p);
    }
    ui->txtCurPath->setEnabled(false);
    colour(ui->txtCurPath, QPalette::ToolTipBase);

    ChangeOff();
    ClearInput();
    ui->cmdAddCur->setEnabled(true);
}

frmFind::~frmFind() = default;

QTableView* frmFind::resultsList() const
{
    return ui->tblResults;
}

void frmFind::setUpResultsList()
{
    const auto word = [](const QString& custom, const char* standard) { return custom.isEmpty() ? QString::fromLatin1(standard) : custom; };
    model_ = new FindResultsModel(results_,
                                  {QStringLiteral("Heat #"), QStringLiteral("Part #"), word(session_.poShort, "P/O #"),
                                   word(session_.vendShort, "Vendor"), word(session_.mfgShort, "Mfg"), QStringLiteral("Entry Date"),
                                   QStringLiteral("Image #")},
                                  this);
    QTableView* list = ui->tblResults;
    list->setModel(model_);
    list->verticalHeader()->hide();
    list->verticalHeader()->setDefaultSectionSize(list->fontMetrics().height() + 6);
    QHeaderView* header = list->horizontalHeader();
    header->setSortIndicator(-1, Qt::AscendingOrder);
    header->setHighlightSections(false);
    const QStringList widths = GetLocal(session_, QStringLiteral("Form"), ColumnsKey).split(QLatin1Char(','));
    for (int c = 0; c < FindResultsModel::ColumnCount; ++c) {
        const int twips = IntVal(widths.value(c));
        list->setColumnWidth(c, twips > 0 ? TwipsToPixels(twips) : std::max(header->sectionSizeHint(c), TwipsToPixels(1200)));
    }

    // The list and the record boxes show the same reference.
    connect(list->selectionModel(), &QItemSelectionModel::currentRowChanged, this, [this](const QModelIndex& current) {
        if (followingList_ || !current.isValid() || current.row() == currentIndex_)
            return;
        followingList_ = true;
        currentIndex_ = current.row();
        SetData();
        followingList_ = false;
    });
    // A sort keeps the reference in the boxes and moves the list's cursor with it.
    connect(model_, &QAbstractItemModel::layoutChanged, this, [this] {
        if (lastIndex_ < 0)
            return;
        const QModelIndex current = ui->tblResults->currentIndex();
        if (current.isValid())
            currentIndex_ = current.row();
        SetData();
    });
    connect(list, &QAbstractItemView::activated, this, [this] { cmdSelect_Click(); });

    // The date boxes take any date of this locale whole.
    const int dateWidth = ui->txtFrom->fontMetrics().horizontalAdvance(FormatShortDate(QDate(2028, 12, 28)) + QStringLiteral("00"))
        + ui->txtFrom->textMargins().left() + ui->txtFrom->textMargins().right() + 12;
    for (QLineEdit* box : {ui->txtFrom, ui->txtTo})
        box->setMinimumWidth(std::max(box->minimumWidth(), dateWidth));
}

void frmFind::saveColumnWidths()
{
    QStringList widths;
    for (int c = 0; c < FindResultsModel::ColumnCount; ++c)
        widths << QString::number(PixelsToTwips(ui->tblResults->columnWidth(c)));
    PutLocal(session_, QStringLiteral("Form"), ColumnsKey, widths.join(QLatin1Char(',')));
}

void frmFind::applyCustomLabels()
{
    const auto rename = [](QLabel* label, QLineEdit* box, const QString& word) {
        if (word.isEmpty())
            return;
        label->setText(word + QLatin1Char(':'));
        box->setToolTip(QStringLiteral("Enter a ") + word + QStringLiteral(", part of a ") + word
                        + QStringLiteral(" with an * wild card, or leave blank to match all ") + word + QLatin1Char('s'));
    };
    rename(ui->lblPO, ui->txtPO, session_.poShort);
    rename(ui->lblVend, ui->txtVend, session_.vendShort);
    rename(ui->lblMfg, ui->txtMfg, session_.mfgShort);
}

QList<QLineEdit*> frmFind::criteriaBoxes() const
{
    return {ui->txtHeat, ui->txtPart, ui->txtPO, ui->txtVend, ui->txtMfg, ui->txtImgNum, ui->txtPath, ui->txtFrom, ui->txtTo};
}

QList<QLineEdit*> frmFind::recordBoxes() const
{
    return {ui->txtCurHeat, ui->txtCurPart, ui->txtCurPO, ui->txtCurVend, ui->txtCurMfg, ui->txtCurImgNum, ui->txtCurDate};
}

ReferenceEntry frmFind::recordTexts() const
{
    return ReferenceEntry{ui->txtCurHeat->text(), ui->txtCurPart->text(),   ui->txtCurPO->text(),  ui->txtCurVend->text(),
                          ui->txtCurMfg->text(),  ui->txtCurImgNum->text(), ui->txtCurDate->text()};
}

void frmFind::setRecordTexts(const ReferenceEntry& e)
{
    ui->txtCurHeat->setText(e.heat);
    ui->txtCurPart->setText(e.part);
    ui->txtCurPO->setText(e.po);
    ui->txtCurVend->setText(e.vend);
    ui->txtCurMfg->setText(e.mfg);
    ui->txtCurImgNum->setText(e.imageNumber);
    ui->txtCurDate->setText(e.date);
}

void frmFind::setScreenAvailable(Screen screen, bool available)
{
    QPushButton* button = screen == Screen::SelectAll ? ui->cmdSelectAll
        : screen == Screen::Export                   ? ui->cmdExport
        : screen == Screen::Delete                   ? ui->cmdDelete
                                                     : ui->cmdMove;
    if (available) {
        unavailable_.removeAll(button);
        // Enabled as the others of its group: with a result, outside an edit.
        button->setEnabled(ui->cmdSelect->isEnabled());
    } else if (!unavailable_.contains(button)) {
        unavailable_ << button;
        button->setEnabled(false);
    }
}

void frmFind::enableButton(QPushButton* button, bool enabled)
{
    button->setEnabled(enabled && !unavailable_.contains(button));
}

void frmFind::colour(QLineEdit* box, QPalette::ColorRole role)
{
    QPalette p = box->palette();
    p.setColor(QPalette::Base, palette().color(QPalette::Active, role));
    box->setPalette(p);
}

void frmFind::cmdFind_Click()
{
    session_.traceCall(QStringLiteral("frmFind.cmdFind_Click"));
    runFind(FindCriteria{ui->txtHeat->text(), ui->txtPart->text(), ui->txtPO->text(), ui->txtVend->text(), ui->txtMfg->text(),
                         ui->txtImgNum->text(), ui->txtPath->text(), ui->txtFrom->text(), ui->txtTo->text(), std::nullopt});
}

bool frmFind::ShowFound(const FindCriteria& criteria)
{
    // A change under way is finished or cancelled by the person first.
    if (!ui->cmdFind->isEnabled())
        return false;
    const QList<std::pair<QLineEdit*, QString>> boxes{{ui->txtHeat, criteria.heat},       {ui->txtPart, criteria.part},
                                                      {ui->txtPO, criteria.po},           {ui->txtVend, criteria.vend},
                                                      {ui->txtMfg, criteria.mfg},         {ui->txtImgNum, criteria.imageNumber},
                                                      {ui->txtPath, criteria.path},       {ui->txtFrom, criteria.from},
                                                      {ui->txtTo, criteria.to}};
    for (const auto& [box, text] : boxes)
        box->setText(text);
    runFind(criteria);
    return true;
}

void frmFind::runFind(FindCriteria criteria)
{
    ClearInput();
    session_.findQuery = {};
    FindResult result = FindReferences(session_, criteria, findRecords_);
    if (result.problem) {
        QLineEdit* box = findChild<QLineEdit*>(result.problem.box);
        if (result.problem.kind == FindProblem::Kind::InvalidDate)
            session_.prompter().ask(ProgramTitle(), FindProblemText(result.problem), Buttons::Ok, Icon::None);
        else
            session_.prompter().ask(QStringLiteral("Bad Search"), FindProblemText(result.problem), Buttons::Ok, Icon::Critical);
        if (box)
            box->setFocus();
        return;
    }
    session_.findQuery = criteria;
    results_ = result.rows;
    lastIndex_ = result.lastIndex;
    model_->reset();
    if (const QHeaderView* header = ui->tblResults->horizontalHeader(); header->sortIndicatorSection() >= 0)
        model_->sort(header->sortIndicatorSection(), header->sortIndicatorOrder());
    if (lastIndex_ >= 0) {
        ui->lblResults->setText(result.countLine());
        currentIndex_ = 0;
        for (QPushButton* button : {ui->cmdSelect, ui->cmdSelectAll, ui->cmdChange, ui->cmdDelete, ui->cmdMove, ui->cmdExport,
                                    ui->cmdDelCur, ui->cmdAddCur})
            enableButton(button, true);
        ui->cmdSelect->setFocus();
    } else {
        if (!result.failed)
            session_.prompter().ask(QStringLiteral("Bad Search"), QStringLiteral("No records match this selection criteria"), Buttons::Ok,
                                    Icon::Critical);
        ui->lblResults->setText(result.countLine());
    }
    SetData();
}

void frmFind::SetData()
{
    for (QPushButton* button : {ui->cmdFirst, ui->cmdPrevious, ui->cmdNext, ui->cmdLast})
        button->setEnabled(false);
    QList<QLineEdit*> boxes = recordBoxes();
    boxes.insert(6, ui->txtCurPath);
    if (lastIndex_ < 0) {
        for (QLineEdit* box : boxes)
            box->clear();
        for (QLineEdit* box : boxes)
            box->setProperty(TagProperty, QString());
        return;
    }
    currentIndex_ = std::clamp(currentIndex_, 0, lastIndex_);
    ui->cmdNext->setEnabled(currentIndex_ < lastIndex_);
    ui->cmdLast->setEnabled(currentIndex_ < lastIndex_);
    ui->cmdFirst->setEnabled(currentIndex_ > 0);
    ui->cmdPrevious->setEnabled(currentIndex_ > 0);
    const ReferenceEntry e = EntryOf(results_.at(currentIndex_));
    const QStringList values{e.heat, e.part, e.po, e.vend, e.mfg, e.imageNumber, results_.at(currentIndex_).path, e.date};
    for (qsizetype i = 0; i < boxes.size(); ++i)
        boxes[i]->setText(values[i]);
    for (qsizetype i = 0; i < boxes.size(); ++i)
        boxes[i]->setProperty(TagProperty, values[i]);
    showCurrentRow();
}

void frmFind::showCurrentRow()
{
    if (lastIndex_ < 0) {
        ui->lblPosition->clear();
        return;
    }
    ui->lblPosition->setText(QString::number(currentIndex_ + 1) + QStringLiteral(" of ") + QString::number(lastIndex_ + 1));
    if (followingList_)
        return;
    followingList_ = true;
    const QModelIndex row = model_->index(currentIndex_, std::max(0, ui->tblResults->currentIndex().column()));
    ui->tblResults->selectionModel()->setCurrentIndex(row, QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
    ui->tblResults->scrollTo(row);
    followingList_ = false;
}

void frmFind::navigate(int index)
{
    currentIndex_ = index;
    SetData();
    ui->cmdSelect->setFocus();
}

void frmFind::ClearInput()
{
    lastIndex_ = -1;
    results_.clear();
    model_->reset();
    SetData();
    for (QPushButton* button :
         {ui->cmdChange, ui->cmdSelect, ui->cmdSelectAll, ui->cmdDelete, ui->cmdMove, ui->cmdExport, ui->cmdDelCur})
        button->setEnabled(false);
    ui->lblResults->clear();
    ui->lblPosition->clear();
}

void frmFind::ChangeOn()
{
    for (QLineEdit* box : {ui->txtCurHeat, ui->txtCurPart, ui->txtCurPO, ui->txtCurVend, ui->txtCurMfg, ui->txtCurDate}) {
        box->setEnabled(true);
        colour(box, QPalette::Base);
    }
    for (QLineEdit* box : criteriaBoxes()) {
        box->setEnabled(false);
        colour(box, QPalette::Button);
    }
    ui->tblResults->setEnabled(false);
    for (QPushButton* button : {ui->cmdFind, ui->cmdSelect, ui->cmdSelectAll, ui->cmdMove, ui->cmdDelete, ui->cmdExport, ui->cmdDelCur,
                                ui->cmdFirst, ui->cmdPrevious, ui->cmdNext, ui->cmdLast})
        button->setEnabled(false);
}

void frmFind::ChangeOff()
{
    for (QLineEdit* box : recordBoxes()) {
        box->setEnabled(false);
        colour(box, QPalette::ToolTipBase);
    }
    for (QLineEdit* box : criteriaBoxes()) {
        box->setEnabled(true);
        colour(box, QPalette::Base);
    }
    ui->tblResults->setEnabled(true);
    for (QPushButton* button : {ui->cmdFind, ui->cmdSelect, ui->cmdSelectAll, ui->cmdMove, ui->cmdDelete, ui->cmdExport, ui->cmdDelCur})
        enableButton(button, true);
    SetData();
}

void frmFind::EndChange()
{
    ChangeOff();
    ui->cmdAddCur->setEnabled(true);
    ui->cmdChange->setText(QStringLiteral("Change"));
}

void frmFind::cmdSelect_Click()
{
    session_.traceCall(QStringLiteral("frmFind.cmdSelect_Click"));
    if (ui->txtCurImgNum->text().isEmpty())
        return;
    session_.currentImage = IntVal(ui->txtCurImgNum->text());
    ui->txtHeat->setFocus();
    emit selectRequested(session_.currentImage);
}

void frmFind::cmdChange_Click()
{
    session_.traceCall(QStringLiteral("frmFind.cmdChange_Click"));
    if (!ui->txtCurHeat->isEnabled()) {
        ChangeOn();
        ui->cmdAddCur->setEnabled(false);
        ui->cmdChange->setText(QStringLiteral("Update"));
        return;
    }
    if (lastIndex_ < 0)
        return;
    const InfoRow stored = results_.at(currentIndex_);
    const ChangeResult result = ChangeReference(session_, stored, recordTexts());
    Prompter& prompter = session_.prompter();
    switch (result.outcome) {
    case ChangeResult::Outcome::InvalidDate:
        // Nothing was touched: the user corrects the date and updates again.
        prompter.ask(ProgramTitle(), QStringLiteral("Invalid Date"), Buttons::Ok, Icon::None);
        ui->txtCurDate->setFocus();
        return;
    case ChangeResult::Outcome::DeleteFailed:
        prompter.ask(ErrorTitle, QStringLiteral("Record could not be deleted"), Buttons::Ok, Icon::Critical);
        EndChange();
        return;
    case ChangeResult::Outcome::AddFailed: {
        prompter.ask(ErrorTitle, QStringLiteral("Record could not be re-added:") + QStringLiteral("\r\n") + result.errorText, Buttons::Ok,
                     Icon::Critical);
        // The transaction put the old row back; the screen shows it again.
        QList<QLineEdit*> boxes = recordBoxes();
        for (QLineEdit* box : boxes)
            box->setText(tagOf(box));
        EndChange();
        return;
    }
    case ChangeResult::Outcome::Changed:
        results_[currentIndex_] = result.stored;
        model_->rowChanged(currentIndex_);
        EndChange();
        return;
    }
}

void frmFind::cmdAddCur_Click()
{
    session_.traceCall(QStringLiteral("frmFind.cmdAddCur_Click"));
    Prompter& prompter = session_.prompter();
    if (ui->cmdFind->isEnabled()) {
        GetInfoFieldLengths(session_);
        const Answer answer = prompter.ask(
            QStringLiteral("Add reference only!"),
            QStringLiteral("Warning! This will only add a new reference to an existing image and will ")
                + QStringLiteral("not not add the image itself. This should only be used to add a new ")
                + QStringLiteral("reference to an image that has already been scanned. Enter the information ")
                + QStringLiteral("and hit 'Update' button to add the record."),
            Buttons::OkCancel, Icon::Critical);
        if (answer != Answer::Ok)
            return;
        const QString po = ui->txtCurPO->text();
        const QString vend = ui->txtCurVend->text();
        const QString mfg = ui->txtCurMfg->text();
        const QString image = ui->txtCurImgNum->text();
        const QString date = ui->txtCurDate->text();
        ClearInput();
        ChangeOn();
        setRecordTexts(ReferenceEntry{QString(), QString(), po, vend, mfg, image, date});
        ui->txtCurImgNum->setEnabled(true);
        colour(ui->txtCurImgNum, QPalette::Base);
        ui->cmdAddCur->setText(QStringLiteral("&Update"));
        ui->txtCurHeat->setFocus();
        return;
    }

    const AddResult result = AddReference(session_, recordTexts());
    const auto again = [&](const QString& title, const QString& text) {
        if (prompter.ask(title, text, Buttons::OkCancel, Icon::Critical) == Answer::Ok)
            return;
        SetData();
        ui->cmdFind->setEnabled(true);
    };
    switch (result.outcome) {
    case AddResult::Outcome::ImageNotOnFile:
        again(QStringLiteral("Image Number Not on File!"), QStringLiteral("Warning! This image number is not on file. Hit 'OK' to re-enter ")
                                                               + QStringLiteral("the Image Number or 'Cancel' to end without adding."));
        break;
    case AddResult::Outcome::InvalidDate:
        again(QStringLiteral("Invalid Date!"),
              QStringLiteral("Warning! The date is invalid. Hit 'OK' to re-enter ") + QStringLiteral("the Date or 'Cancel' to end without adding."));
        break;
    case AddResult::Outcome::Added:
    case AddResult::Outcome::NotAdded:
        // A reference that is on file already is not added again; the
        // screen ends the mode as after an add.
        ui->cmdFind->setEnabled(true);
        break;
    }
    if (ui->cmdFind->isEnabled()) {
        ChangeOff();
        ClearInput();
        ui->cmdAddCur->setText(QStringLiteral("Add"));
    }
}

void frmFind::cmdDelCur_Click()
{
    session_.traceCall(QStringLiteral("frmFind.cmdDelCur_Click"));
    Prompter& prompter = session_.prompter();
    const Answer answer = prompter.ask(QStringLiteral("Remove reference only!"),
                                       QStringLiteral("Warning! This will only remove this reference to this image and will ")
                                           + QStringLiteral("not remove the image itself. This should only be used to remove an ")
                                           + QStringLiteral("invalid reference to an image that has other valid references."),
                                       Buttons::OkCancel, Icon::Exclamation);
    if (answer != Answer::Ok || lastIndex_ < 0)
        return;
    const RemoveResult result = RemoveReference(session_, results_.at(currentIndex_));
    if (result.outcome == RemoveResult::Outcome::OnlyReference)
        prompter.ask(QStringLiteral("Can't remove only reference!"),
                     QStringLiteral("Error! This reference is the only reference for this image. If ")
                         + QStringLiteral("you remove it you will no longer have access to this image. Use ")
                         + QStringLiteral("the 'Change' button to change the values, or the 'Delete' button ")
                         + QStringLiteral("to remove the image and the reference."),
                     Buttons::Ok, Icon::Critical);
    cmdFind_Click();
}

void frmFind::GetFormSize()
{
    tarlox::GetFormSize(session_, this, QStringLiteral("Form"), QStringLiteral("frmFind"));
}

void frmFind::SaveFormSize()
{
    tarlox::SaveFormSize(session_, this, QStringLiteral("Form"), QStringLiteral("frmFind"));
}

void frmFind::showEvent(QShowEvent* event)
{
    QWidget::showEvent(event);
    if (!geometryRead_) {
        geometryRead_ = true;
        GetFormSize();
    }
}

void frmFind::closeEvent(QCloseEvent* event)
{
    session_.traceCall(QStringLiteral("frmFind.Form_Unload"));
    SaveFormSize();
    saveColumnWidths();
    QWidget::closeEvent(event);
}

void frmFind::closeForm()
{
    if (auto* sub = qobject_cast<QMdiSubWindow*>(parentWidget()))
        sub->close();
    else
        close();
}

int frmFind::CheckDate(QLineEdit* box)
{
    return dateBoxes_->CheckDate(box);
}

}  // namespace tarlox
