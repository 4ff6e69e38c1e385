#pragma once

#include <QString>
#include <QVariantList>

namespace tarlox {

// A condition for a list query: SQL text with "?" for each value, and the
// values in the order of their marks. Columns are written table-qualified,
// e.g. "\"Info\".\"Heat #\" LIKE ?". Empty text means no condition.
struct SqlCondition {
    QString text;
    QVariantList binds;

    bool isEmpty() const { return text.trimmed().isEmpty(); }
};

}  // namespace tarlox
