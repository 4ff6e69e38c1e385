#include "capture/forms/ScanDialogs.h"

#include "capture/forms/ScanPreview.h"
#include "capture/forms/ScannerOptionsDialog.h"
#include "capture/forms/frmScanChk.h"
#include "store/ScannerSession.h"

#include <QPointer>

namespace tarlox {

void AttachScanDialogs(ScannerSession& scanner, QWidget* form, ScanPreview* view)
{
    QPointer<ScanPreview> shown(view);
    QPointer<QWidget> parent(form);
    scanner.scanCheck = [shown, parent](QImage* page) {
        frmScanChk dialog(page, [shown](const QImage& changed) {
            if (shown)
                shown->setPage(changed);
        }, parent);
        return dialog.ask();
    };
    scanner.deviceDialog = [parent](SaneDevice& device) {
        ScannerOptionsDialog dialog(device, parent);
        return dialog.exec() == QDialog::Accepted;
    };
    if (view)
        QObject::connect(&scanner, &ScannerSession::pageReady, view, [shown](const QImage& page, int) {
            if (shown)
                shown->setPage(page);
        });
}

}  // namespace tarlox
