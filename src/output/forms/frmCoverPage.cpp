#include "output/forms/frmCoverPage.h"

#include "output/FaxJobFile.h"
#include "ui_frmCoverPage.h"

#include <QDate>
#include <QFileDialog>
#include <QMessageBox>
#include <QSaveFile>
#include <QTimer>

namespace tarlox {

frmCoverPage::frmCoverPage(const QString& file, QWidget* parent)
    : QDialog(parent), ui_(std::make_unique<Ui::frmCoverPage>()), file_(file)
{
    ui_->setupUi(this);
    setAttribute(Qt::WA_DeleteOnClose);
    QFont fixed(QStringLiteral("monospace"));
    fixed.setStyleHint(QFont::TypeWriter);
    ui_->txtTemplate->setFont(fixed);
    ui_->txtTemplate->setTabStopDistance(12 * ui_->txtTemplate->fontMetrics().horizontalAdvance(QLatin1Char(' ')));
    chooseFile = [this] {
        return QFileDialog::getSaveFileName(this, QStringLiteral("Fax Cover Sheet"), QString(), QStringLiteral("Cover Page Files (*.cpe)"));
    };
    if (!file_.isEmpty()) {
        if (auto text = ReadCoverTemplate(file_))
            ui_->txtTemplate->setPlainText(*text);
    }
    ui_->lblFile->setText(file_.isEmpty() ? QStringLiteral("New cover page") : file_);
    ui_->cmdSave->setEnabled(!file_.isEmpty());
    // The page is drawn again a moment after the typing stops.
    auto* redraw = new QTimer(this);
    redraw->setSingleShot(true);
    redraw->setInterval(300);
    connect(redraw, &QTimer::timeout, this, &frmCoverPage::preview);
    connect(ui_->txtTemplate, &QPlainTextEdit::textChanged, redraw, qOverload<>(&QTimer::start));
    connect(ui_->cmdSave, &QPushButton::clicked, this, [this] {
        if (Save())
            accept();
    });
    connect(ui_->cmdSaveAs, &QPushButton::clicked, this, [this] {
        const QString chosen = chooseFile();
        if (chosen.isEmpty())
            return;
        const QString previous = file_;
        file_ = chosen;
        if (Save())
            accept();
        else
            file_ = previous;
    });
    connect(ui_->cmdCancel, &QPushButton::clicked, this, &QDialog::reject);
    preview();
}

frmCoverPage::~frmCoverPage() = default;

void frmCoverPage::preview()
{
    CoverFields sample;
    sample.company = QStringLiteral("Buyer Steel Co.");
    sample.to = QStringLiteral("Jo Buyer");
    sample.fax = QStringLiteral("555-0134");
    sample.voice = QStringLiteral("555-0100");
    sample.from = QStringLiteral("Pat Sender");
    sample.fromCompany = QStringLiteral("Acme Steel");
    sample.fromFax = QStringLiteral("555-0101");
    sample.subject = QStringLiteral("Requested MTR's");
    sample.message = QStringLiteral("Certificates for PO 4471.\nHeat 12345, 3 pages.");
    sample.pages = 4;
    sample.date = QDate::currentDate();
    const QImage page = RenderCoverPage(ui_->txtTemplate->toPlainText(), sample);
    ui_->imgPreview->setPixmap(QPixmap::fromImage(page.convertToFormat(QImage::Format_Grayscale8)
                                                      .scaled(ui_->imgPreview->size() - QSize(8, 8), Qt::KeepAspectRatio, Qt::SmoothTransformation)));
}

bool frmCoverPage::Save()
{
    if (file_.isEmpty())
        return false;
    QSaveFile out(file_);
    if (!out.open(QIODevice::WriteOnly) || out.write(ui_->txtTemplate->toPlainText().toUtf8()) < 0 || !out.commit()) {
        QMessageBox::warning(this, QStringLiteral("Fax Cover Sheet"), QStringLiteral("Can't write ") + file_ + QStringLiteral(": ") + out.errorString());
        return false;
    }
    return true;
}

}  // namespace tarlox
