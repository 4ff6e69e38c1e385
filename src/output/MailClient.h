#pragma once

// The mail client route: the desktop's own mail composer through xdg-email,
// filled with recipient, subject, body and attachments, for the person to send.

#include "base/IoResult.h"

#include <QString>
#include <QStringList>

namespace tarlox {

struct ProgramCall {
    QString program;
    QStringList arguments;   // passed as they are, never through a shell
};

// xdg-email with --utf8, the subject, the body, one --attach per file and the
// recipient as "Name <address>". A missing or implausible address is left
// out, so the person picks the recipient in the composer.
ProgramCall XdgEmailCommand(const QString& toAddress, const QString& toName, const QString& subject,
                            const QString& body, const QStringList& files);

// Starts the program without waiting for it; fails when it can't be started.
IoStatus StartMailClient(const ProgramCall& call);

}  // namespace tarlox
