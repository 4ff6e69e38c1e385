#pragma once

#include <QList>
#include <QStringList>

namespace tarlox {

// Rows for a list or grid: a head line of titles and one line per row.
struct GridData {
    QStringList headers;
    QList<QStringList> rows;
};

}  // namespace tarlox
