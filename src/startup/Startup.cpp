#include "startup/Startup.h"

#include "data/DataOp.h"
#include "data/OptionsData.h"
#include "data/Schema.h"
#include "data/UserData.h"
#include "data/Connection.h"
#include "base/ErrorReport.h"
#include "base/FileTools.h"
#include "base/Prompter.h"
#include "data/Session.h"
#include "data/Settings.h"
#include "base/TextTools.h"
#include "startup/VersionUpgrade.h"
#include "store/FileReplacement.h"
#include "base/VolumeName.h"

#include <QDir>
#include <QFileInfo>
#include <QSaveFile>
#include <QStandardPaths>
#include <QThreadPool>

namespace tarlox {

namespace {

const QString InvalidServerFileTitle = QStringLiteral("Invalid Server Information File");

QString notRespondingText(const Session& s)
{
    return QStringLiteral("The assigned database - Connection String = '") + s.connectionDisplay
        + QStringLiteral(" - is not responding!\r\nThis may be the result of the Tarlox server machine being offline.\r\n\r\n"
                         "  To end Tarlox, hit 'Cancel'.\r\n\r\n  To retry, make sure the server is running  then hit 'Retry'.");
}

bool checkPrinter(Session& s, QString& name, int& bin)
{
    if (name.isEmpty() || !s.installedPrinters)
        return true;
    if (!s.installedPrinters().contains(name)) {
        name.clear();
        bin = 0;
    }
    return true;
}

// Work files of replacements that a killed program left behind go, off the
// interface thread: a data directory may hold a few hundred thousand files.
// A day old is older than any replacement in progress on any workstation.
void RemoveStaleWorkFilesLater(const QStringList& directories)
{
    QThreadPool::globalInstance()->start([directories] {
        for (const QString& directory : directories)
            RemoveStaleWorkFiles(directory, std::chrono::hours(24));
    });
}

}  // namespace

QString DefaultProgramDirectory()
{
    QString dir = qEnvironmentVariable("TARLOX");
    if (dir.isEmpty())
        dir = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) + QStringLiteral("/tarlox");
    return WithTrailingSeparator(dir);
}

bool MakeIni(Session& s, FirstStart firstStart)
{
    s.traceCall(QStringLiteral("MakeIni"));
    if (firstStart == FirstStart::Refuse)
        return false;
    if (firstStart == FirstStart::Ask
        && s.prompter().ask(QStringLiteral("Initialize Tarlox Settings"),
                            QStringLiteral("Select 'OK' to initialize your Tarlox setings, 'Cancel' to end"), Buttons::OkCancel,
                            Icon::Critical, Answer::Cancel)
            != Answer::Ok)
        return false;
    const QString dataDir = s.programDir + QStringLiteral("DATA");
    if (!QDir().mkpath(dataDir)) {
        ReportError(s.prompter(), ErrorDetails{QStringLiteral("MakeIni"), QStringLiteral("Make directory ") + dataDir, 75,
                                               QStringLiteral("Path/File access error")});
        return false;
    }
    QSaveFile local(s.localIni);
    // Usable defaults from the first start: the scan resolutions and
    // brightness the settings screen shows, and drawing tools that draw
    // (a stamp font of size 0 draws nothing; a white rectangle is invisible).
    const QString content = QStringLiteral("[Info]\r\nNextName=1\r\nDataDir=") + dataDir + QStringLiteral("\r\nVersion=") + s.programVersion
        + QStringLiteral("\r\nHighDPI=300\r\nLowDPI=200\r\nBrightness=0\r\n"
                         "[Draw]\r\nFontName=Sans Serif\r\nFontSize=12\r\nRectangleBlack=True\r\nRectangleWidth=2\r\nLineWidth=2\r\n");
    if (!local.open(QIODevice::WriteOnly) || local.write(content.toUtf8()) < 0 || !local.commit()) {
        ReportError(s.prompter(), ErrorDetails{QStringLiteral("MakeIni"), QStringLiteral("Can't open ") + s.localIni + QStringLiteral(" for writing"),
                                               75, QStringLiteral("Path/File access error")});
        return false;
    }
    s.serverIni = s.localIni;
    PutIni(s, s.localIni, section::Info, QStringLiteral("ServerIni"), s.serverIni);

    // The empty database is built by the ladder; no shipped file is needed.
    s.dataBase = s.programDir + QStringLiteral("Tarlox.db");
    s.databaseType = QStringLiteral("Access");
    s.databasePassword.clear();
    SetConnection(s);
    s.db().allowCreate(true);
    const bool built = RevUp(s);
    s.db().allowCreate(false);
    if (!built)
        return false;
    PutIni(s, s.serverIni, section::Data, QStringLiteral("DataBase"), s.dataBase);
    PutIni(s, s.serverIni, section::Data, QStringLiteral("DatabaseType"), s.databaseType);
    // This machine is its own server: it also gets the Options row.
    s.options.version = s.programVersion;
    s.options.nextName = 1;
    const bool added = AddOptions(s, true);
    s.db().close();
    return added;
}

