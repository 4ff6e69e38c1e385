#include "shell/forms/FormRegistry.h"

#include "capture/forms/ScannerPageSource.h"
#include "capture/forms/frmBatch.h"
#include "capture/forms/frmBarcode.h"
#include "capture/forms/frmRescn.h"
#include "capture/forms/frmScan.h"
#include "exchange/forms/frmDelete.h"
#include "exchange/forms/frmExport.h"
#include "exchange/forms/frmImport.h"
#include "exchange/forms/frmImportTif.h"
#include "exchange/forms/frmMove.h"
#include "output/forms/frmContactFM.h"
#include "output/forms/frmEmail.h"
#include "output/forms/frmEtest.h"
#include "output/forms/frmFax.h"
#include "output/forms/frmFaxct.h"
#include "output/forms/frmPack.h"
#include "output/forms/frmSelect.h"
#include "data/Session.h"
#include "search/FindQuery.h"
#include "output/forms/frmPrint.h"
#include "output/forms/frmSelect.h"
#include "output/forms/frmSelectAll.h"
#include "search/FindQuery.h"
#include "data/Session.h"

#include <QMdiArea>
#include <QMdiSubWindow>
#include "search/forms/frmAscii.h"
#include "store/ImageStore.h"
#include "search/forms/frmFind.h"
#include "search/forms/frmList.h"
#include "search/forms/frmUpdate.h"
#include "shell/forms/frmAbout.h"
#include "shell/forms/frmInfo.h"
#include "shell/forms/frmSecure.h"
#include "shell/forms/mdiMain.h"
#include "ui_frmInfo.h"
#include "view/forms/frmVTLin.h"
#include "view/forms/frmVTRec.h"
#include "view/forms/frmVTStm.h"
#include "view/forms/frmView.h"

