#pragma once

#include "data/Records.h"

#include <QString>

namespace tarlox {

class Session;

// The edits that work on references alone: the image row and its file are
// never touched. A reference has no key of its own, so a change is a delete
// of the stored row and an insert of the new one.

// The texts of the record boxes of the find screen.
struct ReferenceEntry {
    QString heat;
    QString part;
    QString po;
    QString vend;
    QString mfg;
    QString imageNumber;
    QString date;
};

// The entry of a reference as the record boxes show it (the date in the short form).
ReferenceEntry EntryOf(const InfoRow& row);

struct ChangeResult {
    enum class Outcome { Changed, InvalidDate, DeleteFailed, AddFailed };
    Outcome outcome = Outcome::Changed;
    InfoRow stored;     // Changed: the row as it now stands
    QString errorText;  // AddFailed: the database's words
};

// Replaces the reference stored (as read) by the values of edited, in one
// transaction: the old row is deleted by its key (Part, Heat, P/O, Mfg,
// Image #) and the new one inserted. The date is checked first; a date left
// as shown keeps the stored moment. When the delete or the insert fails,
// nothing has changed. A delete failure has been reported; an insert failure
// (a clash with another reference's key, say) comes back in errorText.
ChangeResult ChangeReference(Session& session, const InfoRow& stored, const ReferenceEntry& edited);

struct AddResult {
    enum class Outcome { Added, ImageNotOnFile, InvalidDate, NotAdded };
    Outcome outcome = Outcome::Added;
    QString errorText;  // NotAdded: the database's words
};

// Adds a further reference to an image that is on file.
AddResult AddReference(Session& session, const ReferenceEntry& entry);

struct RemoveResult {
    enum class Outcome { Removed, OnlyReference, Failed };
    Outcome outcome = Outcome::Removed;
    qint64 references = 0;  // the image's references before the removal
};

// Removes the reference stored unless it is the only one of its image that
// can be found (an image without references can't be found any more).
// Counting and removing happen in one transaction, so two workstations
// can't remove an image's last two references at once.
RemoveResult RemoveReference(Session& session, const InfoRow& stored);

}  // namespace tarlox
