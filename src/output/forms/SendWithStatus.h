#pragma once

#include "output/SmtpSender.h"

class QPlainTextEdit;

namespace tarlox {

// Sends through the server off the interface thread. Each line of the
// conversation is added to status as it happens; the window stays
// responsive meanwhile. Returns when the send has ended.
MailSendResult SendWithStatus(const SmtpSettings& settings, const MailMessage& message, QPlainTextEdit* status);

}  // namespace tarlox
