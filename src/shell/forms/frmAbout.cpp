#include "shell/forms/frmAbout.h"

#include "shell/ComponentVersions.h"
#include "data/Session.h"
#include "ui_frmAbout.h"

#include <QHeaderView>

namespace tarlox {

frmAbout::frmAbout(Session& session, QWidget* parent)
    : QDialog(parent)
    , ui_(std::make_unique<Ui::frmAbout>())
{
    ui_->setupUi(this);
    session.traceCall(QStringLiteral("frmAbout.Form_Load"));
    ui_->lblHead->setText(QStringLiteral("Tarlox"));
    ui_->lblCopyright->setText(QStringLiteral("Version ") + session.programVersion
                               + QStringLiteral("\nCopyright \u00a9 the Tarlox developers. Material test report storage and retrieval."));
    ui_->lblCompany->setText(session.options.companyName.trimmed());
    ui_->lblUser->setText(session.machine.userName);

    const QList<ComponentVersion> rows = ComponentVersions(session.programVersion);
    QTableWidget* grid = ui_->grdVersion;
    grid->setColumnCount(2);
    grid->setHorizontalHeaderLabels({QStringLiteral("File"), QStringLiteral("Version")});
    grid->setRowCount(int(rows.size()));
    for (int r = 0; r < rows.size(); ++r) {
        grid->setItem(r, 0, new QTableWidgetItem(rows.at(r).name));
        auto* version = new QTableWidgetItem(rows.at(r).version);
        version->setTextAlignment(Qt::AlignRight | Qt::AlignVCenter);
        grid->setItem(r, 1, version);
    }
    grid->verticalHeader()->hide();
    grid->horizontalHeader()->setSectionResizeMode(0, QHeaderView::Stretch);
    grid->horizontalHeader()->setSectionResizeMode(1, QHeaderView::ResizeToContents);
    grid->resizeRowsToContents();
    grid->setSizeAdjustPolicy(QAbstractScrollArea::AdjustToContents);
    grid->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    connect(ui_->cmdOK, &QPushButton::clicked, this, &QDialog::accept);
}

frmAbout::~frmAbout() = default;

}  // namespace tarlox
