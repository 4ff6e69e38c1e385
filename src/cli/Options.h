#pragma once

#include <QMap>
#include <QSet>
#include <QString>
#include <QStringList>

namespace tarlox::cli {

// "--name VALUE" / "--name=VALUE" options, "--flag" switches and the
// remaining positional arguments of a subcommand.
struct ParsedOptions {
    QMap<QString, QString> values;
    QSet<QString> flags;
    QStringList positional;
    QString error;  // set when the arguments don't fit

    QString value(const QString& name) const { return values.value(name); }
    bool has(const QString& name) const { return values.contains(name) || flags.contains(name); }
};

ParsedOptions ParseOptions(const QStringList& arguments, const QStringList& valueOptions, const QStringList& flagOptions);

}  // namespace tarlox::cli
