#include "shell/SupportListing.h"

#include "base/TextTools.h"

#include <algorithm>

namespace tarlox {

namespace {

const char* const DateFormat = "M/d/yyyy h:mm:ss AP";

QString padded(const QString& value, qsizetype width)
{
    return value.leftJustified(width, QLatin1Char(' '));
}

// Row definition of a table row: cells with right edges at the given
// twips, single borders of width 16 on top and left, and at the bottom
// on the last row.
QString rtfRow(const QStringList& cells, const QList<int>& edges, bool last)
{
    QString row = QStringLiteral("\\trowd\\trgaph108\\trleft-108");
    for (int edge : edges) {
        row += QStringLiteral("\\clbrdrt\\brdrs\\brdrw16\\clbrdrl\\brdrs\\brdrw16");
        if (last)
            row += QStringLiteral("\\clbrdrb\\brdrs\\brdrw16");
        row += QStringLiteral("\\cellx") + QString::number(edge);
    }
    row += QStringLiteral("\r\n\\pard\\intbl\\fs24 ");
    for (const QString& cell : cells)
        row += RtfEscape(cell) + QStringLiteral("\\cell ");
    row += QStringLiteral("\\row\r\n");
    return row;
}

QString htmlTable(const QStringList& head, const QList<QStringList>& rows)
{
    QString html = QStringLiteral("<table border=\"1\" cellspacing=\"0\" cellpadding=\"3\">\n");
    if (!head.isEmpty()) {
        html += QStringLiteral("<tr>");
        for (const QString& cell : head)
            html += QStringLiteral("<th>") + cell.toHtmlEscaped() + QStringLiteral("</th>");
        html += QStringLiteral("</tr>\n");
    }
    for (const QStringList& row : rows) {
        html += QStringLiteral("<tr>");
        for (const QString& cell : row)
            html += QStringLiteral("<td>") + cell.toHtmlEscaped() + QStringLiteral("</td>");
        html += QStringLiteral("</tr>\n");
    }
    return html + QStringLiteral("</table>\n");
}

}  // namespace

SupportListing BuildSupportListing(const SupportFacts& f)
{
    SupportListing l;
    auto add = [&](const char* label, const QString& value) { l.rows.append({QLatin1String(label), value}); };
    add("Info Update Date", f.now.toString(QLatin1String(DateFormat)));
    add("Tarlox Version", f.programVersion);
    add("Server Ini", f.serverIni);
    add("Server Name", f.serverName);
    add("Company Name", f.companyName);
    add("Database Type", f.sql ? QStringLiteral("SQL") : QStringLiteral("Access"));
    add("Connection Timeout", f.timeout);
    if (f.sql) {
        add("SQL Server", f.server);
        add("SQL User ID", f.userId);
        add("SQL Password", f.password);
    } else {
        add("Database Password", f.databasePassword);
        add("Data Base File", f.database);
    }
    l.machineHead = {QStringLiteral("User"), QStringLiteral("Machine"), QStringLiteral("Scanner"), QStringLiteral("Create"),
                     QStringLiteral("Login"), QStringLiteral("Interface")};
    for (const QStringList& row : f.machines.rows) {
        auto at = [&](int i) { return i < row.size() ? row.at(i) : QString(); };
        l.machineRows.append({at(1), at(0), at(2), at(3), at(4), at(5)});
    }
    return l;
}

QString SupportListingText(const SupportListing& l)
{
    QString text;
    for (const auto& [label, value] : l.rows)
        text += label + QStringLiteral(" = ") + value + QStringLiteral("\r\n");
    // User and Machine as wide as their longest value and a blank; the others
    // have fixed widths, widened only where a value would not fit.
    QList<qsizetype> widths = {0, 0, 8, 11, 11, 11};
    for (int column = 0; column < widths.size(); ++column) {
        qsizetype longest = l.machineHead.value(column).size();
        for (const QStringList& row : l.machineRows)
            longest = std::max(longest, row.value(column).size());
        widths[column] = column < 2 ? longest + 1 : std::max(widths[column], longest + 1);
    }
    auto line = [&](const QStringList& cells) {
        QString out;
        for (int column = 0; column < widths.size(); ++column)
            out += padded(cells.value(column), widths[column]);
        return out;
    };
    QStringList lines{line(l.machineHead)};
    for (const QStringList& row : l.machineRows)
        lines.append(line(row));
    text += QStringLiteral("\r\n") + lines.join(QStringLiteral("\r\n")) + QStringLiteral("\r\n");
    return text;
}

QString SupportListingHtml(const SupportListing& l)
{
    QList<QStringList> rows;
    for (const auto& [label, value] : l.rows)
        rows.append({label, value});
    return QStringLiteral("<html><body style=\"font-family: 'Times New Roman'\">\n") + htmlTable({}, rows) + QStringLiteral("<br>\n")
        + htmlTable(l.machineHead, l.machineRows) + QStringLiteral("</body></html>\n");
}

QString RtfEscape(const QString& text)
{
    QString out = FixString(text);
    out.replace(QLatin1Char('{'), QStringLiteral("\\{")).replace(QLatin1Char('}'), QStringLiteral("\\}"));
    QString result;
    for (QChar c : out) {
        if (c.unicode() < 128) {
            result += c;
        } else {
            result += QStringLiteral("\\u") + QString::number(static_cast<qint16>(c.unicode())) + QLatin1Char('?');
        }
    }
    return result;
}

QByteArray SupportListingRtf(const SupportListing& l)
{
    QString rtf = QStringLiteral("{\\rtf1\\ansi\\ansicpg1252\\deff0\\deflang1033{\\fonttbl{\\f0\\froman\\fprq2\\fcharset0 Times New Roman;}}\r\n"
                                 "{\\colortbl ;\\red0\\green0\\blue0;\\red255\\green255\\blue255;}\r\n"
                                 "{\\*\\listtable}{\\*\\listoverridetable}\r\n\\viewkind4\\uc1\\pard\\f0\\fs24\r\n");
    for (qsizetype i = 0; i < l.rows.size(); ++i)
        rtf += rtfRow({l.rows.at(i).first, l.rows.at(i).second}, {3150, 9360}, i == l.rows.size() - 1);
    rtf += QStringLiteral("\\pard\\par\r\n");
    const QList<int> edges = {1560, 3120, 4680, 6240, 7800, 9360};
    rtf += rtfRow(l.machineHead, edges, l.machineRows.isEmpty());
    for (qsizetype i = 0; i < l.machineRows.size(); ++i)
        rtf += rtfRow(l.machineRows.at(i), edges, i == l.machineRows.size() - 1);
    rtf += QStringLiteral("\\pard\\par\r\n}");
    return rtf.toLatin1();
}

}  // namespace tarlox
