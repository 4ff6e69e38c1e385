#include "search/forms/frmAscii.h"
#include "search/forms/DateBoxes.h"

#include "ui_frmAscii.h"

#include "base/ErrorReport.h"
#include "base/Prompter.h"
#include "base/TextTools.h"
#include "base/forms/FormLayout.h"
#include "data/Session.h"
#include "data/Settings.h"
#include "search/Listing.h"

#include <QFocusEvent>
#include <QTimer>

namespace tarlox {

namespace {
const QString AsciiName = QStringLiteral("AsciiName");
}

frmAscii::frmAscii(Session& session, QWidget* parent) : QWidget(parent), session_(session), ui(std::make_unique<Ui::frmAscii>())
{
    session_.traceCall(QStringLiteral("frmAscii.Form_Load"));
    ui->setupUi(this);
    ui->txtName->setText(GetLocal(session_, section::Info, AsciiName));
    dateBoxes_ = new DateBoxes(session_, {ui->txtFrom, ui->txtTo}, {ui->txtFrom, ui->txtTo}, this);
    connect(ui->cmdFileName, &QPushButton::clicked, this, &frmAscii::cmdFileName_Click);
    connect(ui->cmdPrint, &QPushButton::clicked, this, &frmAscii::cmdPrint_Click);
    connect(ui->cmdCancel, &QPushButton::clicked, this, [this] { FormWindowOf(this)->close(); });
}

frmAscii::~frmAscii() = default;

void frmAscii::cmdFileName_Click()
{
    const QString path = session_.prompter().chooseSaveFile(QString(), ui->txtName->text(),
                                                            QStringLiteral("All Files (*.*);;Text Files (*.txt)"), false);
    if (!path.isEmpty())
        ui->txtName->setText(path);
}

void frmAscii::cmdPrint_Click()
{
    session_.traceCall(QStringLiteral("frmAscii.cmdPrint_Click"));
    if (CheckDate(ui->txtFrom) || CheckDate(ui->txtTo))
        return;
    const QString path = ui->txtName->text().trimmed();
    PutLocal(session_, section::Info, AsciiName, path);
    if (path.isEmpty()) {
        session_.prompter().ask(ProgramTitle(), QStringLiteral("Enter the name of the file to write."), Buttons::Ok, Icon::None);
        ui->txtName->setFocus();
        return;
    }
    ListingRequest request;
    request.fromDate = ui->txtFrom->text();
    request.toDate = ui->txtTo->text();
    qint64 rows = 0;
    session_.prompter().setBusy(true);
    const QString error = WriteListingCsv(session_, request, path, &rows);
    session_.prompter().setBusy(false);
    if (!error.isEmpty())
        session_.prompter().ask(ProgramTitle(), error, Buttons::Ok, Icon::Exclamation);
    else
        session_.prompter().ask(ProgramTitle(), QStringLiteral("%1 references written to %2").arg(rows).arg(path), Buttons::Ok, Icon::Information);
}

int frmAscii::CheckDate(QLineEdit* box)
{
    return dateBoxes_->CheckDate(box);
}

}  // namespace tarlox
