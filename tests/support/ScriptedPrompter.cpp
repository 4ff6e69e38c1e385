#include "support/ScriptedPrompter.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace tarlox::test {

Answer ScriptedPrompter::ask(const Prompt& prompt)
{
    asked_.append(prompt);
    if (onAsk_) onAsk_(prompt);
    if (answers_.empty()) {
        // A script that ran out inside a retry loop would spin for ever.
        if (asked_.size() > 200) {
            ADD_FAILURE() << "endless questions: " << prompt.title.toStdString();
            const auto answers = answersOf(prompt.buttons);
            return answers.contains(Answer::Cancel) ? Answer::Cancel : answers.last();
        }
        return defaultAnswerOf(prompt);
    }
    const Answer next = answers_.front();
    return answers_.pop_front(), next;
}

QString ScriptedPrompter::chooseOpenFile(const QString& title, const QString&, const QString&)
{
    asked_.append(Prompt{title, u"(file)"_s});
    const QString next = files_.empty() ? QString() : files_.front();
    return files_.empty() ? next : (files_.pop_front(), next);
}

QString ScriptedPrompter::chooseDirectory(const QString& title, const QString& start) { return chooseOpenFile(title, start, {}); }

QStringList ScriptedPrompter::titles() const
{
    QStringList result;
    for (const Prompt& p : asked_) result << p.title;
    return result;
}

QString ScriptedPrompter::textOf(const QString& title) const
{
    for (auto it = asked_.crbegin(); it != asked_.crend(); ++it)
        if (it->title == title) return it->text;
    return {};
}

}  // namespace tarlox::test
