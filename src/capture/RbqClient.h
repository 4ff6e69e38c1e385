#pragma once

#include "capture/BarcodeKey.h"
#include "base/IoResult.h"

#include <QString>

#include <memory>

namespace tarlox {

// A purchase order line as the site's business system knows it.
struct RbqLine {
    BarcodeKey key;
    QString heat;
    QString part;
    QString vendor;
    QString manufacturer;
};

// The site's business system, as the barcode screen talks to it: look a key
// up, record the image number a report was stored under, end a pass. The
// system is named by key RBQClient of section Data:
//   "csv:FILE"     a file of lines "P/O,receipt,line,tag,heat,part,vendor,manufacturer"
//                  (no header); updates are appended to FILE.log;
//   "cmd:PROGRAM"  a program of the site's (see CommandRbqClient below);
//   blank, "none"  no system: rows come with empty fields to type in.
// No operation shows anything; failures come back as values. The calls may
// come from a worker thread, one at a time.
class RbqClient {
public:
    virtual ~RbqClient() = default;
    // The setting the client was made from ("" for none).
    virtual QString client() const = 0;
    // The line of the key. A key the system doesn't know fails; the caller
    // keeps the key with empty texts.
    virtual IoResult<RbqLine> lookUp(const BarcodeKey& key) = 0;
    // Records on the key's line the number the report was stored under.
    virtual IoStatus update(const BarcodeKey& key, qint32 imageNumber) = 0;
    // Ends a pass of look-ups or updates.
    virtual IoStatus finish() = 0;
};

// The client for a value of RBQClient. A value of another form gives the
// "none" client, and a message in note when note is given.
std::unique_ptr<RbqClient> MakeRbqClient(const QString& setting, QString* note = nullptr);

// The command client runs the program (with any arguments written after
// it in the setting) once per operation:
//   PROGRAM lookup PO RECEIPT LINE TAG        prints key=value lines: heat, part,
//                                             vendor, manufacturer (and po,
//                                             receipt, line, tag to correct the key)
//   PROGRAM update PO RECEIPT LINE TAG IMAGE
//   PROGRAM finish
// Exit code 0 is success; otherwise the first line of its error output is
// the failure. A call may take 30 seconds at most.
inline constexpr int kRbqCommandTimeoutMs = 30000;

}  // namespace tarlox
