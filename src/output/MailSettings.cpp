#include "output/MailSettings.h"

#include "base/TextTools.h"

namespace tarlox::email {

SmtpSettings ServerSettings(const std::function<QString(const QString& key)>& key)
{
    SmtpSettings settings;
    settings.server = key(EmailServer).trimmed();
    settings.port = key(ServerPort).trimmed();
    settings.authentication = MailAuthenticationFrom(key(Authentication));
    settings.user = key(User);
    settings.password = Decrypt(key(Password));
    settings.popServer = key(POPServer).trimmed();
    settings.bcc = BoolFromIni(key(BCC));
    return settings;
}

}  // namespace tarlox::email
