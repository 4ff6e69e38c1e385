#pragma once

#include <QString>

namespace tarlox {

// Rules of the settings screens for single fields.

// A number typed into a field, set back within [low, high] when its numeric
// value lies outside; text within the bounds and empty text stay as typed.
QString ClampField(const QString& text, int low, int high);

// Message font size 6..36, brightness -1000..1000, resolutions 0..9999.
QString ClampFontSize(const QString& text);
QString ClampBrightness(const QString& text);
QString ClampDpi(const QString& text);

// Connection timeout in seconds: the numeric value of the text, 0..120.
int ClampTimeout(const QString& text);

// Default pages: empty, "All" in any case, or digits and commas only.
bool ValidDefaultPages(const QString& text);

}  // namespace tarlox
