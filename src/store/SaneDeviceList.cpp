#include "store/SaneDeviceList.h"

#include "store/SaneLibrary.h"

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

QList<SaneDeviceEntry> ListSaneDeviceEntries()
{
    const auto library = SaneLibrary::acquire();
    if (!library)
        return {};
    noteVersion(library->versionCode());
    QList<SaneDeviceEntry> entries;
    const SANE_Device** devices = nullptr;
    if (sane_get_devices(&devices, SANE_FALSE) == SANE_STATUS_GOOD && devices) {
        for (int i = 0; devices[i]; ++i) {
            const SANE_Device* d = devices[i];
            entries.append(SaneDeviceEntry{QString::fromLocal8Bit(d->name), QString::fromLocal8Bit(d->vendor),
                                           QString::fromLocal8Bit(d->model)});
        }
    }
    return entries;
}

QString SaneDeviceEntry::description() const
{
    return QString(vendor + QLatin1Char(' ') + model).trimmed();
}

QString SaneDeviceEntry::entry() const
{
    const QString text = description();
    return text.isEmpty() ? name : QString(name + QStringLiteral(" (") + text + QLatin1Char(')'));
}

QStringList ListSaneDevices()
{
    QStringList entries;
    for (const SaneDeviceEntry& device : ListSaneDeviceEntries())
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
    SANE_Int code = -1;
    {
        std::lock_guard<std::mutex> lock(versionLock);
        code = knownVersion;
    }
    if (code < 0) {
        const auto library = SaneLibrary::acquire();
        if (!library)
            return {};
        code = library->versionCode();
        noteVersion(code);
    }
    return QStringLiteral("%1.%2.%3").arg(SANE_VERSION_MAJOR(code)).arg(SANE_VERSION_MINOR(code)).arg(SANE_VERSION_BUILD(code));
}

}  // namespace tarlox
