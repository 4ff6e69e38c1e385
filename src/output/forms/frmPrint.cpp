#include "output/forms/frmPrint.h"

#include "base/Prompter.h"
#include "data/Session.h"
#include "data/Settings.h"
#include "output/forms/PrintDoc.h"
#include "ui_frmPrint.h"

#include <QCloseEvent>
#include <QMetaMethod>

namespace tarlox {

frmPrint::frmPrint(Session& session, QWidget* parent)
    : QDialog(parent), session_(session), ui_(std::make_unique<Ui::frmPrint>()), run_(new PrintRun(session, this))
{
    ui_->setupUi(this);
    setAttribute(Qt::WA_DeleteOnClose);
    ui_->cmdPrint->setDefault(true);
    connect(ui_->cmdPrint, &QPushButton::clicked, this, &frmPrint::PrintImage);
    run_->attach(this, ui_->cmdPrint, ui_->cmdCancel, ui_->txtPrintMsg, nullptr);
    connect(run_, &PrintRun::annotateRequested, this, &frmPrint::annotateRequested);
    connect(ui_->txtPages, &QLineEdit::editingFinished, this, [this] { ValidatePagesBox(session_, ui_->txtPages); });
}

frmPrint::~frmPrint() = default;

void frmPrint::closeEvent(QCloseEvent* event)
{
    // A run in progress is stopped first; the form closes when it has ended.
    if (run_->running()) {
        run_->cancel();
        event->ignore();
        return;
    }
    QDialog::closeEvent(event);
}

bool frmPrint::FormatWindow()
{
    session_.traceCall(QStringLiteral("frmPrint.FormatWindow"));
    ui_->txtCopies->setValue(1);
    const QString defaultPages = GetLocal(session_, section::Info, QStringLiteral("DefaultPages"));
    ui_->txtPages->setText(defaultPages);
    const bool message = GetLocalBool(session_, section::Interface, QStringLiteral("AddMessage"));
    for (QLineEdit* box : {ui_->txtHeat, ui_->txtPartDesc, ui_->txtOrder, ui_->txtCustPO, ui_->txtInvoice, ui_->txtLineNum,
                           ui_->txtQuantity, ui_->txtComp, ui_->txtTag}) {
        ui_->layRows->setRowVisible(box, message);
        box->setEnabled(message);
    }
    ui_->layRows->setRowVisible(ui_->txtPages, !defaultPages.isEmpty());
    const bool askCopies = GetLocalBool(session_, section::Info, QStringLiteral("AskForCopies"));
    ui_->layRows->setRowVisible(ui_->txtCopies, askCopies);
    const bool annotate = GetLocalBool(session_, section::Info, QStringLiteral("Annotate"));
    ui_->chkAnnotate->setChecked(annotate);
    // With every row above gone and annotation off, the form has nothing to ask.
    const bool nothingToAsk = !message && defaultPages.isEmpty() && !askCopies && !annotate;
    ui_->layRows->setRowVisible(ui_->chkAnnotate, !nothingToAsk);
    adjustSize();
    return nothingToAsk;
}

bool frmPrint::StartPrint(const QString& size)
{
    size_ = size;
    if (FormatWindow()) {
        PrintImage();
        return false;
    }
    show();
    return true;
}

void frmPrint::PrintImage()
{
    session_.traceCall(QStringLiteral("frmPrint.PrintImage"));
    if (!ValidatePagesBox(session_, ui_->txtPages))
        return;
    const MessageFields fields = SetMessageFields(this);
    if (const QString problem = CheckMessageFields(fields); !problem.isEmpty()) {
        session_.prompter().tell(QStringLiteral("Print"), problem, Icon::Exclamation);
        return;
    }
    const int copies = ui_->txtCopies->value();
    PrintFrame frame = PrintFrame::Standard;
    if (size_ == QLatin1String("A") || size_ == QLatin1String("G")) {
        const Answer answer = session_.prompter().ask(
            QStringLiteral("Larger than letter size"),
            QStringLiteral("This test report is longer than standard size!\r\n    'Yes' to reduce the image to fit\r\n"
                           "    'No' to  print it as is or\r\n    'Cancel' to not print"),
            Buttons::YesNoCancel, Icon::Critical);
        if (answer == Answer::Cancel || answer == Answer::None) {
            close();
            return;
        }
        // "Reduce to fit" keeps the standard frame; "as is" takes the long one.
        frame = answer == Answer::Yes ? PrintFrame::Standard : PrintFrame::Long;
    }
    // Without a viewer to annotate in, the file prints at once.
    const bool annotate = ui_->chkAnnotate->isChecked() && isSignalConnected(QMetaMethod::fromSignal(&frmPrint::annotateRequested));
    run_->start({PrintItem{session_.imageFilePath, ui_->txtPages->text(), fields, frame, copies}}, annotate);
}

void frmPrint::annotationDone()
{
    run_->annotationDone();
}

}  // namespace tarlox
