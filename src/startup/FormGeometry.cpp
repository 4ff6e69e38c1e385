#include "startup/FormGeometry.h"

#include "startup/Settings.h"
#include "startup/TextTools.h"

namespace tarlox {

namespace {

QString sectionOr(const QString& section)
{
    return section.isEmpty() ? QStringLiteral("Form") : section;
}

}  // namespace

FormGeometry GetFormSize(Session& s, const QString& section, const QString& name)
{
    const QString sec = sectionOr(section);
    FormGeometry g;
    const QString state = GetLocal(s, sec, name + QStringLiteral("State")).trimmed();
    if (!state.isEmpty())
        g.state = IntVal(state);
    if (g.state.value_or(FormGeometry::Normal) != FormGeometry::Normal)
        return g;
    const auto read = [&](const char* key, std::optional<double>& into) {
        const QString text = GetLocal(s, sec, name + QLatin1String(key)).trimmed();
        if (!text.isEmpty())
            into = Val(text);
    };
    read("Height", g.height);
    read("Width", g.width);
    read("Top", g.top);
    read("Left", g.left);
    return g;
}

void SaveFormSize(Session& s, const QString& section, const QString& name, const FormGeometry& g)
{
    const QString sec = sectionOr(section);
    const int state = g.state.value_or(FormGeometry::Normal);
    PutLocal(s, sec, name + QStringLiteral("State"), QString::number(state));
    if (state != FormGeometry::Normal)
        return;
    const auto write = [&](const char* key, const std::optional<double>& value) {
        if (value)
            PutLocal(s, sec, name + QLatin1String(key), QString::number(double(float(*value)), 'g', 7));
    };
    write("Height", g.height);
    write("Width", g.width);
    write("Top", g.top);
    write("Left", g.left);
}

}  // namespace tarlox
