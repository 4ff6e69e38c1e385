#include "cli/Options.h"

namespace tarlox::cli {

ParsedOptions ParseOptions(const QStringList& arguments, const QStringList& valueOptions, const QStringList& flagOptions)
{
    ParsedOptions parsed;
    for (qsizetype i = 0; i < arguments.size(); ++i) {
        const QString& argument = arguments[i];
        if (!argument.startsWith(QLatin1String("--")) || argument == QLatin1String("--")) {
            parsed.positional << argument;
            continue;
        }
        QString name = argument.mid(2);
        QString value;
        bool inlineValue = false;
        if (const qsizetype eq = name.indexOf(QLatin1Char('=')); eq >= 0) {
            value = name.mid(eq + 1);
            name = name.left(eq);
            inlineValue = true;
        }
        if (flagOptions.contains(name) && !inlineValue) {
            parsed.flags.insert(name);
        } else if (valueOptions.contains(name)) {
            if (!inlineValue) {
                if (i + 1 >= arguments.size()) {
                    parsed.error = QStringLiteral("--") + name + QStringLiteral(" needs a value");
                    return parsed;
                }
                value = arguments[++i];
            }
            parsed.values.insert(name, value);
        } else {
            parsed.error = QStringLiteral("unknown option --") + name;
            return parsed;
        }
    }
    return parsed;
}

}  // namespace tarlox::cli
