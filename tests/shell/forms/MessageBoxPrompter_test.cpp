#include "shell/forms/MessageBoxPrompter.h"

#include <QApplication>
#include <QMessageBox>
#include <QTest>
#include <QTimer>

#include <gtest/gtest.h>

using namespace tarlox;

namespace {

// A real message box, answered at the keyboard: Return takes the default
// button, Escape the box's way out; the answer is the button pressed.
TEST(MessageBoxPrompter, KeysGiveTheAnswersOfTheButtonsShown)
{
    const struct { Buttons buttons; Answer defaultAnswer; Qt::Key key; Answer expected; } rows[] = {
        {Buttons::Ok, Answer::None, Qt::Key_Return, Answer::Ok},
        {Buttons::OkCancel, Answer::None, Qt::Key_Return, Answer::Ok},
        {Buttons::OkCancel, Answer::None, Qt::Key_Escape, Answer::Cancel},
        {Buttons::YesNo, Answer::No, Qt::Key_Return, Answer::No},
        {Buttons::YesNoCancel, Answer::Yes, Qt::Key_Escape, Answer::Cancel},
        {Buttons::AbortRetryIgnore, Answer::Retry, Qt::Key_Return, Answer::Retry},
        {Buttons::RetryCancel, Answer::None, Qt::Key_Escape, Answer::Cancel},
    };
    MessageBoxPrompter prompter;
    for (const auto& row : rows) {
        QString shownText = QStringLiteral("(no box)");
        QTimer::singleShot(0, [&] {
            if (auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget())) {
                shownText = box->text();
                QTest::keyClick(box, row.key);
            }
        });
        const Answer answer = prompter.ask(Prompt{QStringLiteral("Title"), QStringLiteral("one\r\ntwo"), row.buttons, Icon::Question, row.defaultAnswer});
        EXPECT_EQ(std::tuple(answer, shownText), std::tuple(row.expected, QStringLiteral("one\ntwo"))) << int(row.buttons) << " key " << row.key;
    }
}

}  // namespace
