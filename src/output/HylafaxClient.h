#pragma once

#include "output/FaxEngine.h"

#include <QString>

namespace tarlox {

// Where the HylaFAX server listens and who we are to it. All workstations
// of a site log in as the same user: HylaFAX lets a user alter and remove
// only the jobs that user submitted.
struct HylafaxServer {
    QString host = QStringLiteral("127.0.0.1");
    quint16 port = 4559;
    QString user = QStringLiteral("tarlox");
    QString password;        // sent only when the server asks for one
    int timeoutMs = 15000;   // for each wait on the server
};

// The fax engine on a HylaFAX server, spoken to through its client
// protocol (hfaxd). Each call opens its own connection, does its work and
// logs out; every wait has the server's time limit, so a call never hangs.
// Blocking socket calls: use it on a worker thread only.
//
// What HylaFAX does with a job's fields: the addressee, company, number,
// sender, sender's company, voice and fax numbers, station id (TSI),
// subject (REGARDING), message (COMMENTS), retries (MAXTRIES), interval
// (RETRYTIME) and kill time (LASTTIME) go into the job; the job file's path
// is the job's tag (JOBINFO). The modem init string is recorded in FaxJob
// and not sent: HylaFAX takes modem setup from the modem's configuration
// on the server, and a job can only name a modem or a modem class. No
// cover page is asked for: HylaFAX makes none unless a client sends one.
class HylafaxClient : public FaxEngine {
public:
    explicit HylafaxClient(HylafaxServer server);

    IoResult<QString> submit(const FaxJob& job) override;
    IoResult<QList<FaxJobInfo>> listJobs(FaxState view) override;
    IoResult<FaxJobInfo> job(const QString& id) override;
    IoStatus kill(const QString& id) override;
    IoStatus remove(const QString& id) override;
    IoStatus alter(const QString& id, const FaxJobChange& change) override;
    IoResult<QList<FaxDevice>> devices() override;

    // The view of a job in HylaFAX state letter (T suspended, P pending,
    // S sleeping, B blocked, W ready, R active, D done, F failed or killed).
    static FaxState StateOf(QChar serverState);

private:
    HylafaxServer server_;
};

}  // namespace tarlox
