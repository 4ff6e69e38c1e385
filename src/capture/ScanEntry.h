#pragma once

#include "data/InfoData.h"

#include <QObject>
#include <QString>

#include <functional>
#include <optional>

namespace tarlox {

class Session;
class ScannerSession;

// What the operator typed and chose on the scan form.
struct ScanEntryFields {
    QString heat;
    QString part;
    QString po;
    QString vend;
    QString mfg;
    QString pageSizeCode = QStringLiteral(" ");
    bool highResolution = false;
    int brightness = 0;
    // Set by the command line in place of the form's choices and the
    // settings: the resolution, the device and the feeder.
    std::optional<int> dpi;
    std::optional<QString> device;
    std::optional<bool> useAdf;
    // An entry already on file: asked about on the form, decided in advance
    // on the command line.
    Duplicates duplicates = Duplicates::Ask;
};

// One report scanned and indexed, from the Scan button to the stored file:
// the entry is checked and a number taken before the scanner starts, the
// pages go to the work file in the temporary directory, which is then put
// in place in the data directory, and the image row goes in with one
// reference for each combination entered. A failure at any step leaves no
// row and no file. The scan form and the command line both drive it.
class ScanEntry : public QObject {
    Q_OBJECT
public:
    explicit ScanEntry(Session& session, QObject* parent = nullptr);

    enum class Outcome {
        Cancelled,   // at "Prepare to Scan"
        Refused,     // the entry didn't pass its checks
        NoNumber,    // no image number could be taken
        NotCreated,  // the scan produced no file
        NotIndexed,  // the rows could not be added; the file is gone again
        Stored,
    };
    struct Result {
        Outcome outcome = Outcome::Cancelled;
        qint32 imageNumber = 0;
        bool stored() const { return outcome == Outcome::Stored; }
    };

    // The Scan button.
    Result cmdScan_Click(const ScanEntryFields& fields);

    // Lets the caller attach its dialogs and page display to the scanner
    // session just before it runs.
    std::function<void(ScannerSession&)> prepareScanner;

    // The label of the step in hand, as the error report shows it.
    QString stepLabel() const { return step_; }
    // The scanner session while the scan runs, else null.
    ScannerSession* scanner() const { return scanner_; }

Q_SIGNALS:
    void stepChanged(const QString& label);

private:
    void setStep(const QString& label);

    Session& session_;
    QString step_;
    ScannerSession* scanner_ = nullptr;
};

}  // namespace tarlox
