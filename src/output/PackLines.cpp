#include "output/PackLines.h"

#include <QHash>

namespace tarlox {

namespace {

// A header reduced to letters and digits, lower case, a trailing "no",
// "num" or "number" taken off: "Heat No." and "HEAT #" both read "heat".
QString HeaderKey(const QString& header)
{
    QString key;
    for (const QChar c : header)
        if (c.isLetterOrNumber())
            key += c.toLower();
    for (const char* suffix : {"number", "num", "no"})
        if (key.size() > qsizetype(qstrlen(suffix)) && key.endsWith(QLatin1String(suffix))) {
            key.chop(qstrlen(suffix));
            break;
        }
    return key;
}

const QHash<QString, PackColumn>& HeaderKeys()
{
    static const QHash<QString, PackColumn> keys = [] {
        const std::pair<PackColumn, const char*> names[] = {
            {PackColumn::Order, "so"},         {PackColumn::Order, "salesorder"},    {PackColumn::Order, "order"},
            {PackColumn::Line, "ln"},          {PackColumn::Line, "line"},           {PackColumn::Line, "lineitem"},
            {PackColumn::CustPO, "customerpo"},
            {PackColumn::CustPO, "custpo"},    {PackColumn::CustPO, "po"},           {PackColumn::CustPO, "purchaseorder"},
            {PackColumn::CustPO, "customerpurchaseorder"}, {PackColumn::Part, "part"}, {PackColumn::Part, "item"},
            {PackColumn::Part, "partid"},      {PackColumn::Description, "description"}, {PackColumn::Description, "desc"},
            {PackColumn::Description, "partdescription"}, {PackColumn::Description, "itemdescription"},
            {PackColumn::Quantity, "quantity"}, {PackColumn::Quantity, "qty"},     {PackColumn::Quantity, "qtyshipped"},
            {PackColumn::Quantity, "shipped"}, {PackColumn::Heat, "heat"},          {PackColumn::Heat, "heatlot"},
            {PackColumn::Heat, "lot"},         {PackColumn::Tag, "tag"},            {PackColumn::Tag, "tagid"},
        };
        QHash<QString, PackColumn> table;
        for (const auto& [column, name] : names)
            table.insert(QLatin1String(name), column);
        return table;
    }();
    return keys;
}

// The cells of one line; a quoted cell may hold the separator and "" for a quote.
QStringList SplitLine(const QString& line, QChar separator)
{
    QStringList cells;
    QString cell;
    bool quoted = false;
    bool wasQuoted = false;
    for (qsizetype i = 0; i < line.size(); ++i) {
        const QChar c = line[i];
        if (quoted) {
            if (c == QLatin1Char('"') && i + 1 < line.size() && line[i + 1] == QLatin1Char('"'))
                cell += line[++i];
            else if (c == QLatin1Char('"'))
                quoted = false;
            else
                cell += c;
        } else if (c == QLatin1Char('"') && cell.trimmed().isEmpty() && !wasQuoted) {
            quoted = wasQuoted = true;
            cell.clear();
        } else if (c == separator) {
            cells << cell.trimmed();
            cell.clear();
            wasQuoted = false;
        } else {
            cell += c;
        }
    }
    cells << cell.trimmed();
    return cells;
}

}  // namespace

const QList<PackColumn>& PackColumns()
{
    static const QList<PackColumn> columns = {PackColumn::Order, PackColumn::Line,     PackColumn::CustPO, PackColumn::Part,
                                              PackColumn::Description, PackColumn::Quantity, PackColumn::Heat, PackColumn::Tag};
    return columns;
}

QString PackColumnName(PackColumn column)
{
    switch (column) {
    case PackColumn::None: break;
    case PackColumn::Order: return QStringLiteral("SO#");
    case PackColumn::Line: return QStringLiteral("Ln#");
    case PackColumn::CustPO: return QStringLiteral("Customer PO#");
    case PackColumn::Part: return QStringLiteral("Part");
    case PackColumn::Description: return QStringLiteral("Description");
    case PackColumn::Quantity: return QStringLiteral("Quantity");
    case PackColumn::Heat: return QStringLiteral("Heat");
    case PackColumn::Tag: return QStringLiteral("Tag");
    }
    return {};
}

PackColumn PackColumnOf(const QString& header)
{
    return HeaderKeys().value(HeaderKey(header), PackColumn::None);
}

PackTable SplitPackText(const QString& text)
{
    QStringList lines = QString(text).replace(QLatin1String("\r\n"), QLatin1String("\n")).split(QLatin1Char('\n'));
    lines.removeIf([](const QString& line) { return line.trimmed().isEmpty(); });
    PackTable table;
    if (lines.isEmpty())
        return table;
    const QChar separator = lines.first().contains(QLatin1Char('\t')) ? QLatin1Char('\t') : QLatin1Char(',');
    table.header = SplitLine(lines.takeFirst(), separator);
    for (const QString& line : std::as_const(lines))
        table.rows << SplitLine(line, separator);
    return table;
}

QList<PackColumn> RecogniseColumns(const QStringList& header)
{
    QList<PackColumn> columns;
    for (const QString& cell : header) {
        const PackColumn column = PackColumnOf(cell);
        columns << (columns.contains(column) ? PackColumn::None : column);
    }
    return columns;
}

QList<PackLine> ReadPackLines(const PackTable& table, const QList<PackColumn>& columns)
{
    QList<PackLine> lines;
    for (const QStringList& row : table.rows) {
        PackLine line;
        for (qsizetype i = 0; i < columns.size() && i < row.size(); ++i) {
            QString* field = nullptr;
            switch (columns[i]) {
            case PackColumn::None: break;
            case PackColumn::Order: field = &line.order; break;
            case PackColumn::Line: field = &line.line; break;
            case PackColumn::CustPO: field = &line.custPO; break;
            case PackColumn::Part: field = &line.part; break;
            case PackColumn::Description: field = &line.description; break;
            case PackColumn::Quantity: field = &line.quantity; break;
            case PackColumn::Heat: field = &line.heat; break;
            case PackColumn::Tag: field = &line.tag; break;
            }
            if (field)
                *field = row[i];
        }
        lines << line;
    }
    return lines;
}

}  // namespace tarlox
