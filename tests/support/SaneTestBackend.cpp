#include "support/SaneTestBackend.h"

#include "data/Settings.h"
#include "store/SaneDevice.h"
#include "support/TestSite.h"

#include <QDir>

using namespace Qt::StringLiterals;

namespace tarlox::test {

namespace {

QString configure(const QByteArray& dll, const QByteArray& test)
{
    static QTemporaryDir* dir = nullptr;
    if (dir) return dir->path();
    dir = new QTemporaryDir(QDir::tempPath() + u"/tarlox-sane-XXXXXX"_s);
    WriteFile(dir->filePath(u"dll.conf"_s), dll);
    WriteFile(dir->filePath(u"test.conf"_s), test);
    qputenv("SANE_CONFIG_DIR", dir->path().toLocal8Bit());
    return dir->path();
}

}  // namespace

QString UseSaneTestBackend(int devices)
{
    return configure("test\n", "number_of_devices " + QByteArray::number(devices)
                                   + "\ngeometry_min 0.0\ngeometry_max 400.0\ngeometry_quant 0.0\ntest-picture \"Grid\"\n");
}

void ResetSaneTestDevices(int devices)
{
    for (int i = 0; i < devices; ++i) {
        auto device = SaneDevice::open(u"test:%1"_s.arg(i));
        if (!device) continue;
        (*device)->setValue(u"hand-scanner"_s, false);
        for (const auto& [option, value] : {std::pair{u"mode"_s, u"Gray"_s}, {u"source"_s, u"Flatbed"_s}, {u"test-picture"_s, u"Grid"_s},
                                            {u"read-return-value"_s, u"Default"_s}})
            (*device)->setValue(option, value);
    }
}

bool StartWithTestScanner(TestSite& site)
{
    ResetSaneTestDevices(1);
    if (!site.start()) return false;
    PutLocal(site.session(), u"Info"_s, u"Device"_s, u"test:0"_s);
    return true;
}

QString UseNoScanners() { return configure("", ""); }

}  // namespace tarlox::test
