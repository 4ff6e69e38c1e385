#pragma once

// What the output benchmarks share around their measurements.

#include "BenchPages.h"

#include "output/OutputPreparation.h"
#include "store/TiffWriter.h"

#include <QCoreApplication>
#include <QTemporaryDir>

#include <cstdio>
#include <cstdlib>

namespace tarlox::bench {

// Before the application: pages are drawn without a screen unless one is named.
inline void OffscreenUnlessSet()
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
}

// A step the measurement depends on failed: the run ends with the step named.
inline void Check(bool ok, const char* what)
{
    if (ok)
        return;
    std::fprintf(stderr, "%s: %s failed\n", qPrintable(QCoreApplication::applicationName()), what);
    std::exit(1);
}

// Output as a site sends it: a stamp (two rules) written into dir, the
// authorization and the message block on.
inline OutputSettings StampedOutputSettings(const QTemporaryDir& dir)
{
    QImage stamp = NewMonoPage(600, 150);
    MarkBlack(stamp, 0, 0, 600, 6);
    MarkBlack(stamp, 0, 144, 600, 6);
    SetDpi(stamp, Dpi{300, 300});
    OutputSettings settings;
    settings.tempDir = dir.path();
    settings.authorization = QStringLiteral("S");
    settings.stampPath = dir.filePath(QStringLiteral("stamp.tif"));
    Check(WriteTiff(settings.stampPath, {stamp}).ok(), "writing the stamp");
    settings.addMessage = true;
    settings.from = QStringLiteral("Hollowbrook Steel");
    return settings;
}

}  // namespace tarlox::bench