namespace tarlox {

namespace {

template <class Form> void wireSendForms(Form* form, mdiMain& frame);
template <class Form> void wireAnnotate(Form* form, Session& session, mdiMain& frame);

// Find's Select: the image's facts, and from there a viewer in the frame.
void openSelect(Session& session, mdiMain& frame, qint32 number)
{
    frmSelect* select = frmSelect::Open(session, number, &frame);
    if (!select)
        return;
    select->setAttribute(Qt::WA_DeleteOnClose);
    QObject::connect(select, &frmSelect::viewRequested, &frame, [&frame](qint32) { frame.ShowInstance(QStringLiteral("frmView")); });
    QObject::connect(select, &frmSelect::rescanRequested, &frame, [&frame](qint32) { frame.ShowForm(QStringLiteral("frmRescn")); });
    wireSendForms(select, frame);
    QObject::connect(select, &frmSelect::printFormOpened, &frame, [&session, &frame](frmPrint* print) { wireAnnotate(print, session, frame); });
}

// Annotation before a file leaves: a viewer in annotate mode on the
// prepared file; the form goes on when the viewer has closed. A modal form
// steps aside meanwhile, so that the viewer can be used.
template <class Form> void wireAnnotate(Form* form, Session& session, mdiMain& frame)
{
    QObject::connect(form, &Form::annotateRequested, &frame, [&session, &frame, form](const QString& file) {
        frmView* viewer = frmView::Annotate(session, file, &frame);
        const bool stepAside = form->isModal() || form->windowModality() != Qt::NonModal;
        if (stepAside)
            form->hide();
        QMdiSubWindow* window = frame.mdiArea()->addSubWindow(viewer);
        window->setAttribute(Qt::WA_DeleteOnClose);
        // The viewer's window goes with it.
        QObject::connect(viewer, &frmView::closed, window, &QWidget::close, Qt::QueuedConnection);
        QObject::connect(viewer, &frmView::closed, form, [form, stepAside] {
            if (stepAside)
                form->show();
            form->annotationDone();
        });
        window->show();
    });
}

// E-mail and Fax of a selection screen, offered when the program has those forms.
template <class Form> void wireSendForms(Form* form, mdiMain& frame)
{
    const bool email = frame.forms().has(QStringLiteral("frmEmail"));
    // Fax follows the fax server's answer at start-up too.
    const bool fax = frame.forms().has(QStringLiteral("frmFax")) && frame.faxAvailable();
    form->setSendForms(email, fax);
    QObject::connect(form, &Form::emailRequested, &frame, [&frame] { frame.ShowForm(QStringLiteral("frmEmail")); });
    QObject::connect(form, &Form::faxRequested, &frame, [&frame] { frame.ShowForm(QStringLiteral("frmFax")); });
}

// Find's Select All: the found references in a grid, to print or queue.
void openSelectAll(Session& session, mdiMain& frame)
{
    FindProblem problem;
    FindCriteria criteria = session.findQuery;
    const std::optional<SqlCondition> found = FindCondition(session, criteria, problem);
    if (!found)
        return;
    auto* form = new frmSelectAll(session, *found, &frame);
    wireSendForms(form, frame);
    wireAnnotate(form, session, frame);
    form->show();
}

// The screens on the last find's images (export, move, delete) run its
// criteria again; nothing opens when they can't be searched for.
template <class Form> void foundSetForm(FormRegistry& forms, const QString& name)
{
    forms.add(name, FormKind::Child, [](const FormContext& c) -> QWidget* {
        FindProblem problem;
        const auto where = FindCondition(c.session, c.session.findQuery, problem);
        if (!where)
            return nullptr;
        return new Form(c.session, *where, &c.frame);
    });
}

// A child's Window menu: "Cascade", "Horizontal", "Vertical", "Arrange", "Expand".
void windowCommand(mdiMain& frame, const QString& name)
{
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
}

// The contact form; closing it opens the form that called it again.
frmContactFM* contactForm(const FormContext& c, const QString& mode)
{
    auto* contacts = new frmContactFM(c.session, mode, &c.frame);
    QObject::connect(contacts, &frmContactFM::reopenRequested, &c.frame, [&frame = c.frame](const QString& form) { frame.ShowForm(form); });
    return contacts;
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
        for (const auto& [signal, form] : {std::pair{&frmFind::exportRequested, "frmExport"}, std::pair{&frmFind::moveRequested, "frmMove"},
                                           std::pair{&frmFind::deleteRequested, "frmDelete"}})
            QObject::connect(find, signal, &c.frame, [&frame = c.frame, form] { frame.ShowForm(QLatin1String(form)); });
        for (const auto screen : {frmFind::Screen::Export, frmFind::Screen::Move, frmFind::Screen::Delete})
            find->setScreenAvailable(screen, true);
        find->setScreenAvailable(frmFind::Screen::SelectAll, true);
        QObject::connect(find, &frmFind::selectAllRequested, &c.frame,
                         [&session = c.session, &frame = c.frame] { openSelectAll(session, frame); });
        return find;
    });
    forms.add(QStringLiteral("frmView"), FormKind::Child, [](const FormContext& c) {
        auto* viewer = new frmView(c.session, &c.frame);
        viewer->setPageSource(new ScannerPageSource(c.session, viewer));
        // The viewer's Window menu works on the frame.
        QObject::connect(viewer, &frmView::windowCommand, &c.frame, [&frame = c.frame](const QString& name) { windowCommand(frame, name); });
        return viewer;
    });
    forms.add(QStringLiteral("frmFaxct"), FormKind::Child, [](const FormContext& c) {
        auto* control = new frmFaxct(c.session, &c.frame);
        QObject::connect(control, &frmFaxct::windowCommand, &c.frame, [&frame = c.frame](const QString& name) { windowCommand(frame, name); });
        return control;
    });
    forms.add(QStringLiteral("frmList"), FormKind::Child, [](const FormContext& c) { return new frmList(c.session, &c.frame); });
    forms.add(QStringLiteral("frmAscii"), FormKind::Child, [](const FormContext& c) { return new frmAscii(c.session, &c.frame); });
    forms.add(QStringLiteral("frmUpdate"), FormKind::Child, [](const FormContext& c) { return new frmUpdate(c.session, &c.frame); });
    forms.add(QStringLiteral("frmScan"), FormKind::Child, [](const FormContext& c) { return new frmScan(c.session, &c.frame); });
    forms.add(QStringLiteral("frmBatch"), FormKind::Child, [](const FormContext& c) { return new frmBatch(c.session, &c.frame); });
    forms.add(QStringLiteral("frmBarcode"), FormKind::Child, [](const FormContext& c) { return new frmBarcode(c.session, &c.frame); });
    forms.add(QStringLiteral("frmRescn"), FormKind::Child, [](const FormContext& c) { return new frmRescn(c.session, &c.frame); });
    foundSetForm<frmExport>(forms, QStringLiteral("frmExport"));
    foundSetForm<frmMove>(forms, QStringLiteral("frmMove"));
    foundSetForm<frmDelete>(forms, QStringLiteral("frmDelete"));
    forms.add(QStringLiteral("frmImport"), FormKind::Child, [](const FormContext& c) { return new frmImport(c.session, &c.frame); });
    forms.add(QStringLiteral("frmImportTif"), FormKind::Child, [](const FormContext& c) { return new frmImportTif(c.session, &c.frame); });
    forms.add(QStringLiteral("frmInfo"), FormKind::Dialog, [](const FormContext& c) {
        auto* info = new frmInfo(c.session, &c.frame);
        // Test proves the e-mail settings on screen, saved or not.
        QObject::connect(info, &frmInfo::emailTestRequested, info, [info, &session = c.session] {
            auto* test = new frmEtest(session, info);
            test->throughClient = [info] { return info->ui()->chkEmailClient->isChecked(); };
            test->serverSettings = [info] { return info->emailSettingsOnScreen(); };
            test->open();
        });
        return info;
    });
    forms.add(QStringLiteral("frmEtest"), FormKind::Dialog, [](const FormContext& c) { return new frmEtest(c.session, &c.frame); });
    forms.add(QStringLiteral("frmEmail"), FormKind::Dialog, [](const FormContext& c) {
        auto* mail = new frmEmail(c.session, &c.frame);
        wireAnnotate(mail, c.session, c.frame);
        QObject::connect(mail, &frmEmail::findRequested, &c.frame, [&frame = c.frame] { frame.ShowForm(QStringLiteral("frmContactFM")); });
        return mail;
    });
    // The contact form of the e-mail form; the fax form's opens in fax mode.
    forms.add(QStringLiteral("frmContactFM"), FormKind::Dialog, [](const FormContext& c) {
        return contactForm(c, QStringLiteral("Email"));
    });
    forms.add(QStringLiteral("frmFax"), FormKind::Dialog, [](const FormContext& c) {
        auto* fax = new frmFax(c.session, &c.frame);
        wireAnnotate(fax, c.session, c.frame);
        QObject::connect(fax, &frmFax::findNameRequested, &c.frame, [&session = c.session, &frame = c.frame] {
            contactForm(FormContext{session, frame}, QStringLiteral("Fax"))->show();
        });
        return fax;
    });
    // The pack finds its heats by the rules of Find; View opens the viewer as Select does.
    forms.add(QStringLiteral("frmPack"), FormKind::Child, [](const FormContext& c) {
        Session& session = c.session;
        auto* pack = new frmPack(session, [&session](const QString& heat) -> IoResult<QList<InfoRow>> {
            FindCriteria criteria;
            criteria.heat = heat;
            criteria.assumeWild = false;
            const FindResult found = FindReferences(session, criteria, 1000);
            if (found.problem || found.failed)
                return Failure(QStringLiteral("The search for heat \"%1\" failed.").arg(heat));
            return found.rows;
        }, &c.frame);
        QObject::connect(pack, &frmPack::viewRequested, &c.frame, [&session, &frame = c.frame](qint32 image) {
            if (GetImage(session, image))
                frame.ShowInstance(QStringLiteral("frmView"));
        });
        return pack;
    });
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
