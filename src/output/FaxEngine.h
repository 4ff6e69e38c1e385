#pragma once

#include "base/IoResult.h"

#include <QDateTime>
#include <QList>
#include <QString>
#include <QStringList>

#include <optional>

namespace tarlox {

// One fax as the program hands it to the engine. The documents are TIFF
// files sent in this order (our own cover page is the first page of the
// job file); the engine adds no cover page of its own.
struct FaxJob {
    QString toName;
    QString toCompany;
    QString faxNumber;      // the number to dial
    QString fromName;
    QString fromCompany;
    QString voiceNumber;    // the sender's voice number
    QString fromFaxNumber;  // the sender's fax number
    QString stationId;      // sent as the transmitting station id
    QString message;
    QString subject = QStringLiteral("Requested MTR's");
    int retries = 3;           // tries before the job fails
    int retryInterval = 0;     // seconds between tries; 0 leaves it to the engine
    int killMinutes = 180;     // whole minutes from now until an unsent job fails
    QString initString;        // modem initialisation; see the engine for its use
    QString jobFile;           // our ".FMF" file, kept so the job can be sent again
    QStringList documents;
};

// Where a job stands, as the fax control screen shows it.
enum class FaxState { Pending, Sending, Sent, Failed };

// One job as the engine lists it.
struct FaxJobInfo {
    QString id;
    FaxState state = FaxState::Pending;
    QChar serverState;          // the engine's own state letter
    QString number;             // dialled number
    QString toName;
    QString toCompany;
    QString fromName;
    int pages = 0;              // pages to send
    int pagesSent = 0;
    int tries = 0;
    int maxTries = 0;
    int dials = 0;
    int maxDials = 0;
    QString tag;                // the job file the job was made from
    QString status;             // the reason of the last failure, or blank
    QString modem;
    QString owner;
    int priority = 0;
    int resolution = 0;         // lines per inch
    int signallingRate = 0;     // the engine's rate code
    QDateTime sendTime;         // when the job is (or was) to be sent
    QString killTime;           // the engine's short form of the kill time
    // Only filled by FaxEngine::job():
    QString subject;
    QString message;
    QString fromCompany;
    QStringList documents;      // the engine's names of the job's documents
};

// A fax modem the engine knows.
struct FaxDevice {
    QString name;
    QString number;
    QString status;
    bool running = false;       // a process serves the modem
};

// Changes to a pending job; fields left empty stay as they are.
struct FaxJobChange {
    std::optional<QString> faxNumber;
    std::optional<int> retries;
    std::optional<int> retryInterval;  // seconds
    std::optional<int> killMinutes;    // from now
    std::optional<QString> toName;
    std::optional<QString> toCompany;
};

// The fax engine: a queue of jobs with its own retries and log. Every call
// blocks until the engine answered or a time limit passed; run it off the
// interface thread.
class FaxEngine {
public:
    virtual ~FaxEngine() = default;

    // Hands the job to the engine's queue; the engine's id of the new job.
    virtual IoResult<QString> submit(const FaxJob& job) = 0;
    // The jobs of one view.
    virtual IoResult<QList<FaxJobInfo>> listJobs(FaxState view) = 0;
    // One job with everything the engine keeps of it.
    virtual IoResult<FaxJobInfo> job(const QString& id) = 0;
    // Stops a pending job: it moves to the failed jobs.
    virtual IoStatus kill(const QString& id) = 0;
    // Removes a job from the engine, pending or done.
    virtual IoStatus remove(const QString& id) = 0;
    // Changes a pending job and queues it again.
    virtual IoStatus alter(const QString& id, const FaxJobChange& change) = 0;
    // The modems.
    virtual IoResult<QList<FaxDevice>> devices() = 0;
};

}  // namespace tarlox
