#include "startup/FormGeometry.h"

#include "startup/Settings.h"
#include "startup/TextTools.h"

namespace tarlox {

namespace {

QString sectionOf(const QString& section) { return section.isEmpty() ? QStringLiteral("Form") : section; }

}  // namespace

FormGeometry ReadFormGeometry(Session& session, const QString& section, const QString& name)
{
    FormGeometry g;
    const QString s = sectionOf(section);
    const QString state = GetLocal(session, s, name + QStringLiteral("State")).trimmed();
    if (state.isEmpty())
        return g;
    g.state = IntVal(state);
    if (*g.state != FormGeometry::Normal)
        return g;
    const auto read = [&](const char* key, std::optional<double>& target) {
        const QString value = GetLocal(session, s, name + QLatin1String(key)).trimmed();
        if (!value.isEmpty())
            target = Val(value);
    };
    read("Height", g.height);
    read("Width", g.width);
    read("Top", g.top);
    read("Left", g.left);
    return g;
}

void WriteFormGeometry(Session& session, const QString& section, const QString& name, const FormGeometry& g)
{
    const QString s = sectionOf(section);
    const int state = g.state.value_or(FormGeometry::Normal);
    PutLocal(session, s, name + QStringLiteral("State"), QString::number(state));
    if (state != FormGeometry::Normal)
        return;
    const auto write = [&](const char* key, const std::optional<double>& value) {
        if (value)
            PutLocal(session, s, name + QLatin1String(key), QString::number(static_cast<float>(*value)));
    };
    write("Height", g.height);
    write("Width", g.width);
    write("Top", g.top);
    write("Left", g.left);
}

}  // namespace tarlox
