#include "capture/ScanChoices.h"

#include "data/Settings.h"
#include "base/TextTools.h"

#include <QStringList>

#include <algorithm>
#include <cmath>

namespace tarlox {

namespace {


FieldTexts forRecord(const QString& siteName, const FieldTexts& designed)
{
    const QString name = siteName.trimmed();
    if (name.isEmpty())
        return designed;
    return FieldTexts{name + QLatin1Char(':'), QStringLiteral("Enter the ") + name + QStringLiteral(" for this MTR")};
}

}  // namespace

ResolutionChoice ReadResolutionChoice(Session& s)
{
    ResolutionChoice choice;
    choice.lowDpi = GetLocal(s, section::Info, QStringLiteral("LowDPI")).trimmed();
    choice.highDpi = GetLocal(s, section::Info, QStringLiteral("HighDPI")).trimmed();
    if (choice.lowDpi.isEmpty())
        choice.lowDpi = QStringLiteral("200");
    if (choice.highDpi.isEmpty())
        choice.highDpi = QStringLiteral("300");
    return choice;
}

bool HighResolutionByDefault(Session& s)
{
    return GetLocalBool(s, section::Info, QStringLiteral("300dpi"));
}

int DefaultBrightness(Session& s)
{
    return BrightnessFromText(GetLocal(s, section::Info, QStringLiteral("Brightness")));
}

QString PageSizeCodeFor(bool legal, bool a4)
{
    if (a4)
        return QStringLiteral("A");
    if (legal)
        return QStringLiteral("G");
    return QStringLiteral(" ");
}

int BrightnessFromText(const QString& text)
{
    const double value = std::clamp(Val(text), -1000.0, 1000.0);
    return int(std::nearbyint(value));
}

QString DittoLastPart(const QString& text)
{
    const QString trimmed = text.trimmed();
    const QStringList words = trimmed.split(QLatin1Char(' '), Qt::SkipEmptyParts);
    return trimmed + QLatin1Char(' ') + (words.isEmpty() ? QString() : words.last());
}

FieldTexts PurchaseOrderTexts(const QString& siteName, const FieldTexts& designed)
{
    const QString name = siteName.trimmed();
    if (name.isEmpty())
        return designed;
    return FieldTexts{name + QLatin1Char(':'),
                      QStringLiteral("Enter all of the ") + name + QStringLiteral("'s that go with these heat #s separated by spaces")};
}

FieldTexts VendorTexts(const QString& siteName, const FieldTexts& designed)
{
    return forRecord(siteName, designed);
}

FieldTexts ManufacturerTexts(const QString& siteName, const FieldTexts& designed)
{
    return forRecord(siteName, designed);
}

}  // namespace tarlox
