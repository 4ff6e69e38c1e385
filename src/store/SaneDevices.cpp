#include "store/SaneDevices.h"

#include "store/SaneLibrary.h"

#include <QObject>

#include <sane/sane.h>

#include <memory>
#include <thread>

namespace tarlox {

QString SaneDeviceEntry::description() const
{
    return QString(vendor + QLatin1Char(' ') + model).trimmed();
}

QString SaneDeviceEntry::entry() const
{
    const QString text = description();
    return text.isEmpty() ? name : QString(name + QStringLiteral(" (") + text + QLatin1Char(')'));
}

QList<SaneDeviceEntry> ListSaneDevices()
{
    QList<SaneDeviceEntry> devices;
    const auto library = SaneLibrary::acquire();
    if (!library)
        return devices;
    const std::lock_guard guard(SaneLock());
    const SANE_Device** list = nullptr;
    if (sane_get_devices(&list, SANE_FALSE) == SANE_STATUS_GOOD && list) {
        for (const SANE_Device** d = list; *d; ++d)
            devices.append(SaneDeviceEntry{QString::fromLocal8Bit((*d)->name), QString::fromLocal8Bit((*d)->vendor),
                                           QString::fromLocal8Bit((*d)->model), QString::fromLocal8Bit((*d)->type)});
    }
    return devices;
}

namespace {

// What the probing thread and the receiving side share: the receiver is
// cleared, under the lock, when it goes, so the thread never posts to a
// receiver that is gone.
struct ProbeLink {
    std::mutex lock;
    QObject* receiver = nullptr;
};

class ProbeReceiver : public QObject {
public:
    ProbeReceiver(QObject* context, std::shared_ptr<ProbeLink> link, std::function<void(const QList<SaneDeviceEntry>&)> done)
        : QObject(context)
        , link_(std::move(link))
        , done_(std::move(done))
    {
        const std::lock_guard guard(link_->lock);
        link_->receiver = this;
    }
    ~ProbeReceiver() override
    {
        const std::lock_guard guard(link_->lock);
        link_->receiver = nullptr;
    }

    void deliver(const QList<SaneDeviceEntry>& devices)
    {
        const auto done = std::move(done_);
        deleteLater();
        done(devices);
    }

private:
    std::shared_ptr<ProbeLink> link_;
    std::function<void(const QList<SaneDeviceEntry>&)> done_;
};

}  // namespace

void ProbeSaneDevices(QObject* context, std::function<void(const QList<SaneDeviceEntry>&)> done)
{
    auto link = std::make_shared<ProbeLink>();
    new ProbeReceiver(context, link, std::move(done));
    std::thread([link] {
        const QList<SaneDeviceEntry> devices = ListSaneDevices();
        const std::lock_guard guard(link->lock);
        if (auto* receiver = static_cast<ProbeReceiver*>(link->receiver))
            QMetaObject::invokeMethod(receiver, [receiver, devices] { receiver->deliver(devices); }, Qt::QueuedConnection);
    }).detach();
}

}  // namespace tarlox
