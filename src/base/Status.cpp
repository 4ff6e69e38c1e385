#include "base/Status.h"

#include "base/Prompter.h"

namespace tarlox {

RetryOffer AskRetryCancel(Prompter& prompter)
{
    return [&prompter](const Status& failure) {
        return prompter.ask(failure.title, failure.text, Buttons::RetryCancel, Icon::Critical) == Answer::Retry;
    };
}

QString OneLine(const Status& failure)
{
    QString text = failure.text.simplified();
    // The box's advice on which button to press means nothing on one line.
    for (const QString& tail : {QStringLiteral(" To end Tarlox, hit 'Cancel'."), QStringLiteral(" Select 'Cancel' to abort")}) {
        if (const qsizetype at = text.indexOf(tail); at > 0)
            text.truncate(at);
    }
    return failure.title.isEmpty() ? text : failure.title + QStringLiteral(": ") + text;
}

}  // namespace tarlox
