#pragma once

#include <QString>
#include <QStringList>

namespace tarlox {

// The answers a question can have. The values are the classic message box
// result codes, which the settings and the scan check dialog store as numbers.
enum class Answer { None = 0, Ok = 1, Cancel = 2, Abort = 3, Retry = 4, Ignore = 5, Yes = 6, No = 7, Help = 8 };

enum class Buttons { Ok, OkCancel, AbortRetryIgnore, YesNoCancel, YesNo, RetryCancel };

enum class Icon { None, Critical, Question, Exclamation, Information };

struct Prompt {
    QString title;
    QString text;
    Buttons buttons = Buttons::Ok;
    Icon icon = Icon::None;
    Answer defaultAnswer = Answer::None;  // None: the first button
    bool withHelp = false;
};

// Every question, warning and error report goes through here. The desktop
// shows a message box; the CLI asks on the terminal or takes the default;
// tests script the answers and read back what was asked.
class Prompter {
public:
    virtual ~Prompter() = default;

    virtual Answer ask(const Prompt& prompt) = 0;
    // File and folder pickers; an empty result means the user cancelled.
    virtual QString chooseOpenFile(const QString& title, const QString& start, const QString& filter);
    virtual QString chooseDirectory(const QString& title, const QString& start);
    // A file to write; with askBeforeReplacing an existing one is confirmed first.
    virtual QString chooseSaveFile(const QString& title, const QString& start, const QString& filter, bool askBeforeReplacing = true);
    // Long work shows the busy pointer while it runs. A question asked
    // meanwhile shows the ordinary pointer and gives the busy one back.
    virtual void setBusy(bool busy);

    Answer ask(const QString& title, const QString& text, Buttons buttons, Icon icon,
               Answer defaultAnswer = Answer::None);
    void tell(const QString& title, const QString& text, Icon icon = Icon::None);
};

QList<Answer> answersOf(Buttons buttons);
Answer defaultAnswerOf(const Prompt& prompt);

// Takes each question's default answer, never Retry; reports what it was
// asked on stderr, one line a question.
class NonInteractivePrompter : public Prompter {
public:
    explicit NonInteractivePrompter(bool quiet = false) : quiet_(quiet) {}
    Answer ask(const Prompt& prompt) override;

private:
    bool quiet_;
};

}  // namespace tarlox
