#include "store/SaneDevice.h"

#include "store/SaneDeviceList.h"
#include "store/SaneDevices.h"
#include "store/SaneFrame.h"
#include "store/SaneLibrary.h"

#include <QDir>
#include <QFile>
#include <QSet>

#include <sane/sane.h>
#include <sane/saneopts.h>

#include <algorithm>
#include <cmath>
#include <chrono>
#include <cstring>
#include <thread>
#include <vector>

namespace tarlox {

namespace {

SANE_Handle handleOf(void* h) { return static_cast<SANE_Handle>(h); }

SaneOption::Type typeOf(SANE_Value_Type type)
{
    switch (type) {
    case SANE_TYPE_BOOL: return SaneOption::Bool;
    case SANE_TYPE_INT: return SaneOption::Int;
    case SANE_TYPE_FIXED: return SaneOption::Fixed;
    case SANE_TYPE_STRING: return SaneOption::String;
    case SANE_TYPE_BUTTON: return SaneOption::Button;
    case SANE_TYPE_GROUP: break;
    }
    return SaneOption::Group;
}

SaneOption::Unit unitOf(SANE_Unit unit)
{
    switch (unit) {
    case SANE_UNIT_PIXEL: return SaneOption::Pixel;
    case SANE_UNIT_BIT: return SaneOption::Bit;
    case SANE_UNIT_MM: return SaneOption::Millimetre;
    case SANE_UNIT_DPI: return SaneOption::Dpi;
    case SANE_UNIT_PERCENT: return SaneOption::Percent;
    case SANE_UNIT_MICROSECOND: return SaneOption::Microsecond;
    case SANE_UNIT_NONE: break;
    }
    return SaneOption::NoUnit;
}

double fromWord(SANE_Word word, SaneOption::Type type)
{
    return type == SaneOption::Fixed ? SANE_UNFIX(word) : double(word);
}

SANE_Word toWord(double value, SaneOption::Type type)
{
    return type == SaneOption::Fixed ? SANE_FIX(value) : SANE_Word(std::lround(value));
}

SaneOption describe(int index, const SANE_Option_Descriptor* d)
{
    SaneOption o;
    o.index = index;
    o.name = QString::fromLatin1(d->name ? d->name : "");
    o.title = QString::fromLocal8Bit(d->title ? d->title : "");
    o.description = QString::fromLocal8Bit(d->desc ? d->desc : "");
    o.type = typeOf(d->type);
    o.unit = unitOf(d->unit);
    if (o.isNumber() || o.type == SaneOption::Bool)
        o.valueCount = std::max<int>(1, d->size / int(sizeof(SANE_Word)));
    o.active = SANE_OPTION_IS_ACTIVE(d->cap);
    o.settable = SANE_OPTION_IS_SETTABLE(d->cap);
    o.advanced = (d->cap & SANE_CAP_ADVANCED) != 0;
    switch (d->constraint_type) {
    case SANE_CONSTRAINT_RANGE:
        if (d->constraint.range) {
            o.constraint = SaneOption::Range;
            o.minimum = fromWord(d->constraint.range->min, o.type);
            o.maximum = fromWord(d->constraint.range->max, o.type);
            o.quant = fromWord(d->constraint.range->quant, o.type);
        }
        break;
    case SANE_CONSTRAINT_WORD_LIST:
        if (d->constraint.word_list) {
            o.constraint = SaneOption::WordList;
            for (int i = 1; i <= d->constraint.word_list[0]; ++i)
                o.words.append(fromWord(d->constraint.word_list[i], o.type));
        }
        break;
    case SANE_CONSTRAINT_STRING_LIST:
        if (d->constraint.string_list) {
            o.constraint = SaneOption::StringList;
            for (int i = 0; d->constraint.string_list[i]; ++i)
                o.strings.append(QString::fromLocal8Bit(d->constraint.string_list[i]));
        }
        break;
    case SANE_CONSTRAINT_NONE:
        break;
    }
    return o;
}

// A number brought within the option's range or onto the nearest of its values.
double snap(const SaneOption& o, double value)
{
    if (o.constraint == SaneOption::Range) {
        value = std::clamp(value, o.minimum, std::max(o.minimum, o.maximum));
        if (o.quant > 0)
            value = std::min(o.maximum, o.minimum + std::round((value - o.minimum) / o.quant) * o.quant);
    } else if (o.constraint == SaneOption::WordList && !o.words.isEmpty()) {
        double best = o.words.first();
        for (double w : o.words)
            if (std::abs(w - value) < std::abs(best - value))
                best = w;
        value = best;
    }
    return value;
}

}  // namespace

int SaneNoDocuments() { return SANE_STATUS_NO_DOCS; }
int SaneCancelled() { return SANE_STATUS_CANCELLED; }

QString SaneStatusText(int status, const QString& device)
{
    switch (status) {
    case SANE_STATUS_GOOD:
        return {};
    case SANE_STATUS_UNSUPPORTED:
        return QStringLiteral("The scanner %1 does not support what was asked of it.").arg(device);
    case SANE_STATUS_CANCELLED:
        return QStringLiteral("The scan on %1 was cancelled.").arg(device);
    case SANE_STATUS_DEVICE_BUSY:
        return QStringLiteral("The scanner %1 is busy. Wait until it is free (another program or workstation may be "
                              "using it) and scan again.")
            .arg(device);
    case SANE_STATUS_INVAL:
        return QStringLiteral("The scanner %1 refused a setting or a request as invalid.").arg(device);
    case SANE_STATUS_EOF:
        return QStringLiteral("The scanner %1 sent no more data.").arg(device);
    case SANE_STATUS_JAMMED:
        return QStringLiteral("The document feeder of the scanner %1 is jammed. Clear the paper path, lay the pages "
                              "that were not scanned back in the feeder and scan again.")
            .arg(device);
    case SANE_STATUS_NO_DOCS:
        return QStringLiteral("There is no document in the feeder of the scanner %1. Lay the report in the feeder and "
                              "scan again.")
            .arg(device);
    case SANE_STATUS_COVER_OPEN:
        return QStringLiteral("The cover of the scanner %1 is open. Close it and scan again.").arg(device);
    case SANE_STATUS_IO_ERROR:
        return QStringLiteral("The scanner %1 failed while sending the page (I/O error). Check its power and its "
                              "cable or network connection, and scan again.")
            .arg(device);
    case SANE_STATUS_NO_MEM:
        return QStringLiteral("The scanner %1 ran out of memory.").arg(device);
    case SANE_STATUS_ACCESS_DENIED:
        return QStringLiteral("Access to the scanner %1 was denied. This user may lack the right to use the scanner.").arg(device);
    default:
        break;
    }
    return QStringLiteral("The scanner %1 reported an error (SANE status %2).").arg(device).arg(status);
}

SaneDevice::SaneDevice(std::shared_ptr<SaneLibrary> library, void* handle, QString name, QString description)
    : library_(std::move(library))
    , handle_(handle)
    , name_(std::move(name))
    , description_(std::move(description))
{
}

SaneDevice::~SaneDevice()
{
    sane_cancel(handleOf(handle_));
    sane_close(handleOf(handle_));
}

IoResult<std::unique_ptr<SaneDevice>> SaneDevice::open(const QString& wanted, int* status)
{
    auto library = SaneLibrary::acquire();
    if (!library) {
        if (status)
            *status = SANE_STATUS_IO_ERROR;
        return Failure(QStringLiteral("The scanner library (SANE) could not be started."));
    }
    const QString want = wanted.trimmed();
    const QList<SaneDeviceEntry> devices = ListSaneDevices();
    const SaneDeviceEntry* chosen = nullptr;
    for (const SaneDeviceEntry& d : devices) {
        if (!want.isEmpty() && (d.name == want || d.description() == want || d.entry() == want || SaneDeviceName(want) == d.name)) {
            chosen = &d;
            break;
        }
    }
    QString name;
    QString description;
    if (chosen) {
        name = chosen->name;
        description = chosen->description();
    } else if (!want.isEmpty() && devices.isEmpty()) {
        name = SaneDeviceName(want);  // a device that isn't listed may still open
    } else if (!devices.isEmpty()) {
        name = devices.first().name;
        description = devices.first().description();
    } else {
        if (status)
            *status = SANE_STATUS_INVAL;
        return Failure(QStringLiteral("No scanner was found. Check that the scanner is connected and switched on, and "
                                      "that SANE lists it (scanimage -L)."));
    }
    SANE_Handle handle = nullptr;
    const QByteArray encoded = name.toLocal8Bit();
    const SANE_Status opened = sane_open(encoded.constData(), &handle);
    if (opened != SANE_STATUS_GOOD || !handle) {
        if (status)
            *status = opened == SANE_STATUS_GOOD ? SANE_STATUS_INVAL : opened;
        return Failure(SaneStatusText(opened == SANE_STATUS_GOOD ? SANE_STATUS_INVAL : opened, name));
    }
    if (status)
        *status = SANE_STATUS_GOOD;
    return std::unique_ptr<SaneDevice>(new SaneDevice(std::move(library), handle, name, description));
}

QList<SaneOption> SaneDevice::options() const
{
    QList<SaneOption> result;
    SANE_Int count = 0;
    if (sane_control_option(handleOf(handle_), 0, SANE_ACTION_GET_VALUE, &count, nullptr) != SANE_STATUS_GOOD)
        return result;
    for (int i = 1; i < count; ++i) {
        if (const SANE_Option_Descriptor* d = sane_get_option_descriptor(handleOf(handle_), i))
            result.append(describe(i, d));
    }
    return result;
}

std::optional<SaneOption> SaneDevice::option(const QString& name) const
{
    for (const SaneOption& o : options())
        if (o.type != SaneOption::Group && o.name == name)
            return o;
    return std::nullopt;
}

QVariant SaneDevice::value(const QString& name) const
{
    const auto o = option(name);
    return o ? value(*o) : QVariant();
}

QVariant SaneDevice::value(const SaneOption& o) const
{
    const SANE_Option_Descriptor* d = sane_get_option_descriptor(handleOf(handle_), o.index);
    if (!d || !o.active || o.type == SaneOption::Button || o.type == SaneOption::Group || d->size <= 0)
        return {};
    if (!(d->cap & SANE_CAP_SOFT_DETECT))
        return {};
    std::vector<char> buffer(size_t(d->size) + 1, 0);
    if (sane_control_option(handleOf(handle_), o.index, SANE_ACTION_GET_VALUE, buffer.data(), nullptr) != SANE_STATUS_GOOD)
        return {};
    if (o.type == SaneOption::String)
        return QString::fromLocal8Bit(buffer.data());
    SANE_Word word;
    std::memcpy(&word, buffer.data(), sizeof word);
    if (o.type == SaneOption::Bool)
        return word != 0;
    return fromWord(word, o.type);
}

SaneResult SaneDevice::setValue(const QString& name, const QVariant& value, QVariant* actual)
{
    const auto o = option(name);
    if (!o)
        return SaneResult{SANE_STATUS_UNSUPPORTED, QStringLiteral("The scanner %1 has no option \"%2\".").arg(name_, name)};
    return setValue(*o, value, actual);
}

SaneResult SaneDevice::setValue(const SaneOption& o, const QVariant& value, QVariant* actual)
{
    const SANE_Option_Descriptor* d = sane_get_option_descriptor(handleOf(handle_), o.index);
    if (!d)
        return SaneResult{SANE_STATUS_INVAL, QStringLiteral("The scanner %1 has no option \"%2\".").arg(name_, o.name)};
    SANE_Int info = 0;
    SANE_Status status = SANE_STATUS_GOOD;
    if (o.type == SaneOption::String) {
        QString text = value.toString();
        // A list entry in another case is the entry.
        for (const QString& entry : o.strings)
            if (entry.compare(text, Qt::CaseInsensitive) == 0)
                text = entry;
        std::vector<char> buffer(size_t(std::max<SANE_Int>(d->size, 1)), 0);
        const QByteArray encoded = text.toLocal8Bit();
        std::memcpy(buffer.data(), encoded.constData(), std::min(buffer.size() - 1, size_t(encoded.size())));
        status = sane_control_option(handleOf(handle_), o.index, SANE_ACTION_SET_VALUE, buffer.data(), &info);
    } else if (o.type == SaneOption::Button) {
        status = sane_control_option(handleOf(handle_), o.index, SANE_ACTION_SET_VALUE, nullptr, &info);
    } else {
        const SANE_Word word = o.type == SaneOption::Bool ? (value.toBool() ? SANE_TRUE : SANE_FALSE) : toWord(snap(o, value.toDouble()), o.type);
        std::vector<SANE_Word> words(size_t(std::max(1, o.valueCount)), word);
        status = sane_control_option(handleOf(handle_), o.index, SANE_ACTION_SET_VALUE, words.data(), &info);
    }
    if (status != SANE_STATUS_GOOD)
        return SaneResult{status, SaneStatusText(status, name_)};
    if (actual)
        *actual = this->value(o);
    return {};
}

SaneResult SaneDevice::press(const SaneOption& option)
{
    return setValue(option, QVariant());
}

namespace {

// Many backends read the device on a thread of their own, started by
// sane_start, and end it by cancelling it at once (asynchronously) when the
// frame has been read or the scan is stopped. A thread cancelled while it
// still frees its buffers leaves the memory allocator locked for the whole
// process, and the program hangs at some later allocation. So before the
// read that ends a frame, the threads that sane_start created are given
// time to end by themselves; before a scan is stopped, to reach a wait
// (on their pipe) where cancelling them is safe.
class BackendThreads {
public:
    // Threads of this process now (none where the system doesn't show them).
    static QSet<int> current()
    {
        QSet<int> ids;
        const QStringList names = QDir(QStringLiteral("/proc/self/task")).entryList(QDir::Dirs | QDir::NoDotAndDotDot);
        for (const QString& name : names)
            ids.insert(name.toInt());
        return ids;
    }

