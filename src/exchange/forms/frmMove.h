#pragma once

#include "exchange/forms/ExchangeForm.h"

#include <memory>

namespace Ui {
class frmMove;
}

namespace tarlox {

// "Move Images": the files of the last find to another directory, or their rows relinked.
class frmMove : public ExchangeForm {
    Q_OBJECT
public:
    frmMove(Session& session, const SqlCondition& foundSet, QWidget* parent = nullptr);
    ~frmMove() override;

    Ui::frmMove* ui() const { return ui_.get(); }
    void MoveImages(bool relink);

private:
    std::unique_ptr<Ui::frmMove> ui_;
    QList<qint32> images_;
};

}  // namespace tarlox
