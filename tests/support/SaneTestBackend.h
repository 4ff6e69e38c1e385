#pragma once

#include <QString>

namespace tarlox::test {

class TestSite;

// Makes the SANE "test" backend this process's only scanner: a
// configuration directory of its own (dll.conf naming "test", and
// test.conf) named by SANE_CONFIG_DIR; nothing outside it is touched.
// The first call decides for the whole test program; later calls return
// the same directory. The pages may be up to 400 mm long, so Letter, Legal and A4
// frames fit, and show a 10 mm grid. Everything else (failures, feeder
// length, hand scanner) is set per scan through the device's options.
QString UseSaneTestBackend(int devices = 1);

// Puts the test devices' options that outlive closing the device back as
// test.conf has them (hand scanner, mode, source, picture, read status).
// SANE keeps them while it runs, which may span tests: each test starts from here.
void ResetSaneTestDevices(int devices = 1);

// Starts the site with the first test device, as it stands in test.conf,
// chosen as its scanner (key Device of section Info).
bool StartWithTestScanner(TestSite& site);

// SANE with no backend at all: no scanner is found.
QString UseNoScanners();

}  // namespace tarlox::test
