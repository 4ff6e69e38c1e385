#pragma once

#include "data/Database.h"
#include "data/Records.h"
#include "data/FindCriteria.h"
#include "base/Clock.h"
#include "base/Status.h"
#include "base/Trace.h"

#include <QString>
#include <QStringList>

#include <functional>
#include <optional>

namespace tarlox {

class Prompter;

// The annotation tools' settings ("Draw" section of the local file).
struct DrawSettings {
    QString stampType;
    bool stampOvl = false;
    QString stampText;
    bool stampCenter = false;
    QString stampImage;
    QString fontName;
    int fontSize = 0;
    bool fontBold = false;
    bool fontItalic = false;
    int rectangleWidth = 0;
    bool rectangleFill = false;
    bool rectangleBlack = false;
    int lineWidth = 0;
};

// Everything the running program knows: paths, versions, the settings read
// at start, the rows in work and the one database connection. Passed by
// reference; there are no globals.
class Session {
public:
    explicit Session(Prompter& prompter);
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    Prompter& prompter() { return *prompter_; }
    void setPrompter(Prompter& prompter) { prompter_ = &prompter; }
    // Set by a front end with a person at the screen; see RetryOffer.
    RetryOffer offerRetry;
    // Whether a person may cure failure and wants another try.
    bool retry(const Status& failure) const { return offerRetry && offerRetry(failure); }
    Database& db() { return db_; }
    Trace& trace() { return trace_; }
    Clock& clock() { return clock_; }
    QDateTime now() const { return clock_.now(); }

    // Writes a procedure's name (and arguments) to the trace when it is on.
    void traceCall(const QString& procedure, const QStringList& arguments = {});

    // --- files and versions
    QString programDir;  // ends in a separator
    QString localIni;
    QString serverIni;
    QString programVersion;

    // --- session values from the settings files
    QString dataDir;
    QString tempDir;
    QString drvMap;
    QString databaseType = QStringLiteral("Access");
    QString dataBase;
    QString databasePassword;
    QString server;
    QString userId;
    QString password;
    QString overrideConnection;
    int connectionTimeout = 0;
    QString connectionString;
    QString connectionDisplay;
    QString dataVolume;
    QString printer;
    int printerBin = 0;
    QString serverPrinter;
    int serverPrinterBin = 0;
    QString systemPrinter;
    int systemPrinterBin = 0;

    bool scannerInterface = false;
    DrawSettings draw;
    QString poShort;
    QString vendShort;
    QString mfgShort;
    QString faxCompanyName;
    bool addMessage = false;
    bool annotate = false;
    bool pdf = false;
    QString authorization;
    QString authorizationStamp;
    QString authorizationText;
    QString defaultPages;

    // The machine's printers, when the front end can list them.
    std::function<QStringList()> installedPrinters;
    std::function<QString()> defaultPrinter;

    // --- rows in work
    OptionsRecord options;
    MachineRecord machine;
    InfoRecord info;
    ImageRecord image;
    ContactRecord contact;
    InfoFieldLengths infoLengths;

    // --- the image in hand
    qint32 currentImage = 0;
    QString imageFileName;
    QString imageFilePath;
    QString tempFilePath;
    QString storedPath;
    QString pageSizeCode = QStringLiteral(" ");

    // --- hand-over between screens
    // The criteria of the last find; the screens that work on the found set
    // run them again.
    FindCriteria findQuery;
    // --- scanning: the brightness and resolution last chosen on a scan
    // form this session (the viewer's page scans start from them)
    std::optional<int> brightness;
    QString dpi;

private:
    Prompter* prompter_;
    Database db_;
    Trace trace_;
    Clock clock_;
};

// "8.00.0000": major, minor as two digits, revision as four.
QString ProgramVersion();

}  // namespace tarlox