    void beforeStart() { before_ = current(); }
    void afterStart() { started_ = current() - before_; }

    // Waits until the threads sane_start created have ended (or, with
    // untilEnded false, are no longer running), for at most a moment. Before
    // a cancel the moment is longer: a reader cancelled while running may be
    // inside malloc and die holding its lock, and on a loaded machine a
    // reader can stay runnable for a while before it blocks on its full pipe.
    void settle(bool untilEnded) const
    {
        using namespace std::chrono;
        const auto deadline = steady_clock::now() + (untilEnded ? milliseconds(400) : milliseconds(3000));
        while (steady_clock::now() < deadline) {
            const QSet<int> now = current();
            bool waiting = false;
            for (int id : started_)
                if (now.contains(id) && (untilEnded || running(id)))
                    waiting = true;
            if (!waiting)
                return;
            std::this_thread::sleep_for(milliseconds(2));
        }
    }

private:
    static bool running(int id)
    {
        QFile stat(QStringLiteral("/proc/self/task/%1/stat").arg(id));
        if (!stat.open(QIODevice::ReadOnly))
            return false;
        const QByteArray text = stat.readAll();
        const qsizetype close = text.lastIndexOf(')');
        return close >= 0 && close + 2 < text.size() && text.at(close + 2) == 'R';
    }

