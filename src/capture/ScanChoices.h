#pragma once

#include <QString>

namespace tarlox {

class Session;

// The choices the scan forms share: resolution, page size, brightness,
// and the site's own names for the P/O, Vendor and Manufacturer fields.

// The two resolutions: keys LowDPI and HighDPI of section Info, blank
// meaning "200" and "300"; the captions add "dpi" ("200dpi").
struct ResolutionChoice {
    QString lowDpi;
    QString highDpi;
    QString lowCaption() const { return lowDpi + QStringLiteral("dpi"); }
    QString highCaption() const { return highDpi + QStringLiteral("dpi"); }
    QString dpiFor(bool high) const { return high ? highDpi : lowDpi; }
};
ResolutionChoice ReadResolutionChoice(Session& session);

// Key "300dpi": the high resolution is chosen when a scan form opens.
bool HighResolutionByDefault(Session& session);
// Key Brightness, within -1000 .. 1000.
int DefaultBrightness(Session& session);

// " " Letter, "G" Legal, "A" A4 from the size options.
QString PageSizeCodeFor(bool legal, bool a4);

// The brightness box when it is left: the numeric value of the text
// within -1000 .. 1000 ("abc" gives 0, "5000" 1000).
int BrightnessFromText(const QString& text);

// The ditto key of the Part # field: the last blank-separated word is
// repeated at the end of the trimmed text ("A B" gives "A B B"; an empty
// field a single blank).
QString DittoLastPart(const QString& text);

// A field's label and hint under the site's name for it; a blank name
// keeps the designed texts.
struct FieldTexts {
    QString label;
    QString hint;
};
FieldTexts PurchaseOrderTexts(const QString& siteName, const FieldTexts& designed);
FieldTexts VendorTexts(const QString& siteName, const FieldTexts& designed);
FieldTexts ManufacturerTexts(const QString& siteName, const FieldTexts& designed);

}  // namespace tarlox