Status GetIniInfo(Session& s, FirstStart firstStart)
{
    s.traceCall(QStringLiteral("GetIniInfo"));
    s.programVersion = s.programVersion.isEmpty() ? ProgramVersion() : s.programVersion;
    if (s.localIni.isEmpty()) {
        if (s.programDir.isEmpty())
            s.programDir = DefaultProgramDirectory();
        s.programDir = WithTrailingSeparator(s.programDir);
        s.localIni = s.programDir + QStringLiteral("TARLOX.INI");
    } else if (s.programDir.isEmpty()) {
        s.programDir = WithTrailingSeparator(QFileInfo(s.localIni).absolutePath());
    }
    QDir().mkpath(s.programDir);

    if (!QFileInfo::exists(s.localIni) && !MakeIni(s, firstStart)) {
        const Status missing{FailureKind::NoSettingsFile, ProgramTitle(), QStringLiteral("The TARLOX.INI file could not be found!")};
        if (firstStart != FirstStart::Refuse)
            s.prompter().ask(missing.title, missing.text, Buttons::Ok, Icon::Critical);
        return missing;
    }

    s.serverIni = GetIni(s, s.localIni, section::Info, QStringLiteral("ServerIni"));
    if (s.serverIni.isEmpty()) {
        const QString dataBase = GetIni(s, s.localIni, section::Info, QStringLiteral("DataBase"));
        s.serverIni = dataBase.left(dataBase.lastIndexOf(QLatin1Char('/')) + 1) + QStringLiteral("tarlox.ini");
        PutIni(s, s.localIni, section::Info, QStringLiteral("ServerIni"), s.serverIni);
    }

    while (!QFileInfo(s.serverIni).isFile()) {
        const Status missing{FailureKind::ServerFileMissing, InvalidServerFileTitle,
                              QStringLiteral("The assigned Server Information File - ") + s.serverIni + QStringLiteral(" - is not found!\r\n")
                                  + QStringLiteral("This may be the result of the Tarlox server machine being offline.\r\n\r\n  To end Tarlox, hit 'Cancel'.\r\n\r\n")
                                  + QStringLiteral("  To retry, make sure the server is running and drive '") + s.dataDir.left(1)
                                  + QStringLiteral("' is correctly mapped, then hit 'Retry'.")};
        if (!s.retry(missing))
            return missing;
    }

    s.dataDir = GetIni(s, s.localIni, section::Info, QStringLiteral("DataDir"));
    if (BoolFromIni(GetIni(s, s.localIni, section::Info, QStringLiteral("AddYear"))))
        s.dataDir += QString::number(s.now().date().year());
    if (!s.dataDir.isEmpty() && !QFileInfo(s.dataDir).isDir()) {
        QDir().mkpath(s.dataDir);
        if (!QFileInfo(s.dataDir).isDir())
            s.prompter().ask(ProgramTitle(),
                             QStringLiteral("Can't make new data directory: ") + s.dataDir + QStringLiteral("\r\nDon't Change data directory before scanning!"),
                             Buttons::Ok, Icon::Critical);
    }

    s.dataBase = GetIni(s, s.serverIni, section::Data, QStringLiteral("DataBase"));
    if (s.dataBase.isEmpty()) {
        s.dataBase = GetIni(s, s.localIni, section::Info, QStringLiteral("DataBase"));
        PutIni(s, s.serverIni, section::Data, QStringLiteral("DataBase"), s.dataBase);
    }
    if (!s.dataDir.isEmpty())
        s.dataVolume = GetVolumeName(s.dataDir);

    if (GetIni(s, s.serverIni, section::Data, QStringLiteral("DatabaseType")).isEmpty()) {
        QString type = GetIni(s, s.localIni, section::Data, QStringLiteral("DatabaseType"));
        if (type.isEmpty())
            type = QStringLiteral("Access");
        PutIni(s, s.serverIni, section::Data, QStringLiteral("DatabaseType"), type);
        for (const char* key : {"ConnectionTimeout", "Server", "UserID", "Password", "DatabasePassword"})
            PutIni(s, s.serverIni, section::Data, QLatin1String(key), GetIni(s, s.localIni, section::Data, QLatin1String(key)));
    }
    GetServerInfo(s);

    s.tempDir = GetIni(s, s.localIni, section::Info, QStringLiteral("TempDir"));
    if (s.tempDir.isEmpty()) {
        s.tempDir = s.programDir + QStringLiteral("DATA");
        PutIni(s, s.localIni, section::Info, QStringLiteral("TempDir"), s.tempDir);
    }

    s.drvMap = GetIni(s, s.localIni, section::Info, QStringLiteral("DrvMap"));
    s.printer = GetIni(s, s.localIni, section::Info, QStringLiteral("Printer"));
    s.printerBin = IntVal(GetIni(s, s.localIni, section::Info, QStringLiteral("PrinterBin")));
    if (s.defaultPrinter)
        s.systemPrinter = s.defaultPrinter();
    checkPrinter(s, s.printer, s.printerBin);
    s.serverPrinter = GetIni(s, s.localIni, section::Info, QStringLiteral("ServerPrinter"));
    s.serverPrinterBin = IntVal(GetIni(s, s.localIni, section::Info, QStringLiteral("ServerPrinterBin")));
    checkPrinter(s, s.serverPrinter, s.serverPrinterBin);

    while (!ReadOptions(s)) {
        if (s.options.status == 1)
            break;
        // The connection held open by GetInfo tells a database that did not
        // answer from one that answered without a readable Options row.
        const FailureKind kind = s.db().isOpen() ? FailureKind::OptionsUnreadable : FailureKind::DatabaseUnreachable;
        const Status unreadable = s.options.status == 999
            ? Status{FailureKind::DatabaseUnreachable, InvalidServerFileTitle, notRespondingText(s)}
            : Status{kind, InvalidServerFileTitle,
                      QStringLiteral("Options table cannot be read!\r\nThe error reported was - ") + s.options.statusText
                          + QStringLiteral("\r\n\r\n  To end Tarlox, hit 'Cancel'.\r\n\r\n  To retry, make sure the server is running  then hit 'Retry'.")};
        if (!s.retry(unreadable))
            return unreadable;
    }
    ReadUser(s, QString());
    return {};
}

