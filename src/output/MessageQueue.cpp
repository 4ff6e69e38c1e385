#include "output/MessageQueue.h"

#include "base/Prompter.h"
#include "data/Session.h"
#include "data/Settings.h"

#include <QSet>

namespace tarlox {

namespace {

struct Key {
    char letter;
    QString MessageFields::*field;
};

const Key kKeys[] = {
    {'C', &MessageFields::to},       {'D', &MessageFields::order},    {'N', &MessageFields::invoice},
    {'L', &MessageFields::lineNum},  {'U', &MessageFields::custPO},   {'P', &MessageFields::part},
    {'E', &MessageFields::partDesc}, {'Q', &MessageFields::quantity}, {'H', &MessageFields::heat},
    {'G', &MessageFields::tag},      {'K', &MessageFields::text},
};

QString KeyName(QueueMode mode, const char* which)
{
    return ModeWord(mode) + QLatin1String(which);
}

}  // namespace

QString BuildMessageString(const MessageFields& fields)
{
    // Written like PutArg, but every key even when empty: a queued image
    // must not inherit the fields of the one before it.
    QString message;
    for (const Key& key : kKeys) {
        QString value = fields.*key.field;
        value.replace(QLatin1Char(';'), QLatin1Char(','));
        value.replace(QLatin1Char('"'), QStringLiteral("''"));
        message += QLatin1Char('"') + QLatin1Char(key.letter) + value;
    }
    return message;
}

MessageFields ReadMessageString(const QString& message)
{
    MessageFields fields;
    for (qsizetype at = message.indexOf(QLatin1Char('"')); at >= 0 && at + 1 < message.size();) {
        const qsizetype end = message.indexOf(QLatin1Char('"'), at + 1);
        const QChar letter = message.at(at + 1).toUpper();
        const QString value = message.mid(at + 2, end < 0 ? -1 : end - at - 2);
        for (const Key& key : kKeys)
            if (letter == QLatin1Char(key.letter))
                fields.*key.field = value;
        at = end;
    }
    return fields;
}

QString CheckMessageFields(const MessageFields& fields)
{
    static const char* const labels[] = {"To Company", "Order #", "Invoice #", "Line #", "Customer P/O #", "Part",
                                         "Part Description", "Quantity", "Heat #", "Tag #", "Message"};
    int i = 0;
    for (const Key& key : kKeys) {
        if ((fields.*key.field).contains(QLatin1Char(';')))
            return QStringLiteral("The field '%1' holds a ';'. Message fields can't hold ';': please use ',' instead.")
                .arg(QLatin1String(labels[i]));
        ++i;
    }
    return {};
}

int Queue::count() const
{
    return files.isEmpty() ? 0 : int((files.count(QLatin1Char(';')) + 1) / 2);
}

QString ModeWord(QueueMode mode)
{
    return mode == QueueMode::Email ? QStringLiteral("Email") : QStringLiteral("Fax");
}

Queue ReadQueue(Session& session, QueueMode mode)
{
    return Queue{GetLocal(session, section::Info, KeyName(mode, "Files")),
                 GetLocal(session, section::Info, KeyName(mode, "Messages"))};
}

bool WriteQueue(Session& session, QueueMode mode, const Queue& queue)
{
    return PutLocal(session, section::Info, KeyName(mode, "Files"), queue.files)
        && PutLocal(session, section::Info, KeyName(mode, "Messages"), queue.messages);
}

bool ClearQueue(Session& session, QueueMode mode)
{
    return WriteQueue(session, mode, Queue{});
}

void AddFileAndMessage(Queue& queue, const QString& path, const QString& pages, const MessageFields& fields)
{
    if (path.isEmpty())
        return;
    if (!queue.files.isEmpty()) {
        queue.files += QLatin1Char(';');
        queue.messages += QLatin1Char(';');
    }
    queue.files += path + QLatin1Char(';') + pages;
    queue.messages += BuildMessageString(fields);
}

std::optional<Queue> BuildQueue(Session& session, QueueMode mode, const QList<QueueItem>& items)
{
    session.traceCall(QStringLiteral("BuildQueue"), {ModeWord(mode)});
    Queue queue = ReadQueue(session, mode);
    if (!queue.isEmpty()) {
        const QString verb = ModeWord(mode).toLower();
        const QString text = QStringLiteral("There are other images queued up to ") + verb + QStringLiteral(". \r\n")
            + QStringLiteral("Hit 'Yes' to ") + verb + QStringLiteral(" these images along with the current one, \r\n")
            + QStringLiteral("'No' to only ") + verb + QStringLiteral(" the current image, or 'Cancel' to end \r\n")
            + QStringLiteral("without ") + verb + QStringLiteral("ing");
        const Answer answer =
            session.prompter().ask(ModeWord(mode) + QStringLiteral(" Queued Images?"), text, Buttons::YesNoCancel, Icon::Question);
        if (answer == Answer::Cancel || answer == Answer::None)
            return std::nullopt;
        if (answer == Answer::No)
            queue = Queue{};
    }
    QSet<QString> seen;
    for (const QueueItem& item : items) {
        if (item.path.isEmpty() || seen.contains(item.path))
            continue;
        seen.insert(item.path);
        AddFileAndMessage(queue, item.path, QStringLiteral("All"), item.fields);
    }
    WriteQueue(session, mode, queue);
    return queue;
}

}  // namespace tarlox
