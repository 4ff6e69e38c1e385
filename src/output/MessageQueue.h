#pragma once

#include <QList>
#include <QString>

#include <optional>

namespace tarlox {

class Session;

// The message fields of one image, printed in a block on top of its pages.
struct MessageFields {
    QString from;      // the sender's company (key CompanyName, section Fax)
    QString to;        // C
    QString order;     // D
    QString invoice;   // N
    QString lineNum;   // L
    QString custPO;    // U
    QString part;      // P
    QString partDesc;  // E
    QString quantity;  // Q
    QString heat;      // H
    QString tag;       // G
    QString text;      // K, printed without a label

    bool operator==(const MessageFields&) const = default;
};

// The fields of one image packed as an argument string: every key, in the
// order C D N L U P E Q H G K, even when its value is empty, so reading it
// back clears older values. "from" is not part of it.
QString BuildMessageString(const MessageFields& fields);
// The eleven fields of a message string; keys that are absent read as "".
// "from" comes back empty.
MessageFields ReadMessageString(const QString& message);

// A queue joins entries with ";" and has no escape for it: a field holding
// ";" is refused at entry. Empty when the fields can be queued, else the
// message to show.
QString CheckMessageFields(const MessageFields& fields);

// A queue of images for a later e-mail or fax: "path;pages;path;pages..."
// and one message string per path, joined with ";". It lives in section
// Info of the local settings file, keys EmailFiles/EmailMessages or
// FaxFiles/FaxMessages.
enum class QueueMode { Email, Fax };

struct Queue {
    QString files;
    QString messages;

    bool isEmpty() const { return files.isEmpty(); }
    // The number of images queued.
    int count() const;
    bool operator==(const Queue&) const = default;
};

// "Email" or "Fax".
QString ModeWord(QueueMode mode);
Queue ReadQueue(Session& session, QueueMode mode);
// Both keys; false when the settings file can't be written (already reported).
bool WriteQueue(Session& session, QueueMode mode, const Queue& queue);
bool ClearQueue(Session& session, QueueMode mode);

// Appends one image to the queue's two strings. An empty path adds nothing.
void AddFileAndMessage(Queue& queue, const QString& path, const QString& pages, const MessageFields& fields);

// One image chosen for a queue, with the fields to print on it.
struct QueueItem {
    QString path;
    MessageFields fields;
};

// Merges the chosen images into the queue of mode, all pages each; an image
// chosen twice is queued once. When images are queued already the person
// is asked whether to add to them (Yes), to start a new queue (No) or to
// stop (Cancel). Returns the queue as written, or nullopt on Cancel, when
// the queue is left as it was.
std::optional<Queue> BuildQueue(Session& session, QueueMode mode, const QList<QueueItem>& items);

}  // namespace tarlox