    QSet<int> before_;
    QSet<int> started_;
};

}  // namespace

SaneDevice::Page SaneDevice::readPage(double dpiX, double dpiY)
{
    SANE_Handle h = handleOf(handle_);
    BackendThreads readers;
    const auto failed = [&](int status, const QString& text = {}) {
        readers.settle(false);
        sane_cancel(h);
        return Page{QImage(), SaneResult{status, text.isEmpty() ? SaneStatusText(status, name_) : text}};
    };
    readers.beforeStart();
    SANE_Status status = sane_start(h);
    readers.afterStart();
    if (status != SANE_STATUS_GOOD)
        return failed(status);
    SanePageBuilder builder;
    std::vector<char> buffer(size_t(256) << 10);
    while (true) {
        SANE_Parameters p{};
        status = sane_get_parameters(h, &p);
        if (status != SANE_STATUS_GOOD)
            return failed(status);
        SaneFrameFormat format;
        switch (p.format) {
        case SANE_FRAME_GRAY: format.kind = SaneFrameFormat::Gray; break;
        case SANE_FRAME_RGB: format.kind = SaneFrameFormat::Rgb; break;
        case SANE_FRAME_RED: format.kind = SaneFrameFormat::Red; break;
        case SANE_FRAME_GREEN: format.kind = SaneFrameFormat::Green; break;
        case SANE_FRAME_BLUE: format.kind = SaneFrameFormat::Blue; break;
        default:
            return failed(SANE_STATUS_UNSUPPORTED,
                          QStringLiteral("The scanner %1 sends its pages in a form this program can't read (frame type %2).").arg(name_).arg(int(p.format)));
        }
        format.lastFrame = p.last_frame;
        format.bytesPerLine = p.bytes_per_line;
        format.pixelsPerLine = p.pixels_per_line;
        format.lines = p.lines;
        format.depth = p.depth;
        if (IoStatus begun = builder.beginFrame(format); !begun)
            return failed(SANE_STATUS_INVAL, begun.error());
        const qint64 announced = format.lines > 0 ? qint64(format.bytesPerLine) * format.lines : -1;
        qint64 received = 0;
        while (true) {
            // All of the frame is here: the next read ends it, and with it
            // the backend's reader.
            if (received == announced)
                readers.settle(true);
            SANE_Int length = 0;
            status = sane_read(h, reinterpret_cast<SANE_Byte*>(buffer.data()), SANE_Int(buffer.size()), &length);
            if (status == SANE_STATUS_EOF)
                break;
            if (status != SANE_STATUS_GOOD)
                return failed(status);
            if (length > 0) {
                received += length;
                if (IoStatus added = builder.append(buffer.data(), length); !added)
                    return failed(SANE_STATUS_NO_MEM, added.error());
            }
        }
        if (format.lastFrame)
            break;
        readers.beforeStart();
        status = sane_start(h);
        readers.afterStart();
        if (status != SANE_STATUS_GOOD)
            return failed(status);
    }
    if (builder.noData())
        return failed(SANE_STATUS_NO_DOCS);
    auto page = builder.finish(dpiX, dpiY);
    if (!page)
        return Page{QImage(), SaneResult{SANE_STATUS_IO_ERROR, page.error()}};
    return Page{std::move(page).value(), {}};
}

void SaneDevice::cancel()
{
    sane_cancel(handleOf(handle_));
}

}  // namespace tarlox
