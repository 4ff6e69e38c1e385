#include "startup/VersionUpgrade.h"

#include "data/OptionsData.h"
#include "data/Schema.h"
#include "base/Prompter.h"
#include "data/Session.h"
#include "data/Settings.h"
#include "base/TextTools.h"

#include <QDir>
#include <QFileInfo>
#include <QProcess>

namespace tarlox {

QString VersionWithoutRevision(const QString& version)
{
    return version.left(std::max<qsizetype>(0, version.size() - 5));
}

QString ExistingUpgradeProgram(const QString& path)
{
    const QFileInfo info(path);
    if (info.isFile())
        return path;
    const QString name = info.fileName();
    const QString bare = name.endsWith(QLatin1String(".exe"), Qt::CaseInsensitive) ? name.chopped(4) : QString();
    if (!bare.isEmpty()) {
        const QFileInfo program(info.dir().filePath(bare));
        if (program.isFile() && program.isExecutable())
            return program.filePath();
    }
    // The names were made for file systems that ignore case; so do we here.
    const QFileInfoList entries = info.dir().entryInfoList(QDir::Files);
    for (const QFileInfo& entry : entries) {
        if (entry.fileName().compare(name, Qt::CaseInsensitive) == 0)
            return entry.filePath();
        if (!bare.isEmpty() && entry.fileName().compare(bare, Qt::CaseInsensitive) == 0 && entry.isExecutable())
            return entry.filePath();
    }
    return {};
}

VersionOutcome DifferentServerVersion(Session& s)
{
    s.traceCall(QStringLiteral("DifferentServerVersion"));
    const QString serverDir = QFileInfo(s.serverIni).absolutePath() + QLatin1Char('/');
    if (s.options.version.size() < 6)
        s.options.version = QStringLiteral("1.00.0000");
    const QString dataVersion = s.options.version;
    QString upgradePath = serverDir + QStringLiteral("TLUg") + VersionWithoutRevision(dataVersion) + QStringLiteral(".exe");
    const qint64 dataNumber = VersionNumber(dataVersion);
    const qint64 programNumber = VersionNumber(s.programVersion);

    if (dataNumber < programNumber) {
        s.traceCall(QStringLiteral("DifferentServerVersion - Data/Prog version = ") + dataVersion + QStringLiteral(" / ") + s.programVersion);
        if (!RevUp(s))
            return VersionOutcome::Continue;
        s.options.version = s.programVersion;
        UpdateOptions(s);
        PutIni(s, s.serverIni, QStringLiteral("Info"), QStringLiteral("Version"), s.programVersion);
        // Programs come from packages here; nothing is copied to the server directory.
        return VersionOutcome::Continue;
    }

    QString text = QStringLiteral("WARNING: This version of Tarlox (") + s.programVersion + QStringLiteral(")\r\nis different than the server (")
        + dataVersion + QStringLiteral(")!");
    if (dataNumber / 10000 == programNumber / 10000)
        upgradePath = serverDir + QStringLiteral("TLXUpgrade.exe");
    const QString program = ExistingUpgradeProgram(upgradePath);
    if (program.isEmpty() || dataNumber < programNumber) {
        text += QStringLiteral("\r\nCan't upgrade automatically!\r\nMissing file: '") + upgradePath + QLatin1Char('\'');
        s.prompter().ask(QStringLiteral("Bad Version"), text, Buttons::Ok, Icon::Critical);
        return VersionOutcome::Continue;
    }
    text += QStringLiteral("\r\nHit 'Yes' to upgrade your computer,\r\n'No' to run without upgrading, or\r\n'Cancel' to end.");
    Answer answer = s.prompter().ask(QStringLiteral("Bad Version"), text, Buttons::YesNoCancel, Icon::Critical);
    if (answer == Answer::Yes) {
        if (QProcess::startDetached(program, {})) {
            answer = Answer::Cancel;
        } else {
            answer = s.prompter().ask(QStringLiteral("Can't Upgrade"),
                                      QStringLiteral("The upgrade program could not be run!\r\nHit 'OK' to run without upgrading\r\nor 'Cancel' to end."),
                                      Buttons::OkCancel, Icon::Critical);
        }
    }
    return answer == Answer::Cancel ? VersionOutcome::EndProgram : VersionOutcome::Continue;
}

}  // namespace tarlox
