#include "output/FaxControl.h"

#include <QFont>
#include <QFontMetricsF>
#include <QPagedPaintDevice>
#include <QPainter>

namespace tarlox {

namespace {

const QString DefaultColumns = QStringLiteral(
    "Company,20,Phone,14,From,15,Date,12,Time,7,Status,20,Retries,8,Pages,7,"
    "PagesSent,13,Fax ID,24,Speed,0,Resolution,0,Duration,0,HangupCode,0,"
    "Subject,0,ToName,0,RemoteID,0,Port,0,UserData,0,Priority,0,Queue,0,Comments,0");

QString StateText(const FaxJobInfo& job)
{
    switch (job.state) {
    case FaxState::Pending:
        return job.status.isEmpty() ? QStringLiteral("Waiting") : QStringLiteral("Waiting: ") + job.status;
    case FaxState::Sending:
        return QStringLiteral("Sending");
    case FaxState::Sent:
        return QStringLiteral("Sent");
    case FaxState::Failed:
        return job.status.isEmpty() ? QStringLiteral("Failed") : job.status;
    }
    return {};
}

}  // namespace

QString FaxViewTitle(FaxState view)
{
    switch (view) {
    case FaxState::Pending:
        return QStringLiteral("Tarlox Fax Control for Pending Faxes");
    case FaxState::Sending:
        return QStringLiteral("Tarlox Fax Control for Faxes Currently Being Sent");
    case FaxState::Sent:
        return QStringLiteral("Tarlox Fax Control for Faxes Already Sent");
    case FaxState::Failed:
        return QStringLiteral("Tarlox Fax Control for Failed Faxes");
    }
    return {};
}

QString FaxViewName(FaxState view)
{
    static const char* const names[] = {"pending", "sending", "sent", "failed"};
    return QLatin1String(names[int(view)]);
}

std::optional<FaxState> FaxViewFromName(const QString& name)
{
    for (int i = 0; i < FaxViewCount; ++i) {
        if (FaxViewName(FaxState(i)) == name.trimmed().toLower())
            return FaxState(i);
    }
    return std::nullopt;
}

QList<FaxColumn> DefaultControlColumns()
{
    return ReadControlColumns(DefaultColumns);
}

QList<FaxColumn> ReadControlColumns(const QString& text)
{
    const QStringList parts = text.split(QLatin1Char(','));
    if (parts.size() != 2 * FaxColumnCount)
        return text == DefaultColumns ? QList<FaxColumn>{} : DefaultControlColumns();
    QList<FaxColumn> columns;
    for (int i = 0; i < FaxColumnCount; ++i) {
        bool ok = false;
        const int width = parts[2 * i + 1].trimmed().toInt(&ok);
        if (!ok || width < 0 || parts[2 * i].trimmed().isEmpty())
            return text == DefaultColumns ? QList<FaxColumn>{} : DefaultControlColumns();
        columns.append({parts[2 * i].trimmed(), width});
    }
    return columns;
}

QString WriteControlColumns(const QList<FaxColumn>& columns)
{
    QStringList parts;
    for (const FaxColumn& column : columns)
        parts << column.name << QString::number(column.width);
    return parts.join(QLatin1Char(','));
}

QString FaxColumnValue(const FaxJobInfo& job, const QString& column)
{
    const QDateTime when = job.sendTime.toLocalTime();
    const QString c = column.toLower();
    if (c == QLatin1String("company"))
        return job.toCompany;
    if (c == QLatin1String("phone"))
        return job.number;
    if (c == QLatin1String("from"))
        return job.fromName;
    if (c == QLatin1String("date"))
        return when.isValid() ? when.toString(QStringLiteral("MM/dd/yyyy")) : QString();
    if (c == QLatin1String("time"))
        return when.isValid() ? when.toString(QStringLiteral("hh:mm")) : QString();
    if (c == QLatin1String("status"))
        return StateText(job);
    if (c == QLatin1String("retries"))
        return QStringLiteral("%1/%2").arg(job.tries).arg(job.maxTries);
    if (c == QLatin1String("pages"))
        return QString::number(job.pages);
    if (c == QLatin1String("pagessent"))
        return QString::number(job.pagesSent);
    if (c == QLatin1String("fax id"))
        return job.id;
    if (c == QLatin1String("speed"))
        return job.signallingRate > 0 ? QString::number(job.signallingRate) : QString();
    if (c == QLatin1String("resolution"))
        return job.resolution > 0 ? QString::number(job.resolution) : QString();
    if (c == QLatin1String("subject"))
        return job.subject;
    if (c == QLatin1String("toname"))
        return job.toName;
    if (c == QLatin1String("port"))
        return job.modem;
    if (c == QLatin1String("userdata"))
        return job.tag;
    if (c == QLatin1String("priority"))
        return QString::number(job.priority);
    if (c == QLatin1String("queue"))
        return job.state == FaxState::Sent || job.state == FaxState::Failed ? QStringLiteral("doneq") : QStringLiteral("sendq");
    if (c == QLatin1String("comments"))
        return job.message;
    return {};  // Duration, HangupCode, RemoteID: HylaFAX keeps them in its log only
}

QList<std::pair<int, QString>> FaxLogLine(const FaxJobInfo* job)
{
    if (!job) {
        return {{1, QStringLiteral("Company")}, {40, QStringLiteral("To")},    {60, QStringLiteral("Phone")},
                {80, QStringLiteral("Remote ID")}, {100, QStringLiteral("From")}, {120, QStringLiteral("Date")},
                {129, QStringLiteral("Time")},   {137, QStringLiteral("Pgs")},  {144, QStringLiteral("Snt")}};
    }
    return {{1, job->toCompany.left(27)},
            {40, job->toName.left(18)},
            {60, job->number},
            {80, FaxColumnValue(*job, QStringLiteral("RemoteID")).left(18)},
            {100, job->fromName.left(10)},
            {120, FaxColumnValue(*job, QStringLiteral("Date"))},
            {129, FaxColumnValue(*job, QStringLiteral("Time"))},
            {137, QString::number(job->pages)},
            {144, QString::number(job->pagesSent)}};
}

int PrintFaxLog(QPagedPaintDevice& device, const QList<FaxJobInfo>& jobs)
{
    QPainter painter(&device);
    if (!painter.isActive())
        return 0;
    // 150 character columns across the printable width; the lines of a page
    // are the heading lines and 46 rows.
    const QRectF area(0, 0, device.width(), device.height());
    const qreal column = area.width() / 150.0;
    const qreal line = area.height() / (FaxLogRowsPerPage + 4);
    QFont font(QStringLiteral("Arial"));
    font.setPixelSize(std::max(1, int(line * 0.7)));
    painter.setFont(font);
    const auto print = [&](const QList<std::pair<int, QString>>& parts, qreal y) {
        for (const auto& [at, text] : parts)
            painter.drawText(QPointF((at - 1) * column, y), text);
    };
    int pages = 0;
    qreal y = 0;
    for (int row = 0; row < jobs.size() || row == 0; ++row) {
        if (row % FaxLogRowsPerPage == 0) {
            // PrintHeader
            if (pages > 0)
                device.newPage();
            ++pages;
            y = line;
            print({{1, QStringLiteral("Page: %1").arg(pages)}}, y);
            y += 2 * line;
            font.setBold(true);
            painter.setFont(font);
            print(FaxLogLine(nullptr), y);
            font.setBold(false);
            painter.setFont(font);
            y += line;
        }
        if (row < jobs.size())
            print(FaxLogLine(&jobs[row]), y += line);
    }
    painter.end();
    return pages;
}

}  // namespace tarlox
