#include "shell/forms/MessageBoxPrompter.h"

#include <QApplication>
#include <QFileDialog>
#include <QMessageBox>
#include <QPushButton>

namespace tarlox {

namespace {

QMessageBox::StandardButton standardOf(Answer answer)
{
    switch (answer) {
    case Answer::Ok: return QMessageBox::Ok;
    case Answer::Cancel: return QMessageBox::Cancel;
    case Answer::Abort: return QMessageBox::Abort;
    case Answer::Retry: return QMessageBox::Retry;
    case Answer::Ignore: return QMessageBox::Ignore;
    case Answer::Yes: return QMessageBox::Yes;
    case Answer::No: return QMessageBox::No;
    case Answer::Help: return QMessageBox::Help;
    case Answer::None: break;
    }
    return QMessageBox::NoButton;
}

QMessageBox::Icon iconOf(Icon icon)
{
    switch (icon) {
    case Icon::Critical: return QMessageBox::Critical;
    case Icon::Question: return QMessageBox::Question;
    case Icon::Exclamation: return QMessageBox::Warning;
    case Icon::Information: return QMessageBox::Information;
    case Icon::None: break;
    }
    return QMessageBox::NoIcon;
}

}  // namespace

Answer MessageBoxPrompter::ask(const Prompt& prompt)
{
    QString text = prompt.text;
    text.replace(QLatin1String("\r\n"), QLatin1String("\n")).replace(QLatin1Char('\r'), QLatin1Char('\n'));
    QMessageBox box(iconOf(prompt.icon), prompt.title, text, QMessageBox::NoButton, parent_);
    for (Answer a : answersOf(prompt.buttons))
        box.addButton(standardOf(a));
    box.setDefaultButton(standardOf(defaultAnswerOf(prompt)));
    const bool wasBusy = QApplication::overrideCursor() != nullptr;
    if (wasBusy)
        QApplication::setOverrideCursor(Qt::ArrowCursor);
    const int result = box.exec();
    if (wasBusy)
        QApplication::restoreOverrideCursor();
    for (Answer a : answersOf(prompt.buttons))
        if (standardOf(a) == result)
            return a;
    // Closing the box counts as its escape answer.
    const auto answers = answersOf(prompt.buttons);
    return answers.contains(Answer::Cancel) ? Answer::Cancel : answers.last();
}

QString MessageBoxPrompter::chooseOpenFile(const QString& title, const QString& start, const QString& filter)
{
    return QFileDialog::getOpenFileName(parent_, title, start, filter);
}

QString MessageBoxPrompter::chooseDirectory(const QString& title, const QString& start)
{
    return QFileDialog::getExistingDirectory(parent_, title, start);
}

QString MessageBoxPrompter::chooseSaveFile(const QString& title, const QString& start, const QString& filter, bool askBeforeReplacing)
{
    return QFileDialog::getSaveFileName(parent_, title, start, filter, nullptr,
                                        askBeforeReplacing ? QFileDialog::Options() : QFileDialog::DontConfirmOverwrite);
}

void MessageBoxPrompter::setBusy(bool busy)
{
    if (busy) {
        QApplication::setOverrideCursor(Qt::WaitCursor);
        ++busyDepth_;
    } else {
        while (busyDepth_ > 0) {
            QApplication::restoreOverrideCursor();
            --busyDepth_;
        }
    }
}

}  // namespace tarlox
