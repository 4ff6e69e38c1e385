#include "shell/SettingsRules.h"

#include "base/TextTools.h"

#include <algorithm>

namespace tarlox {

QString ClampField(const QString& text, int low, int high)
{
    if (text.trimmed().isEmpty())
        return text;
    const double value = Val(text);
    if (value >= low && value <= high)
        return text;
    return QString::number(value < low ? low : high);
}

QString ClampFontSize(const QString& text) { return ClampField(text, 6, 36); }
QString ClampBrightness(const QString& text) { return ClampField(text, -1000, 1000); }
QString ClampDpi(const QString& text) { return ClampField(text, 0, 9999); }

int ClampTimeout(const QString& text)
{
    return static_cast<int>(std::clamp(Val(text), 0.0, 120.0));
}

bool ValidDefaultPages(const QString& text)
{
    if (text.isEmpty() || text.compare(QLatin1String("All"), Qt::CaseInsensitive) == 0)
        return true;
    return std::all_of(text.begin(), text.end(), [](QChar c) { return c == QLatin1Char(',') || (c >= QLatin1Char('0') && c <= QLatin1Char('9')); });
}

}  // namespace tarlox
