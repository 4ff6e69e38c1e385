#include "search/forms/frmList.h"
#include "search/forms/DateBoxes.h"

#include "ui_frmList.h"

#include "base/ErrorReport.h"
#include "base/Prompter.h"
#include "base/TextTools.h"
#include "base/forms/FormLayout.h"
#include "data/Session.h"
#include "search/forms/ListingPreview.h"

#include <QFocusEvent>
#include <QTimer>

namespace tarlox {

frmList::frmList(Session& session, QWidget* parent) : QWidget(parent), session_(session), ui(std::make_unique<Ui::frmList>())
{
    session_.traceCall(QStringLiteral("frmList.Form_Load"));
    ui->setupUi(this);
    ui->optDate->setChecked(true);
    const QString today = session_.now().date().toString(QStringLiteral("M/d/yyyy"));
    ui->txtFromDate->setText(today);
    ui->txtToDate->setText(today);
    // The site's short words for three of the fields.
    const std::tuple<const QString&, QLabel*, QRadioButton*> words[] = {
        {session_.poShort, ui->lblPO, ui->optPO}, {session_.vendShort, ui->lblVend, ui->optVend}, {session_.mfgShort, ui->lblMfg, ui->optMfg}};
    for (const auto& [word, label, option] : words) {
        if (word.trimmed().isEmpty())
            continue;
        label->setText(word + QLatin1Char(':'));
        option->setText(word + QLatin1Char(':'));
    }
    dateBoxes_ = new DateBoxes(session_, findChildren<QLineEdit*>(), {ui->txtFromDate, ui->txtToDate}, this);
    connect(ui->cmdPrint, &QPushButton::clicked, this, &frmList::cmdPrint_Click);
    connect(ui->cmdEnd, &QPushButton::clicked, this, [this] { FormWindowOf(this)->close(); });
}

frmList::~frmList() = default;

ListingRequest frmList::request() const
{
    ListingRequest r;
    const std::pair<QRadioButton*, ListingSort> sorts[] = {{ui->optHeat, ListingSort::Heat}, {ui->optPart, ListingSort::Part},
                                                           {ui->optPO, ListingSort::PO},     {ui->optVend, ListingSort::Vend},
                                                           {ui->optMfg, ListingSort::Mfg},   {ui->optDate, ListingSort::Date}};
    for (const auto& [option, sort] : sorts) {
        if (option->isChecked()) {
            r.sort = sort;
            break;
        }
    }
    r.heat = {ui->txtFromHeat->text(), ui->txtToHeat->text()};
    r.part = {ui->txtFromPart->text(), ui->txtToPart->text()};
    r.po = {ui->txtFromPO->text(), ui->txtToPO->text()};
    r.vend = {ui->txtFromVend->text(), ui->txtToVend->text()};
    r.mfg = {ui->txtFromMfg->text(), ui->txtToMfg->text()};
    r.fromDate = ui->txtFromDate->text();
    r.toDate = ui->txtToDate->text();
    return r;
}

void frmList::cmdPrint_Click()
{
    session_.traceCall(QStringLiteral("frmList.cmdPrint_Click"));
    if (CheckDate(ui->txtFromDate) || CheckDate(ui->txtToDate))
        return;
    const ListingRequest r = request();
    if (ui->ckbWindow->isChecked()) {
        auto* preview = new ListingPreview(session_, r, this);
        preview->setAttribute(Qt::WA_DeleteOnClose);
        emit previewOpened(preview);
        preview->show();
        return;
    }
    PrintListing(session_, r, this);
}

int frmList::CheckDate(QLineEdit* box)
{
    return dateBoxes_->CheckDate(box);
}

}  // namespace tarlox
