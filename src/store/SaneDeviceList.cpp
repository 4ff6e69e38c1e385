#include "store/SaneDeviceList.h"

#include "store/SaneDevices.h"
#include "store/SaneLibrary.h"

#include <sane/sane.h>

#include <mutex>

namespace tarlox {

QStringList ListSaneDeviceEntries()
{
    QStringList entries;
    for (const SaneDeviceEntry& device : ListSaneDevices())
        entries.append(device.entry());
    return entries;
}

QString SaneDeviceName(const QString& entry)
{
    const qsizetype bracket = entry.indexOf(QStringLiteral(" ("));
    return (bracket < 0 ? entry : entry.left(bracket)).trimmed();
}

QString SaneVersionText()
{
    static std::mutex lock;
    static int known = -1;
    const std::lock_guard guard(lock);
    if (known < 0) {
        const auto library = SaneLibrary::acquire();
        if (!library)
            return {};
        known = library->versionCode();
    }
    return QStringLiteral("%1.%2.%3").arg(SANE_VERSION_MAJOR(known)).arg(SANE_VERSION_MINOR(known)).arg(SANE_VERSION_BUILD(known));
}

}  // namespace tarlox
