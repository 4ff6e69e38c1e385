#pragma once

#include <QString>

namespace tarlox {

// The private ASCII tags that carry a report's index values in its file, on
// the first page, so that a file can be indexed again without the database.
enum ReportTag : unsigned {
    kTagHeat = 8761,          // "TIFF_TAG_8761": Heat # as entered, all its numbers
    kTagPart = 8762,          // "TIFF_TAG_8762": Part #
    kTagPurchaseOrder = 8763, // "TIFF_TAG_8763": P/O #
    kTagVendor = 8764,        // "TIFF_TAG_8764": Vendor
    kTagManufacturer = 8765,  // "TIFF_TAG_8765": Manufacturer
};

inline constexpr auto kTarloxSoftware = u"Tarlox from Hollowbrook";

// The "SOFTWARE" tag and the five index tags of a file's first page.
struct ReportTags {
    QString software;
    QString heat;
    QString part;
    QString purchaseOrder;
    QString vendor;
    QString manufacturer;

    // Tags for a new report written by this program.
    static ReportTags forReport(const QString& heat, const QString& part, const QString& purchaseOrder,
                                const QString& vendor, const QString& manufacturer)
    {
        return ReportTags{QString::fromUtf16(kTarloxSoftware), heat, part, purchaseOrder, vendor, manufacturer};
    }

    bool operator==(const ReportTags&) const = default;
};

}  // namespace tarlox
