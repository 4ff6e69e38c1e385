#pragma once

#include "output/Pack.h"

#include <QWidget>

#include <atomic>
#include <memory>

namespace Ui {
class frmPack;
}

namespace tarlox {

class Session;

// Certificate Pack: the lines of a shipment pasted or opened from a CSV
// file, the reports of their heats in a grid (lines without one and lines
// with several in colour), and one PDF of them all, made to a file, to the
// printer or into an e-mail to the customer.
class frmPack : public QWidget {
    Q_OBJECT
public:
    frmPack(Session& session, HeatLookup lookup, QWidget* parent = nullptr);
    ~frmPack() override;

    Ui::frmPack* ui() const { return ui_.get(); }
    const PackPlan& plan() const { return plan_; }

    // Reads the lines of the paste box, the columns as the header row names
    // them or as chosen, and finds the reports of their heats.
    void cmdRead_Click();
    void cmdOpen_Click();
    // The viewer on the chosen report of the current line.
    void cmdView_Click();
    // Takes the current line out of the pack, or puts it back.
    void cmdDrop_Click();
    // The report of line row: candidate (an index into its candidates).
    void choose(int row, int candidate);
    void cmdMake_Click();
    // Makes the pack at target, off the interface thread; true when written.
    bool MakeFile(const QString& target);

signals:
    // A viewer should open on this image; the frame opens it.
    void viewRequested(qint32 image);

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    void showColumns(const QStringList& header);
    QList<PackColumn> chosenColumns() const;
    void showPlan();
    void showPages();
    void status(const QString& text);
    void running(bool on);
    PackProgress progress();
    void printPack();
    void mailPack();

    Session& session_;
    HeatLookup lookup_;
    std::unique_ptr<Ui::frmPack> ui_;
    QString headerText_;  // the header row the column choice is for
    PackPlan plan_;
    bool running_ = false;
    std::atomic<bool> stop_{false};
};

}  // namespace tarlox
