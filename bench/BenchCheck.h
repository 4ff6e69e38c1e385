#pragma once

// What the output benchmarks share around their measurements.

#include <QCoreApplication>

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

}  // namespace tarlox::bench
