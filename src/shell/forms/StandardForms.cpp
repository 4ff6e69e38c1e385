#include "shell/forms/FormRegistry.h"

#include "capture/forms/ScannerPageSource.h"
#include "capture/forms/frmRescn.h"
#include "capture/forms/frmScan.h"
#include "output/forms/frmSelect.h"
#include "search/forms/frmAscii.h"
#include "search/forms/frmFind.h"
#include "search/forms/frmList.h"
#include "search/forms/frmUpdate.h"
#include "shell/forms/frmAbout.h"
#include "shell/forms/frmInfo.h"
#include "shell/forms/frmSecure.h"
#include "shell/forms/mdiMain.h"
#include "view/forms/frmVTLin.h"
#include "view/forms/frmVTRec.h"
#include "view/forms/frmVTStm.h"
#include "view/forms/frmView.h"

namespace tarlox {

namespace {

// Find's Select: the image's facts, and from there a viewer in the frame.
void openSelect(Session& session, mdiMain& frame, qint32 number)
{
    frmSelect* select = frmSelect::Open(session, number, &frame);
    if (!select)
        return;
    select->setAttribute(Qt::WA_DeleteOnClose);
    QObject::connect(select, &frmSelect::viewRequested, &frame, [&frame](qint32) { frame.ShowInstance(QStringLiteral("frmView")); });
    QObject::connect(select, &frmSelect::rescanRequested, &frame, [&frame](qint32) { frame.ShowForm(QStringLiteral("frmRescn")); });
}

template <class Form> void dialogOf(FormRegistry& forms, const QString& name)
{
    forms.add(name, FormKind::Dialog, [](const FormContext& c) { return new Form(c.session, &c.frame); });
}

}  // namespace

FormRegistry StandardForms()
{
    FormRegistry forms;
    forms.add(QStringLiteral("frmFind"), FormKind::Child, [](const FormContext& c) {
        auto* find = new frmFind(c.session, &c.frame);
        QObject::connect(find, &frmFind::selectRequested, &c.frame,
                         [&session = c.session, &frame = c.frame](qint32 number) { openSelect(session, frame, number); });
        return find;
    });
    forms.add(QStringLiteral("frmView"), FormKind::Child, [](const FormContext& c) {
        auto* viewer = new frmView(c.session, &c.frame);
        viewer->setPageSource(new ScannerPageSource(c.session, viewer));
        // The viewer's Window menu works on the frame.
        QObject::connect(viewer, &frmView::windowCommand, &c.frame, [&frame = c.frame](const QString& name) {
            if (name == QLatin1String("Cascade"))
                frame.Arrange(mdiMain::Arrangement::Cascade);
            else if (name == QLatin1String("Horizontal"))
                frame.Arrange(mdiMain::Arrangement::TileHorizontal);
            else if (name == QLatin1String("Vertical"))
                frame.Arrange(mdiMain::Arrangement::TileVertical);
            else if (name == QLatin1String("Arrange"))
                frame.Arrange(mdiMain::Arrangement::Icons);
            else if (name == QLatin1String("Expand"))
                frame.WindowExpand();
        });
        return viewer;
    });
    forms.add(QStringLiteral("frmList"), FormKind::Child, [](const FormContext& c) { return new frmList(c.session, &c.frame); });
    forms.add(QStringLiteral("frmAscii"), FormKind::Child, [](const FormContext& c) { return new frmAscii(c.session, &c.frame); });
    forms.add(QStringLiteral("frmUpdate"), FormKind::Child, [](const FormContext& c) { return new frmUpdate(c.session, &c.frame); });
    forms.add(QStringLiteral("frmScan"), FormKind::Child, [](const FormContext& c) { return new frmScan(c.session, &c.frame); });
    forms.add(QStringLiteral("frmRescn"), FormKind::Child, [](const FormContext& c) { return new frmRescn(c.session, &c.frame); });
    dialogOf<frmInfo>(forms, QStringLiteral("frmInfo"));
    dialogOf<frmAbout>(forms, QStringLiteral("frmAbout"));
    forms.add(QStringLiteral("frmSecure"), FormKind::Dialog, [](const FormContext& c) -> QWidget* {
        auto* secure = new frmSecure(c.session, &c.frame);
        if (!secure->loaded()) {
            delete secure;
            return nullptr;
        }
        return secure;
    });
    dialogOf<frmVTLin>(forms, QStringLiteral("frmVTLin"));
    dialogOf<frmVTRec>(forms, QStringLiteral("frmVTRec"));
    dialogOf<frmVTStm>(forms, QStringLiteral("frmVTStm"));
    return forms;
}

}  // namespace tarlox
