#include "base/LocalTimeZone.h"

#include <QFileInfo>
#include <QtGlobal>

#include <ctime>

namespace tarlox {

void ReadLocalTimeZoneOnce()
{
    if (qEnvironmentVariableIsSet("TZ") || !QFileInfo::exists(QStringLiteral("/etc/localtime")))
        return;
    qputenv("TZ", ":/etc/localtime");
    tzset();
}

}  // namespace tarlox
