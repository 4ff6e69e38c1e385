#include "base/Prompter.h"

#include <cstdio>

namespace tarlox {

QString Prompter::chooseOpenFile(const QString&, const QString&, const QString&) { return {}; }
QString Prompter::chooseDirectory(const QString&, const QString&) { return {}; }
QString Prompter::chooseSaveFile(const QString&, const QString&, const QString&, bool) { return {}; }
void Prompter::setBusy(bool) {}

Answer Prompter::ask(const QString& title, const QString& text, Buttons buttons, Icon icon, Answer defaultAnswer)
{
    return ask(Prompt{title, text, buttons, icon, defaultAnswer});
}

void Prompter::tell(const QString& title, const QString& text, Icon icon)
{
    ask(Prompt{title, text, Buttons::Ok, icon, Answer::Ok});
}

QList<Answer> answersOf(Buttons buttons)
{
    switch (buttons) {
    case Buttons::Ok: return {Answer::Ok};
    case Buttons::OkCancel: return {Answer::Ok, Answer::Cancel};
    case Buttons::AbortRetryIgnore: return {Answer::Abort, Answer::Retry, Answer::Ignore};
    case Buttons::YesNoCancel: return {Answer::Yes, Answer::No, Answer::Cancel};
    case Buttons::YesNo: return {Answer::Yes, Answer::No};
    case Buttons::RetryCancel: return {Answer::Retry, Answer::Cancel};
    }
    return {Answer::Ok};
}

Answer defaultAnswerOf(const Prompt& prompt)
{
    const auto answers = answersOf(prompt.buttons);
    if (prompt.defaultAnswer != Answer::None && answers.contains(prompt.defaultAnswer))
        return prompt.defaultAnswer;
    return answers.first();
}

Answer NonInteractivePrompter::ask(const Prompt& prompt)
{
    // Nobody is there to cure what a retry would need: never Retry.
    Answer answer = defaultAnswerOf(prompt);
    if (answer == Answer::Retry)
        answer = prompt.buttons == Buttons::AbortRetryIgnore ? Answer::Abort : Answer::Cancel;
    if (!quiet_)
        std::fprintf(stderr, "%s: %s\n", qUtf8Printable(prompt.title), qUtf8Printable(prompt.text.simplified()));
    return answer;
}

}  // namespace tarlox
