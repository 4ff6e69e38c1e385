#include "data/FormGeometry.h"

#include "data/Session.h"
#include "data/Settings.h"
#include "base/TextTools.h"

#include <QtMath>

#include <algorithm>

namespace tarlox {

namespace {

QString sectionOrForm(const QString& section)
{
    return section.isEmpty() ? QStringLiteral("Form") : section;
}

std::optional<double> measure(Session& s, const QString& section, const QString& key)
{
    const QString value = GetLocal(s, section, key).trimmed();
    if (value.isEmpty())
        return std::nullopt;
    return Val(value);
}

std::optional<int> tagValue(const QString& tag, const char* key)
{
    const QString value = GetTag(tag, QLatin1String(key));
    if (value.isEmpty())
        return std::nullopt;
    return IntVal(value);
}

}  // namespace

int TwipsToPixels(double twips)
{
    return qRound(twips / TwipsPerPixel);
}

void SaveFormGeometry(Session& s, const QString& section, const QString& name, FormState state, const QRect& normalTwips)
{
    s.traceCall(QStringLiteral("SaveFormSize"), {section, name});
    const QString sec = sectionOrForm(section);
    PutLocal(s, sec, name + QStringLiteral("State"), QString::number(static_cast<int>(state)));
    if (state != FormState::Normal)
        return;
    PutLocal(s, sec, name + QStringLiteral("Height"), QString::number(normalTwips.height()));
    PutLocal(s, sec, name + QStringLiteral("Width"), QString::number(normalTwips.width()));
    PutLocal(s, sec, name + QStringLiteral("Top"), QString::number(normalTwips.top()));
    PutLocal(s, sec, name + QStringLiteral("Left"), QString::number(normalTwips.left()));
}

FormGeometry ReadFormGeometry(Session& s, const QString& section, const QString& name)
{
    s.traceCall(QStringLiteral("GetFormSize"), {section, name});
    const QString sec = sectionOrForm(section);
    FormGeometry g;
    const QString state = GetLocal(s, sec, name + QStringLiteral("State")).trimmed();
    if (!state.isEmpty()) {
        switch (IntVal(state)) {
        case 1: g.state = FormState::Minimized; break;
        case 2: g.state = FormState::Maximized; break;
        default: g.state = FormState::Normal; break;
        }
    }
    if (g.state.value_or(FormState::Normal) != FormState::Normal)
        return g;
    g.height = measure(s, sec, name + QStringLiteral("Height"));
    g.width = measure(s, sec, name + QStringLiteral("Width"));
    g.top = measure(s, sec, name + QStringLiteral("Top"));
    g.left = measure(s, sec, name + QStringLiteral("Left"));
    return g;
}

LayoutTag ReadLayoutTag(const QString& tag)
{
    return LayoutTag{tagValue(tag, "FromRight"), tagValue(tag, "FromBottom"), tagValue(tag, "FromWidth"), tagValue(tag, "FromHeight")};
}

QSize MinimumSizeOfTag(const QString& tag)
{
    return QSize(tagValue(tag, "MinWidth").value_or(0), tagValue(tag, "MinHeight").value_or(0));
}

QRect PlaceByLayoutTag(const LayoutTag& layout, const QSize& form, const QRect& control)
{
    QRect r = control;
    if (layout.fromRight)
        r.moveLeft(form.width() - *layout.fromRight);
    if (layout.fromBottom)
        r.moveTop(form.height() - *layout.fromBottom);
    if (layout.fromWidth)
        r.setWidth(std::max(0, form.width() - *layout.fromWidth));
    if (layout.fromHeight)
        r.setHeight(std::max(0, form.height() - *layout.fromHeight));
    return r;
}

}  // namespace tarlox
