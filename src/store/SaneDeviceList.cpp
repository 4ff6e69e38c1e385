#include "store/SaneDeviceList.h"

#include "store/SaneDevices.h"

#include <sane/sane.h>

#include <mutex>

namespace tarlox {

namespace {

std::mutex versionLock;
SANE_Int knownVersion = -1;

void noteVersion(SANE_Int code)
{
    std::lock_guard<std::mutex> lock(versionLock);
    knownVersion = code;
}

}  // namespace

QStringList ListSaneDeviceEntries()
{
    QStringList entries;
    for (const SaneDevice& d : ListSaneDevices()) {
        QString entry = d.name;
        const QString description = QString(d.vendor + QLatin1Char(' ') + d.model).trimmed();
        if (!description.isEmpty())
            entry += QStringLiteral(" (") + description + QLatin1Char(')');
        entries.append(entry);
    }
    return entries;
}

QString SaneDeviceName(const QString& entry)
{
    const qsizetype bracket = entry.indexOf(QStringLiteral(" ("));
    return (bracket < 0 ? entry : entry.left(bracket)).trimmed();
}

QString SaneVersionText()
{
    SANE_Int code = -1;
    {
        std::lock_guard<std::mutex> lock(versionLock);
        code = knownVersion;
    }
    if (code < 0) {
        std::lock_guard<std::mutex> sane(SaneLock());
        if (sane_init(&code, nullptr) != SANE_STATUS_GOOD)
            return {};
        sane_exit();
        noteVersion(code);
    }
    return QStringLiteral("%1.%2.%3").arg(SANE_VERSION_MAJOR(code)).arg(SANE_VERSION_MINOR(code)).arg(SANE_VERSION_BUILD(code));
}

}  // namespace tarlox
