#pragma once

#include "exchange/forms/ExchangeForm.h"

#include <memory>

namespace Ui {
class frmImport;
}

namespace tarlox {

// "Import": an export directory taken into this installation.
class frmImport : public ExchangeForm {
    Q_OBJECT
public:
    explicit frmImport(Session& session, QWidget* parent = nullptr);
    ~frmImport() override;

    Ui::frmImport* ui() const { return ui_.get(); }
    void cmdImport_Click();

private:
    std::unique_ptr<Ui::frmImport> ui_;
    void txtImportDir_Change();
    void txtImportFile_Change();
    void txtIncrement_Change();
    void chkChgImg_Click();
    QString rememberedDir_;
};

}  // namespace tarlox
