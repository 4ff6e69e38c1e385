#pragma once

#include "base/IoResult.h"

#include <QImage>
#include <QList>
#include <QString>
#include <QStringList>
#include <QVariant>

#include <atomic>
#include <memory>

namespace tarlox {

class SaneLibrary;

// One option of a SANE device, as its descriptor tells it.
struct SaneOption {
    enum Type { Bool, Int, Fixed, String, Button, Group };
    enum Constraint { None, Range, WordList, StringList };
    enum Unit { NoUnit, Pixel, Bit, Millimetre, Dpi, Percent, Microsecond };

    int index = 0;
    QString name;         // "resolution"; empty for groups
    QString title;        // "Scan resolution"
    QString description;
    Type type = Int;
    Unit unit = NoUnit;
    int valueCount = 1;   // more than one for vector options
    bool active = true;
    bool settable = true;  // set by the program, not only at the device
    bool advanced = false;
    Constraint constraint = None;
    double minimum = 0;
    double maximum = 0;
    double quant = 0;
    QList<double> words;
    QStringList strings;

    bool isNumber() const { return type == Int || type == Fixed; }
};

// The outcome of a device call: SANE's status and a sentence about it.
struct SaneResult {
    int status = 0;  // SANE_Status; 0 is success
    QString text;
    bool ok() const { return status == 0; }
};

// What SANE's statuses mean to the person at the scanner: jammed, cover
// open, out of documents, busy and the rest, naming the device.
QString SaneStatusText(int status, const QString& device);

// SANE_STATUS_NO_DOCS and SANE_STATUS_CANCELLED, for callers that treat them apart.
int SaneNoDocuments();
int SaneCancelled();

// An open SANE device. Calls on one device must not overlap; they may come
// from any one thread at a time.
class SaneDevice {
public:
    // Opens the device named by wanted: its SANE name ("test:0"), its vendor
    // and model ("Noname frontend-tester"), or a settings-list entry
    // ("test:0 (Noname frontend-tester)"). A blank name, or one no device
    // answers to, opens the first device found; name() tells which. On
    // failure status (when given) receives SANE's status.
    static IoResult<std::unique_ptr<SaneDevice>> open(const QString& wanted, int* status = nullptr);
    ~SaneDevice();
    SaneDevice(const SaneDevice&) = delete;
    SaneDevice& operator=(const SaneDevice&) = delete;

    QString name() const { return name_; }
    // Vendor and model, or the name when SANE gives none.
    QString description() const { return description_.isEmpty() ? name_ : description_; }

    // The options as the device describes them now (they change with the mode and source).
    QList<SaneOption> options() const;
    std::optional<SaneOption> option(const QString& name) const;
    // A number option's first value, a Bool as 0/1 or a String option's text.
    QVariant value(const QString& name) const;
    QVariant value(const SaneOption& option) const;
    // Sets an option; numbers are snapped into the option's constraint
    // first. actual receives the value the device settled on.
    SaneResult setValue(const QString& name, const QVariant& value, QVariant* actual = nullptr);
    SaneResult setValue(const SaneOption& option, const QVariant& value, QVariant* actual = nullptr);
    // Presses a button option.
    SaneResult press(const SaneOption& option);

    // Reads the next page: starts the device, collects its frames and
    // returns the picture at the given resolution. On failure status holds
    // SANE's status (SaneNoDocuments() when the feeder is empty) and the
    // device has been stopped. An empty page at the end of a feeder run
    // counts as no documents.
    struct Page {
        QImage image;
        SaneResult result;
    };
    Page readPage(double dpiX, double dpiY);
    // Ends the current batch of pages (after the last page of a feeder run
    // or to stop early).
    void cancel();

private:
    SaneDevice(std::shared_ptr<SaneLibrary> library, void* handle, QString name, QString description);

    std::shared_ptr<SaneLibrary> library_;
    void* handle_;
    QString name_;
    QString description_;
};

}  // namespace tarlox
