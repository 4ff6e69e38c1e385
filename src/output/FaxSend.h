#pragma once

// One fax from this workstation: the job file with our cover page handed to
// the engine, and a job of the log sent again from its kept job file.

#include "output/FaxEngine.h"
#include "output/FaxSettings.h"
#include "output/MessageQueue.h"
#include "output/OutputPreparation.h"

#include <QDate>
#include <QString>
#include <QStringList>

namespace tarlox {

class Session;

// The pages of a fax job: the stored files of the queue as they are, or,
// when the authorization, a page list, annotating or added messages call
// for it, prepared temporary files (staged: delete them once the job file
// is written).
struct FaxPages {
    QStringList files;
    bool staged = false;
};
IoResult<FaxPages> PrepareFaxPages(Session& session, const Queue& job, bool annotate, const ProgressStep& step = {});
// The same on any thread, from settings read before. A stopped run leaves
// nothing behind and fails with kOutputCancelled.
IoResult<FaxPages> PrepareFaxPages(const OutputSettings& settings, const QDate& today, const Queue& job, bool annotate,
                                   const ProgressStep& step = {});

// What the fax form gives.
struct FaxRequest {
    QString toName;
    QString toCompany;
    QString number;
    QString fromName;
    QString message;
    QStringList pageFiles;  // the reports' pages, in order
};

struct SentFax {
    QString jobId;    // the engine's id
    QString jobFile;  // the ".FMF" file in TempDir, kept for a resend
};

// The job of a request: the sender's values, the subject, retries,
// interval and init string; documents and job file not yet set.
FaxJob JobOf(const FaxRequest& request, const fax::Sender& sender);

// Writes the job file (cover page first) under a free name in tempDir and
// submits it. A request without pages or without a number is refused
// before anything is written.
IoResult<SentFax> SendFax(FaxEngine& engine, const FaxRequest& request, const fax::Sender& sender,
                          const QString& tempDir, QDate today);

// ReFax: the job again, to number, from a copy of its job file; the
// earlier file stays. details is the job as FaxEngine::job() gives it. A
// failure's text is one of the three messages of the resend ("Can't copy
// previous fax files:" ...) with the file named.
inline const QString ReFaxErrorTitle = QStringLiteral("Error resending fax");
IoResult<SentFax> ReFax(FaxEngine& engine, const FaxJobInfo& details, const QString& number,
                        const fax::Sender& sender, const QString& tempDir, QDate today);

}  // namespace tarlox
