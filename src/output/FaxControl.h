#pragma once

// What the fax control screen and "tarlox-cli fax-status" show of the fax
// engine's jobs: the four views, the 22 columns of the list and the printed log.

#include "output/FaxEngine.h"

#include <QList>
#include <QString>
#include <QStringList>

class QPagedPaintDevice;

namespace tarlox {

// The views by index: 0 pending, 1 sending, 2 sent, 3 failed.
inline constexpr int FaxViewCount = 4;
QString FaxViewTitle(FaxState view);
// "pending", "sending", "sent", "failed".
QString FaxViewName(FaxState view);
std::optional<FaxState> FaxViewFromName(const QString& name);

struct FaxColumn {
    QString name;
    int width = 0;  // in characters; 0 hides the column
};

// Exactly 22 columns.
inline constexpr int FaxColumnCount = 22;
QList<FaxColumn> DefaultControlColumns();
// "ControlColumns": 22 pairs of name and width, comma separated. Blank or
// anything but 22 pairs gives the default.
QList<FaxColumn> ReadControlColumns(const QString& text);
QString WriteControlColumns(const QList<FaxColumn>& columns);

// The text of one column (by its name) for a job; blank for a column the
// engine does not fill.
QString FaxColumnValue(const FaxJobInfo& job, const QString& column);

// Prints the jobs as the fax log: Arial, "Page: " and the headings on top of
// each page, 46 jobs a page. The device should be in landscape. Returns the
// number of pages printed.
inline constexpr int FaxLogRowsPerPage = 46;
int PrintFaxLog(QPagedPaintDevice& device, const QList<FaxJobInfo>& jobs);
// One printed line as (character column, text) pairs, for the headings
// when job is null.
QList<std::pair<int, QString>> FaxLogLine(const FaxJobInfo* job);

}  // namespace tarlox
