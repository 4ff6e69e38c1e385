#include "view/DrawSettingsIo.h"

#include "data/Session.h"
#include "data/Settings.h"
#include "base/TextTools.h"

#include <algorithm>

namespace tarlox {

namespace {


void put(Session& s, const char* key, const QString& value)
{
    PutLocal(s, section::Draw, QLatin1String(key), value);
}

}  // namespace

int ClampPenWidth(const QString& typed)
{
    return int(std::clamp(Val(typed), 1.0, 100.0));
}

void SaveLineSettings(Session& s)
{
    put(s, "LineWidth", QString::number(s.draw.lineWidth));
}

void SaveRectangleSettings(Session& s)
{
    put(s, "RectangleWidth", QString::number(s.draw.rectangleWidth));
    put(s, "RectangleFill", BoolToIni(s.draw.rectangleFill));
    put(s, "RectangleBlack", BoolToIni(s.draw.rectangleBlack));
}

void SaveStampSettings(Session& s)
{
    const DrawSettings& d = s.draw;
    put(s, "StampType", d.stampType);
    put(s, "StampOvl", BoolToIni(d.stampOvl));
    put(s, "StampText", d.stampText);
    put(s, "FontName", d.fontName);
    put(s, "FontSize", QString::number(d.fontSize));
    put(s, "FontBold", BoolToIni(d.fontBold));
    put(s, "FontItalic", BoolToIni(d.fontItalic));
    put(s, "StampCenter", BoolToIni(d.stampCenter));
    put(s, "StampImage", d.stampImage);
}

QString StampTextFromBox(const QString& box)
{
    QString text;
    text.reserve(box.size());
    for (qsizetype i = 0; i < box.size(); ++i) {
        const QChar c = box.at(i);
        if (c == QLatin1Char('\r')) {
            text += QLatin1Char('|');
            if (i + 1 < box.size() && box.at(i + 1) == QLatin1Char('\n'))
                ++i;
        } else if (c == QLatin1Char('\n') || c == QChar::ParagraphSeparator || c == QChar::LineSeparator) {
            text += QLatin1Char('|');
        } else {
            text += c;
        }
    }
    return text;
}

QString StampTextToBox(const QString& stampText)
{
    QString box = stampText;
    box.replace(QLatin1Char('|'), QLatin1Char('\n'));
    return box;
}

QString FontDescription(const DrawSettings& d)
{
    QString text = d.fontName + QLatin1Char(' ') + QString::number(d.fontSize) + QStringLiteral("point ");
    if (d.fontBold)
        text += QStringLiteral("Bold ");
    if (d.fontItalic)
        text += QStringLiteral("Italic ");
    return text;
}

}  // namespace tarlox
