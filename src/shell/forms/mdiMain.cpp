#include "shell/forms/mdiMain.h"

#include "startup/Session.h"

#include <QApplication>
#include <QMdiArea>
#include <QMenuBar>

namespace tarlox {

mdiMain::mdiMain(Session& session, QWidget* parent)
    : QMainWindow(parent)
    , session_(session)
    , area_(new QMdiArea(this))
{
    setObjectName(QStringLiteral("mdiMain"));
    setWindowTitle(QStringLiteral("Tarlox"));
    setCentralWidget(area_);
    QMenu* file = menuBar()->addMenu(tr("&File"));
    QAction* exit = file->addAction(tr("E&xit"), this, &QWidget::close);
    exit->setObjectName(QStringLiteral("mnuExit"));
    resize(800, 600);
}

}  // namespace tarlox
