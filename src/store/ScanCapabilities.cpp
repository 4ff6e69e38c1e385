#include "store/ScanCapabilities.h"

#include <QRegularExpression>

#include <algorithm>
#include <cmath>

namespace tarlox {

namespace {

constexpr double kMillimetresPerInch = 25.4;

bool usable(const std::optional<SaneOption>& o)
{
    return o && o->active && o->settable;
}

QString firstMatch(const QStringList& entries, const QRegularExpression& wanted, const QRegularExpression& unwanted = {})
{
    for (const QString& entry : entries)
        if (wanted.match(entry).hasMatch() && (unwanted.pattern().isEmpty() || !unwanted.match(entry).hasMatch()))
            return entry;
    return {};
}

QRegularExpression pattern(const char* text)
{
    return QRegularExpression(QLatin1String(text), QRegularExpression::CaseInsensitiveOption);
}

}  // namespace

double DeviceBrightness(int brightness, const SaneOption& option)
{
    const double share = (std::clamp(brightness, -1000, 1000) + 1000) / 2000.0;
    double low = option.minimum;
    double high = option.maximum;
    if (option.constraint == SaneOption::WordList && !option.words.isEmpty()) {
        low = *std::min_element(option.words.begin(), option.words.end());
        high = *std::max_element(option.words.begin(), option.words.end());
    } else if (option.constraint != SaneOption::Range) {
        // No range given: the customary -100 .. 100.
        low = -100;
        high = 100;
    }
    return low + share * (high - low);
}

double GeometryValue(double inches, const SaneOption& option, double dpi)
{
    double value = option.unit == SaneOption::Pixel ? inches * dpi : inches * kMillimetresPerInch;
    if (option.constraint == SaneOption::Range)
        value = std::clamp(value, option.minimum, std::max(option.minimum, option.maximum));
    else if (option.constraint == SaneOption::WordList && !option.words.isEmpty())
        value = std::min(value, *std::max_element(option.words.begin(), option.words.end()));
    return value;
}

QString TwoColourMode(const QStringList& modes)
{
    return firstMatch(modes, pattern("^(line ?art|binary|black ?(&|and) ?white|b ?& ?w|bw|mono(chrome)?|text)$"));
}

QString GreyMode(const QStringList& modes)
{
    return firstMatch(modes, pattern("gr[ae]y"));
}

QString FeederSource(const QStringList& sources)
{
    return firstMatch(sources, pattern("adf|feeder"), pattern("duplex|back|rear"));
}

SaneResult ApplyResolution(SaneDevice& device, int dpi, Dpi* actual)
{
    QVariant settled;
    Dpi result{double(dpi), double(dpi)};
    if (auto o = device.option(QStringLiteral("resolution")); usable(o)) {
        if (SaneResult r = device.setValue(*o, dpi, &settled); !r.ok())
            return r;
        if (settled.isValid())
            result = Dpi{settled.toDouble(), settled.toDouble()};
    }
    if (auto o = device.option(QStringLiteral("x-resolution")); usable(o)) {
        if (SaneResult r = device.setValue(*o, dpi, &settled); !r.ok())
            return r;
        if (settled.isValid())
            result.x = settled.toDouble();
    }
    if (auto o = device.option(QStringLiteral("y-resolution")); usable(o)) {
        if (SaneResult r = device.setValue(*o, dpi, &settled); !r.ok())
            return r;
        if (settled.isValid())
            result.y = settled.toDouble();
    }
    if (actual)
        *actual = result;
    return {};
}

Dpi CurrentResolution(SaneDevice& device, double fallback)
{
    Dpi result{fallback, fallback};
    const auto read = [&](const char* name, double& into) {
        const QVariant value = device.value(QLatin1String(name));
        if (value.isValid() && value.toDouble() > 0)
            into = value.toDouble();
    };
    read("resolution", result.x);
    result.y = result.x;
    read("x-resolution", result.x);
    read("y-resolution", result.y);
    return result;
}

SaneResult ApplyBrightness(SaneDevice& device, int brightness)
{
    const auto o = device.option(QStringLiteral("brightness"));
    if (!usable(o) || !o->isNumber())
        return {};
    return device.setValue(*o, DeviceBrightness(brightness, *o));
}

SaneResult ApplyDuplexOff(SaneDevice& device)
{
    if (auto o = device.option(QStringLiteral("duplex")); usable(o) && o->type == SaneOption::Bool) {
        if (SaneResult r = device.setValue(*o, false); !r.ok())
            return r;
    }
    for (const char* name : {"adf-mode", "adf_mode"}) {
        const auto o = device.option(QLatin1String(name));
        if (!usable(o) || o->type != SaneOption::String)
            continue;
        const QString simplex = firstMatch(o->strings, pattern("simplex"));
        if (!simplex.isEmpty())
            if (SaneResult r = device.setValue(*o, simplex); !r.ok())
                return r;
    }
    return {};
}

SaneResult ApplyFrame(SaneDevice& device, double widthInches, double lengthInches, double dpi)
{
    // Top left first: some devices keep the bottom right beyond it.
    const struct {
        const char* name;
        double inches;
    } corners[] = {{"tl-x", 0}, {"tl-y", 0}, {"br-x", widthInches}, {"br-y", lengthInches}};
    for (const auto& corner : corners) {
        const auto o = device.option(QLatin1String(corner.name));
        if (!usable(o) || !o->isNumber())
            continue;
        if (SaneResult r = device.setValue(*o, GeometryValue(corner.inches, *o, dpi)); !r.ok())
            return r;
    }
    return {};
}

SaneResult ApplyBlackAndWhite(SaneDevice& device)
{
    const auto mode = device.option(QStringLiteral("mode"));
    bool grey = !usable(mode);
    if (usable(mode) && mode->type == SaneOption::String) {
        const QString twoColour = TwoColourMode(mode->strings);
        if (!twoColour.isEmpty())
            return device.setValue(*mode, twoColour);
        const QString greyMode = GreyMode(mode->strings);
        if (!greyMode.isEmpty()) {
            if (SaneResult r = device.setValue(*mode, greyMode); !r.ok())
                return r;
            grey = true;
        }
    }
    // Grey at one bit per sample is the two-colour mode of some devices.
    const auto depth = device.option(QStringLiteral("depth"));
    if (!grey || !usable(depth) || !depth->isNumber())
        return {};
    const bool offersOne = depth->constraint == SaneOption::WordList ? depth->words.contains(1.0)
                           : depth->constraint == SaneOption::Range  ? depth->minimum <= 1 && depth->maximum >= 1
                                                                     : false;
    return offersOne ? device.setValue(*depth, 1) : SaneResult{};
}

SaneResult ApplyFeeder(SaneDevice& device)
{
    const auto source = device.option(QStringLiteral("source"));
    if (!usable(source) || source->type != SaneOption::String)
        return {};
    const QString feeder = FeederSource(source->strings);
    if (feeder.isEmpty())
        return {};
    return device.setValue(*source, feeder);
}

}  // namespace tarlox
