#pragma once

#include <QString>
#include <QStringList>

#include <ostream>

// Readable Qt values in test failure messages.
inline void PrintTo(const QString& value, std::ostream* os) { *os << '"' << value.toStdString() << '"'; }
inline void PrintTo(const QStringList& value, std::ostream* os)
{
    *os << '{';
    for (qsizetype i = 0; i < value.size(); ++i) *os << (i ? ", " : "") << '"' << value[i].toStdString() << '"';
    *os << '}';
}
