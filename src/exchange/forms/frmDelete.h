#pragma once

#include "exchange/forms/ExchangeForm.h"

#include <memory>

namespace Ui {
class frmDelete;
}

namespace tarlox {

// "Delete Images": the images of the last find, their Originals and all their rows.
class frmDelete : public ExchangeForm {
    Q_OBJECT
public:
    frmDelete(Session& session, const SqlCondition& foundSet, QWidget* parent = nullptr);
    ~frmDelete() override;

    Ui::frmDelete* ui() const { return ui_.get(); }
    void cmdDelete_Click();

private:
    std::unique_ptr<Ui::frmDelete> ui_;
    QList<qint32> images_;
};

}  // namespace tarlox
