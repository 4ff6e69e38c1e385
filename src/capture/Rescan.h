#pragma once

#include <QObject>
#include <QString>

#include <functional>

namespace tarlox {

class Session;
class ScannerSession;

// The choices of the rescan form.
struct RescanChoices {
    QString pageSizeCode = QStringLiteral(" ");
    bool highResolution = false;
    int brightness = 0;
};

// A whole report scanned again into the place of its file, keeping its
// image number and its references: the pages go to the "TM" file beside
// the report, which replaces the report's file in one rename only once
// it is complete. Works on the current image, whose paths are set.
class Rescan : public QObject {
    Q_OBJECT
public:
    explicit Rescan(Session& session, QObject* parent = nullptr);

    // The form's start: reads the image row and gives its page size, the
    // low resolution and the default brightness. False after "Can't Read Image".
    bool Load(RescanChoices& choices);

    // The Scan button; true when the new file has taken the old one's place.
    bool cmdScan_Click(const RescanChoices& choices);

    // The file the pages are scanned into: "TM" + six digits + ".TIF" in
    // the image's directory.
    QString targetPath() const;

    // Lets the caller attach its dialogs and page display to the scanner
    // session just before it runs.
    std::function<void(ScannerSession&)> prepareScanner;
    ScannerSession* scanner() const { return scanner_; }

private:
    Session& session_;
    ScannerSession* scanner_ = nullptr;
};

}  // namespace tarlox
