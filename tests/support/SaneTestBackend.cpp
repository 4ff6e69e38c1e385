#include "support/SaneTestBackend.h"

#include "data/Settings.h"
#include "store/SaneDevice.h"
#include "support/TestSite.h"

#include <QDir>
#include <QTemporaryDir>

namespace tarlox::test {

namespace {

QString configure(const QByteArray& dll, const QByteArray& test)
{
    static QTemporaryDir* dir = nullptr;
    if (dir)
        return dir->path();
    dir = new QTemporaryDir(QDir::tempPath() + QStringLiteral("/tarlox-sane-XXXXXX"));
    WriteFile(dir->filePath(QStringLiteral("dll.conf")), dll);
    WriteFile(dir->filePath(QStringLiteral("test.conf")), test);
    qputenv("SANE_CONFIG_DIR", dir->path().toLocal8Bit());
    return dir->path();
}

}  // namespace

QString UseSaneTestBackend(int devices)
{
    return configure("test\n", "number_of_devices " + QByteArray::number(devices)
                                   + "\n"
                                     "geometry_min 0.0\n"
                                     "geometry_max 400.0\n"
                                     "geometry_quant 0.0\n"
                                     "test-picture \"Grid\"\n");
}

void ResetSaneTestDevices(int devices)
{
    for (int i = 0; i < devices; ++i) {
        auto device = SaneDevice::open(QStringLiteral("test:%1").arg(i));
        if (!device)
            continue;
        (*device)->setValue(QStringLiteral("hand-scanner"), false);
        (*device)->setValue(QStringLiteral("mode"), QStringLiteral("Gray"));
        (*device)->setValue(QStringLiteral("source"), QStringLiteral("Flatbed"));
        (*device)->setValue(QStringLiteral("test-picture"), QStringLiteral("Grid"));
        (*device)->setValue(QStringLiteral("read-return-value"), QStringLiteral("Default"));
    }
}

bool StartWithTestScanner(TestSite& site)
{
    ResetSaneTestDevices(1);
    if (!site.start())
        return false;
    PutLocal(site.session(), QStringLiteral("Info"), QStringLiteral("Device"), QStringLiteral("test:0"));
    return true;
}

QString UseNoScanners()
{
    return configure("", "");
}

}  // namespace tarlox::test
