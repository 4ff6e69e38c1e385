#pragma once

#include <QList>
#include <QString>
#include <QStringList>

namespace tarlox {

// The shipment lines of a certificate pack, as a clerk pastes them from a
// spreadsheet or the business system's screen, or as a CSV file holds them:
// one line a row, the first row the header, cells separated by tabs (when
// the header has one) or commas, "quoted" cells may hold the separator.

enum class PackColumn { None, Order, Line, CustPO, Part, Description, Quantity, Heat, Tag };

// The columns a person can choose from, in the order the chooser offers them.
const QList<PackColumn>& PackColumns();
// "SO#", "Ln#", "Customer PO#", "Part", "Description", "Quantity", "Heat", "Tag"; "" for None.
QString PackColumnName(PackColumn column);
// The column a header names: the names above and the usual other ways of
// writing them ("Sales Order", "Line No", "Cust PO", "Qty", "Heat Number"...),
// without case, blanks, dots or "#". None when it is no column of a pack.
PackColumn PackColumnOf(const QString& header);

struct PackTable {
    QStringList header;
    QList<QStringList> rows;  // blank lines left out
};
PackTable SplitPackText(const QString& text);
// The column of each header cell; a name seen twice counts the first time only.
QList<PackColumn> RecogniseColumns(const QStringList& header);

// One shipment line: what goes into its message block.
struct PackLine {
    QString order;
    QString line;
    QString custPO;
    QString part;
    QString description;
    QString quantity;
    QString heat;
    QString tag;
};

// The rows as lines, each cell going to the column given for its place
// (None: left out). Cells past the columns are left out; missing cells are empty.
QList<PackLine> ReadPackLines(const PackTable& table, const QList<PackColumn>& columns);

}  // namespace tarlox
