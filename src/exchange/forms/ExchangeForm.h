#pragma once

#include "exchange/Exchange.h"

#include <QWidget>

#include <functional>

class QLabel;
class QListWidget;
class QProgressBar;
class QPushButton;

namespace tarlox {

class Session;

// The shape the exchange screens share: a run of images with a progress
// bar (images done of all, the file in hand), the window served between
// images, Cancel taking effect between images, and a list of the images
// still to do that shrinks as the run goes.
class ExchangeForm : public QWidget {
    Q_OBJECT
public:
    bool running() const { return running_; }

protected:
    ExchangeForm(Session& session, QWidget* parent);

    // Wires the controls every screen has. list may be null.
    void setRunControls(QProgressBar* bar, QLabel* current, QPushButton* cancel, QListWidget* list = nullptr);
    // Fills the list with the found set's rows; returns their image numbers.
    QList<qint32> loadList(const SqlCondition& where);
    // Runs work with buttons off; told is called with each progress.
    ExchangeSummary runImages(const QList<QPushButton*>& buttons,
                              const std::function<ExchangeSummary(const ExchangeProgressFn&)>& work,
                              const std::function<void(const ExchangeProgress&)>& told = {});
    // The summary in a box, when anything was left out.
    void tellSummary(const ExchangeSummary& summary, const QString& title, const QString& verb);
    QString browseDirectory(const QString& title, const QString& start);

    void closeEvent(class QCloseEvent* event) override;

    Session& session_;

private:
    void cmdCancel_Click();

    QProgressBar* bar_ = nullptr;
    QLabel* current_ = nullptr;
    QListWidget* list_ = nullptr;
    bool running_ = false;
    bool cancel_ = false;
};

}  // namespace tarlox
