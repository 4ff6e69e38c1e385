#pragma once

#include <QList>
#include <QPair>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace tarlox::test {

// What one run of tarlox-cli gave.
struct CliRun {
    int code = -1;  // -1: it didn't end within two minutes
    QString out, err;
};

// Runs tarlox-cli (TARLOX_CLI) as a process of its own, with these
// environment variables set besides the test's own (TARLOX, SANE_CONFIG_DIR, ...).
CliRun RunCli(const QStringList& arguments, const QList<QPair<QString, QString>>& environment = {});

// tarlox-cli with its program directory and its home in one directory of the
// test's own, so a run touches nothing outside it. environment adds to that
// (or overrides it).
class CliHome : public ::testing::Test {
protected:
    CliRun cli(const QStringList& arguments, const QList<QPair<QString, QString>>& environment = {}) const
    {
        const QString home = dir.path();
        return RunCli(arguments, QList<QPair<QString, QString>>{{QStringLiteral("TARLOX"), home}, {QStringLiteral("HOME"), home},
                                                                {QStringLiteral("XDG_DATA_HOME"), home}, {QStringLiteral("XDG_CONFIG_HOME"), home}}
                                     + environment);
    }
    QString path(const QString& name) const { return dir.filePath(name); }

    QTemporaryDir dir;
};

}  // namespace tarlox::test
