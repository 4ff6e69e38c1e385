#pragma once

#include "exchange/forms/ExchangeForm.h"

#include <memory>

namespace Ui {
class frmImportTif;
}

namespace tarlox {

// "Import Tif Files": image files indexed from their own tags.
class frmImportTif : public ExchangeForm {
    Q_OBJECT
public:
    explicit frmImportTif(Session& session, QWidget* parent = nullptr);
    ~frmImportTif() override;

    Ui::frmImportTif* ui() const { return ui_.get(); }
    void cmdImport_Click();

private:
    std::unique_ptr<Ui::frmImportTif> ui_;
    QString rememberedDir_;
};

}  // namespace tarlox
