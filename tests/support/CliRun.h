#pragma once

#include <QList>
#include <QPair>
#include <QString>
#include <QStringList>

namespace tarlox::test {

// What one run of tarlox-cli gave.
struct CliRun {
    int code = -1;  // -1: it didn't end within two minutes
    QString out;
    QString err;
};

// Runs tarlox-cli (TARLOX_CLI) as a process of its own, with these
// environment variables set besides the test's own (TARLOX, SANE_CONFIG_DIR, ...).
CliRun RunCli(const QStringList& arguments, const QList<QPair<QString, QString>>& environment = {});

}  // namespace tarlox::test
