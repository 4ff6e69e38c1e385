#pragma once

#include <QString>

#include <functional>

namespace tarlox {

// What went wrong, as a value: the core returns it and the front end
// decides what to show and whether to try again.
enum class FailureKind {
    None,
    Declined,             // the person said no (to initializing the settings, say)
    NoSettingsFile,       // the local settings file is missing
    ServerFileMissing,    // the server settings file can't be found: server offline, share not mounted
    DatabaseUnreachable,  // the database does not answer
    OptionsUnreadable,    // the database answers but its Options row can't be read
    RowsLocked,           // another workstation holds the rows
    WrongVolume,          // the image's volume is not the one mounted
    VersionRefused,       // the data and program versions don't go together
    Other,
};

struct Status {
    FailureKind kind = FailureKind::None;
    QString title;  // the message box's title
    QString text;   // its text, as the person at the screen reads it

    bool ok() const { return kind == FailureKind::None; }
};

// A failure that a person can cure (bring the server back, let go of the
// rows, mount the volume) is offered for another try. A front end with a
// person at the screen asks Retry/Cancel and returns true for Retry; where
// no one can answer (the command line, a server) there is no offer, and the
// core returns the failure at once. No loop of the core waits on an answer
// that no person can give.
using RetryOffer = std::function<bool(const Status&)>;

class Prompter;
// The offer of a front end with a person at the screen: the failure's box
// with Retry and Cancel.
RetryOffer AskRetryCancel(Prompter& prompter);

// The one-line form of a failure, for the command line and logs.
QString OneLine(const Status& failure);

}  // namespace tarlox
