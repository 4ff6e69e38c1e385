#pragma once

#include "exchange/forms/ExchangeForm.h"

#include <memory>

namespace Ui {
class frmExport;
}

namespace tarlox {

// "Export Images": the images of the last find, with their rows, to an export directory.
class frmExport : public ExchangeForm {
    Q_OBJECT
public:
    frmExport(Session& session, const SqlCondition& foundSet, QWidget* parent = nullptr);
    ~frmExport() override;

    Ui::frmExport* ui() const { return ui_.get(); }
    void cmdExport_Click();

private:
    std::unique_ptr<Ui::frmExport> ui_;
    QList<qint32> images_;
};

}  // namespace tarlox
