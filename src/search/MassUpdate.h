#pragma once

#include "base/IoResult.h"

#include <QList>
#include <QString>

#include <functional>
#include <optional>

namespace tarlox {

class Session;

// Replacing values of one field across all references, by old-to-new pairs.

enum class UpdateField { Heat, Part, PO, Vend, Mfg };

// The column of the field: "Heat #", "Part #", "P/O #", "Vend Name", "Mfg Name".
QString UpdateColumn(UpdateField field);
// The five choices of the update screen: "Heat Number", "Part Number", then
// POLong, VendLong and MfgLong of the "Custom" section, else "P/O Number",
// "Vendor" and "Manufacturer".
QList<QString> UpdateFieldNames(Session& session);

struct UpdatePair {
    QString oldValue;
    QString newValue;
    bool operator==(const UpdatePair&) const = default;
};

// What one pair finds before the update: the references holding the old
// value, the images they point at, and the references already holding the
// new value. The values are compared without case.
struct PairCounts {
    qint64 oldRows = 0;
    qint64 oldImages = 0;
    qint64 newRows = 0;
};

// The counts of every pair; nullopt when the database refused (reported).
std::optional<QList<PairCounts>> CountPairs(Session& session, UpdateField field, const QList<UpdatePair>& pairs);

// What an update did: the references each pair changed, in grid order, or
// why nothing was changed.
struct UpdateOutcome {
    QList<qint64> changed;
    QString refusal;  // empty when the update was committed
    explicit operator bool() const { return refusal.isEmpty(); }
};

// Applies the pairs in order, all in one transaction, so a chain A to B, B
// to C carries through and a failure leaves every reference as it was. A
// new value longer than its column is refused, with its pair named, before
// anything changes.
// going is asked before each pair (its index); false cancels the run and
// nothing is changed.
UpdateOutcome UpdatePairs(Session& session, UpdateField field, const QList<UpdatePair>& pairs,
                          const std::function<bool(qsizetype pair)>& going = {});

// The images with a reference holding an old value of the pairs: asked
// before an update, the images it touches (a chain's later steps included).
QList<qint32> ImagesOfPairs(Session& session, UpdateField field, const QList<UpdatePair>& pairs);

// Writing an image's references back into the report tags of its file
// (heats and parts, each reference's, separated by blanks; P/O, vendor and
// manufacturer of the first), so that a TIFF import of the file rebuilds
// them. Each file is replaced whole, off the calling thread.
struct TagRewriteSummary {
    int total = 0;
    int done = 0;
    QStringList skipped;  // one line each: the image and why
    bool cancelled = false;
};
// progress is asked before each image (done so far, all, the file); false
// stops the run there.
using TagRewriteProgress = std::function<bool(int done, int total, const QString& file)>;
TagRewriteSummary RewriteImageTags(Session& session, const QList<qint32>& images, const TagRewriteProgress& progress = {});

// Pairs from a comma-separated file in the export format: two fields, old
// and new value, after each other, until the end of the file. UTF-8, or
// Windows-1252 for files that aren't. A failure names the pair at fault.
IoResult<QList<UpdatePair>> ReadUpdatePairs(const QString& path);

}  // namespace tarlox
