#pragma once

#include "base/Prompter.h"

#include <QList>
#include <deque>
#include <functional>

namespace tarlox::test {

// Answers questions from a script and records every question asked. With
// the script used up, each question takes its default answer.
class ScriptedPrompter : public Prompter {
public:
    Answer ask(const Prompt& prompt) override;
    QString chooseOpenFile(const QString& title, const QString& start, const QString& filter) override;
    QString chooseDirectory(const QString& title, const QString& start) override;
    QString chooseSaveFile(const QString& title, const QString& start, const QString& filter, bool) override { return chooseOpenFile(title, start, filter); }

    void answer(Answer next) { answers_.push_back(next); }
    void answerFile(const QString& path) { files_.push_back(path); }
    // Runs before each question is answered: lets a test change the world
    // the way a person would before pressing Retry.
    void onAsk(std::function<void(const Prompt&)> action) { onAsk_ = std::move(action); }

    const QList<Prompt>& asked() const { return asked_; }
    QStringList titles() const;
    bool wasAsked(const QString& title) const { return titles().contains(title); }
    // The text of the last question with that title, or empty.
    QString textOf(const QString& title) const;
    void clear() { asked_.clear(); answers_.clear(); }

private:
    std::deque<Answer> answers_;
    std::deque<QString> files_;
    QList<Prompt> asked_;
    std::function<void(const Prompt&)> onAsk_;
};

}  // namespace tarlox::test