void ReadSessionSettings(Session& s)
{
    auto info = [&](const char* key) { return GetIni(s, s.localIni, section::Info, QLatin1String(key)); };
    auto draw = [&](const char* key) { return GetIni(s, s.localIni, QStringLiteral("Draw"), QLatin1String(key)); };
    auto custom = [&](const char* key) { return GetIni(s, s.localIni, QStringLiteral("Custom"), QLatin1String(key)); };
    s.drvMap = info("DrvMap");
    s.scannerInterface = BoolFromIni(info("ScannerInterface"));
    DrawSettings& d = s.draw;
    d.stampType = draw("StampType");
    d.stampOvl = BoolFromIni(draw("StampOvl"));
    d.stampText = draw("StampText");
    d.stampCenter = BoolFromIni(draw("StampCenter"));
    d.stampImage = draw("StampImage");
    d.fontName = draw("FontName");
    d.fontSize = IntVal(draw("FontSize"));
    d.fontBold = BoolFromIni(draw("FontBold"));
    d.fontItalic = BoolFromIni(draw("FontItalic"));
    d.rectangleWidth = IntVal(draw("RectangleWidth"));
    d.rectangleFill = BoolFromIni(draw("RectangleFill"));
    d.rectangleBlack = BoolFromIni(draw("RectangleBlack"));
    d.lineWidth = IntVal(draw("LineWidth"));
    s.poShort = custom("POShort");
    s.vendShort = custom("VendShort");
    s.mfgShort = custom("MfgShort");
    s.faxCompanyName = GetIni(s, s.localIni, QStringLiteral("Fax"), QStringLiteral("CompanyName"));
    s.addMessage = BoolFromIni(GetIni(s, s.localIni, QStringLiteral("Interface"), QStringLiteral("AddMessage")));
    s.annotate = BoolFromIni(info("Annotate"));
    s.pdf = BoolFromIni(info("PDF"));
    s.authorization = info("Authorization");
    s.authorizationStamp = info("AuthorizationStamp");
    s.authorizationText = info("AuthorizationText");
    s.defaultPages = info("DefaultPages");
}

