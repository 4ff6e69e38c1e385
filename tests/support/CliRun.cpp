#include "support/CliRun.h"

#include <QProcess>
#include <QProcessEnvironment>

namespace tarlox::test {

CliRun RunCli(const QStringList& arguments, const QList<QPair<QString, QString>>& environment)
{
    QProcess process;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    for (const auto& [name, value] : environment) env.insert(name, value);
    process.setProcessEnvironment(env);
    process.start(qEnvironmentVariable("TARLOX_CLI"), arguments);
    process.closeWriteChannel();
    if (!process.waitForFinished(120000)) return process.kill(), process.waitForFinished(), CliRun{};
    return {process.exitCode(), QString::fromUtf8(process.readAllStandardOutput()), QString::fromUtf8(process.readAllStandardError())};
}

}  // namespace tarlox::test
