#include "exchange/forms/ExchangeForm.h"

#include "base/Prompter.h"
#include "data/ImageData.h"
#include "data/Session.h"

#include <QCloseEvent>
#include <QCoreApplication>
#include <QLabel>
#include <QListWidget>
#include <QProgressBar>
#include <QPushButton>

namespace tarlox {

ExchangeForm::ExchangeForm(Session& session, QWidget* parent) : QWidget(parent), session_(session) {}

void ExchangeForm::setRunControls(QProgressBar* bar, QLabel* current, QPushButton* cancel, QListWidget* list)
{
    bar_ = bar;
    current_ = current;
    list_ = list;
    bar_->setFormat(QStringLiteral("%v of %m"));
    bar_->setRange(0, 1);
    bar_->setValue(0);
    bar_->setTextVisible(false);
    connect(cancel, &QPushButton::clicked, this, &ExchangeForm::cmdCancel_Click);
    // The list shows what is left; a click takes the selection off again.
    if (list_)
        connect(list_, &QListWidget::itemSelectionChanged, list_, &QListWidget::clearSelection);
}

QList<qint32> ExchangeForm::loadList(const SqlCondition& where)
{
    QStringList lines;
    LoadImages(session_, lines, where);
    lines.removeDuplicates();
    QList<qint32> numbers;
    for (const QString& line : std::as_const(lines))
        numbers << line.mid(2, 6).toInt();
    if (list_)
        list_->addItems(lines);
    current_->setText(QStringLiteral("%1 images").arg(numbers.size()));
    return numbers;
}

ExchangeSummary ExchangeForm::runImages(const QList<QPushButton*>& buttons,
                                        const std::function<ExchangeSummary(const ExchangeProgressFn&)>& work,
                                        const std::function<void(const ExchangeProgress&)>& told)
{
    running_ = true;
    cancel_ = false;
    for (QPushButton* button : buttons)
        button->setEnabled(false);
    bar_->setTextVisible(true);
    const ExchangeSummary summary = work([this, &told](const ExchangeProgress& p) {
        bar_->setRange(0, std::max(p.total, 1));
        bar_->setValue(std::min(p.done, std::max(p.total, 1)));
        current_->setText(p.file);
        while (list_ && p.total > 0 && list_->count() > p.total - p.done)
            delete list_->takeItem(0);
        if (told)
            told(p);
        QCoreApplication::processEvents();
        return !cancel_;
    });
    bar_->setValue(bar_->maximum() == 1 && summary.total == 0 ? 0 : summary.done + int(summary.skipped.size()));
    if (list_ && !summary.cancelled && summary.stopped.isEmpty())
        list_->clear();
    current_->setText(summary.report(QStringLiteral("done")).first());
    for (QPushButton* button : buttons)
        button->setEnabled(true);
    running_ = false;
    return summary;
}

void ExchangeForm::tellSummary(const ExchangeSummary& summary, const QString& title, const QString& verb)
{
    if (summary.skipped.isEmpty())
        return;
    QStringList lines = summary.report(verb);
    if (lines.size() > 21)
        lines = lines.mid(0, 20) << QStringLiteral("  ...");
    session_.prompter().ask(title, lines.join(QStringLiteral("\r\n")), Buttons::Ok, Icon::Exclamation);
}

QString ExchangeForm::browseDirectory(const QString& title, const QString& start)
{
    return session_.prompter().chooseDirectory(title, start);
}

void ExchangeForm::cmdCancel_Click()
{
    if (running_)
        cancel_ = true;
    else
        close();
}

void ExchangeForm::closeEvent(QCloseEvent* event)
{
    // A run in hand ends at the next image; the window closes after it.
    if (running_) {
        cancel_ = true;
        event->ignore();
        return;
    }
    QWidget::closeEvent(event);
}

}  // namespace tarlox