Status GetInfo(Session& s, FirstStart firstStart)
{
    s.traceCall(QStringLiteral("GetInfo"));
    ConnectionScope connection(s.db());
    if (Status failure = GetIniInfo(s, firstStart); !failure.ok())
        return failure;
    if (VersionNumber(s.options.version) != VersionNumber(s.programVersion)
        && DifferentServerVersion(s) == VersionOutcome::EndProgram)
        return Status{FailureKind::VersionRefused, QStringLiteral("Bad Data Version"),
                       QStringLiteral("The data version ") + s.options.version + QStringLiteral(" does not go with this program's version ")
                           + s.programVersion};
    s.traceCall(QStringLiteral("GetInfo - Data/Prog version = ") + s.options.version + QStringLiteral(" / ") + s.programVersion);
    if (VersionNumber(s.programVersion) > VersionNumber(s.options.version))
        s.prompter().ask(QStringLiteral("Bad Data Version"),
                         QStringLiteral("\r\nData failed to upgrade!\r\nThere may be somthing wrong with the install or the access to the data server"),
                         Buttons::Ok, Icon::Critical);
    ReadSessionSettings(s);
    return {};
}

TraceSwitch ParseTraceSwitch(const QStringList& arguments)
{
    TraceSwitch result;
    for (const QString& argument : arguments) {
        if (argument.startsWith(QLatin1String("--trace="))) {
            result.requested = true;
            result.path = argument.mid(8);
            return result;
        }
    }
    const QString line = arguments.join(QLatin1Char(' ')) + QLatin1Char(' ');
    const qsizetype at = line.indexOf(QLatin1String("/d="));
    if (at >= 0) {
        result.requested = true;
        const qsizetype from = at + 3;
        result.path = line.mid(from, line.indexOf(QLatin1Char(' '), from) - from);
    }
    return result;
}

void StartTrace(Session& s, const TraceSwitch& traceSwitch)
{
    if (!traceSwitch.requested)
        return;
    if (!s.trace().open(traceSwitch.path)) {
        ReportError(s.prompter(), ErrorDetails{QStringLiteral("Main"), QStringLiteral("Can't open ") + traceSwitch.path + QStringLiteral(" for appending"),
                                               75, QStringLiteral("Path/File access error")});
        return;
    }
    s.trace().write(QStringLiteral("Main"));
    s.prompter().tell(ProgramTitle(), QStringLiteral("Now adding debug messages to ") + traceSwitch.path);
}

Status StartSession(Session& s, FirstStart firstStart)
{
    if (Status failure = GetInfo(s, firstStart); !failure.ok())
        return failure;
    RemoveStaleWorkFilesLater({s.dataDir, s.tempDir});
    if (s.machine.errorNumber == 1) {
        // A machine without a row gets one, named after the person logged on.
        s.machine.userName = qEnvironmentVariable("USER");
        s.machine.createDate = s.now();
        if (!AddUser(s, true) && !ReadUser(s, QString()))
            return Status{FailureKind::Other, ProgramTitle(), QStringLiteral("This machine could not be added to the database: ") + s.machine.errorText};
    }
    return {};
}

}  // namespace tarlox
