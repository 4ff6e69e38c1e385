#include "output/Pack.h"

#include "base/FileTools.h"
#include "base/TextTools.h"
#include "data/ContactData.h"
#include "data/Session.h"
#include "data/Settings.h"
#include "output/MailSettings.h"
#include "output/SelectImage.h"
#include "store/DriveMap.h"
#include "store/ImageFiles.h"
#include "store/PageImage.h"

#include <QFontMetrics>
#include <QHash>
#include <QPainter>

namespace tarlox {

namespace {

// The cover list on letter paper at 200 dpi: rows of 40 px between margins
// of 150 px, the last row of a page its page number.
constexpr int kCoverDpi = 200;
constexpr int kCoverWidth = 1700;
constexpr int kCoverHeight = 2200;
constexpr int kMargin = 150;
constexpr int kRowHeight = 40;
constexpr int kRowsPerPage = (kCoverHeight - 2 * kMargin) / kRowHeight - 2;

const QString kNoReport = QStringLiteral("No report of this heat");
const QString kNoFile = QStringLiteral("The report's file can't be read");
const QString kNoHeat = QStringLiteral("The line has no heat");

// One row of the cover list: a title, a heading, a row of columns or nothing.
struct CoverRow {
    enum class Kind { Blank, Title, Text, Heading, Columns } kind = Kind::Blank;
    QStringList cells;
};

// Left edges of the columns, from the left margin.
constexpr int kColumns[] = {0, 120, 320, 560, 840, 1120, 1260};

QList<CoverRow> CoverRows(const PackPlan& plan, const PackLayout& layout, const QDate& today, const QString& from)
{
    using Kind = CoverRow::Kind;
    QList<CoverRow> rows;
    rows << CoverRow{Kind::Title, {QStringLiteral("Certificate Pack")}} << CoverRow{};
    if (!from.isEmpty())
        rows << CoverRow{Kind::Text, {QStringLiteral("From: ") + from}};
    rows << CoverRow{Kind::Text, {QStringLiteral("Customer: ") + plan.customer}}
         << CoverRow{Kind::Text, {QStringLiteral("Order: ") + plan.orders()}}
         << CoverRow{Kind::Text, {QStringLiteral("Date: ") + FormatShortDate(today)}} << CoverRow{};
    rows << CoverRow{Kind::Heading, {QStringLiteral("Ln#"), QStringLiteral("SO#"), QStringLiteral("Customer PO#"), QStringLiteral("Part"),
                                     QStringLiteral("Heat"), QStringLiteral("Image #"), QStringLiteral("Pages")}};
    QList<int> missing;
    for (qsizetype i = 0; i < plan.entries.size(); ++i) {
        const PackEntry& e = plan.entries[i];
        if (e.dropped)
            continue;
        const PackReport* report = e.report();
        if (!report) {
            missing << int(i);
            continue;
        }
        const QString pages = layout.first[i] == layout.last[i] ? QString::number(layout.first[i])
                                                                : QStringLiteral("%1-%2").arg(layout.first[i]).arg(layout.last[i]);
        rows << CoverRow{Kind::Columns, {e.label(int(i)), e.line.order, e.line.custPO, e.line.part, e.line.heat,
                                         QString::number(report->image), pages}};
    }
    if (!missing.isEmpty()) {
        rows << CoverRow{} << CoverRow{Kind::Title, {QStringLiteral("Lines without a certificate")}}
             << CoverRow{Kind::Heading, {QStringLiteral("Ln#"), QStringLiteral("SO#"), QStringLiteral("Customer PO#"), QStringLiteral("Part"),
                                         QStringLiteral("Heat"), QStringLiteral("Why")}};
        for (int i : missing) {
            const PackEntry& e = plan.entries[i];
            rows << CoverRow{Kind::Columns, {e.label(i), e.line.order, e.line.custPO, e.line.part, e.line.heat, e.why}};
        }
    }
    return rows;
}

QFont CoverFont(int pixels, bool bold)
{
    QFont font(QStringLiteral("Liberation Sans"));
    font.setPixelSize(pixels);
    font.setBold(bold);
    font.setStyleStrategy(QFont::NoAntialias);
    return font;
}

// One page of the cover list: the rows drawn, and the same text laid over
// them, so that the list can be searched and read back.
PdfPage DrawCoverPage(const QList<CoverRow>& rows, int page, int pageCount)
{
    using Kind = CoverRow::Kind;
    QImage canvas(kCoverWidth, kCoverHeight, QImage::Format_RGB32);
    canvas.fill(Qt::white);
    QList<PdfTextRun> text;
    {
        QPainter painter(&canvas);
        painter.setPen(Qt::black);
        const auto draw = [&](const QRect& box, int flags, const QString& value) {
            const QFontMetrics metrics(painter.font());
            const QString shown = metrics.elidedText(value, Qt::ElideRight, box.width());
            QRect used;
            painter.drawText(box, flags | Qt::AlignVCenter, shown, &used);
            if (!shown.isEmpty())
                text << PdfTextRun{shown, double(used.left()), double(used.top() + metrics.ascent()), double(painter.font().pixelSize())};
        };
        const int width = kCoverWidth - 2 * kMargin;
        for (int r = 0; r < kRowsPerPage && page * kRowsPerPage + r < rows.size(); ++r) {
            const CoverRow& row = rows[page * kRowsPerPage + r];
            const int y = kMargin + r * kRowHeight;
            if (row.kind == Kind::Columns || row.kind == Kind::Heading) {
                painter.setFont(CoverFont(28, row.kind == Kind::Heading));
                for (qsizetype c = 0; c < row.cells.size() && c < qsizetype(std::size(kColumns)); ++c) {
                    // The last cell may run to the margin ("Why").
                    const int right = c + 1 < qsizetype(std::size(kColumns)) && c + 1 < row.cells.size() ? kColumns[c + 1] - 16 : width;
                    draw(QRect(kMargin + kColumns[c], y, right - kColumns[c], kRowHeight), Qt::AlignLeft, row.cells[c]);
                }
                if (row.kind == Kind::Heading)
                    painter.fillRect(kMargin, y + kRowHeight - 4, width, 3, Qt::black);
            } else if (row.kind != Kind::Blank) {
                painter.setFont(CoverFont(row.kind == Kind::Title ? 40 : 30, row.kind == Kind::Title));
                draw(QRect(kMargin, y, width, kRowHeight), Qt::AlignLeft, row.cells.value(0));
            }
        }
        painter.setFont(CoverFont(24, false));
        draw(QRect(kMargin, kCoverHeight - kMargin, width, kRowHeight), Qt::AlignRight,
             QStringLiteral("Page %1 of %2").arg(page + 1).arg(pageCount));
    }
    QImage mono = canvas.convertToFormat(QImage::Format_Mono, Qt::MonoOnly | Qt::ThresholdDither);
    SetDpi(mono, Dpi{double(kCoverDpi), double(kCoverDpi)});
    PdfPage cover = PdfPage::fromImage(mono);
    cover.text = text;
    return cover;
}

int CoverPageCount(int rows)
{
    return std::max(1, (rows + kRowsPerPage - 1) / kRowsPerPage);
}

}  // namespace

PackEntry::State PackEntry::state() const
{
    if (dropped)
        return State::Dropped;
    if (!report())
        return State::None;
    int readable = 0;
    for (const PackReport& r : candidates)
        readable += r.pages > 0 ? 1 : 0;
    return readable > 1 ? State::Several : State::One;
}

const PackReport* PackEntry::report() const
{
    if (dropped || chosen < 0 || chosen >= candidates.size() || candidates[chosen].pages <= 0)
        return nullptr;
    return &candidates[chosen];
}

QString PackEntry::label(int index) const
{
    return line.line.isEmpty() ? QString::number(index + 1) : line.line;
}

QString PackPlan::orders() const
{
    QStringList seen;
    for (const PackEntry& e : entries)
        if (!e.line.order.isEmpty() && !seen.contains(e.line.order))
            seen << e.line.order;
    return seen.join(QStringLiteral(", "));
}

IoResult<PackPlan> PlanPack(Session& s, const QList<PackLine>& lines, const HeatLookup& lookup)
{
    s.traceCall(QStringLiteral("PlanPack"), {QString::number(lines.size())});
    QHash<QString, QList<PackReport>> byHeat;
    PackPlan plan;
    for (const PackLine& line : lines) {
        PackEntry entry;
        entry.line = line;
        const QString heat = line.heat.trimmed();
        if (heat.isEmpty()) {
            entry.why = kNoHeat;
            plan.entries << entry;
            continue;
        }
        if (!byHeat.contains(heat)) {
            IoResult<QList<InfoRow>> found = lookup(heat);
            if (!found)
                return found.failure();
            QList<PackReport> reports;
            QList<qint32> images;
            for (const InfoRow& row : *found) {
                if (images.contains(row.imageNumber))
                    continue;
                images << row.imageNumber;
                PackReport report;
                report.image = row.imageNumber;
                report.file = JoinPath(ApplyDriveMap(s.drvMap, row.path, MapDirection::ToLocal).path, ImageFileNameFor(row.imageNumber));
                report.pages = GetPages(report.file);
                reports << report;
            }
            byHeat.insert(heat, reports);
        }
        entry.candidates = byHeat.value(heat);
        for (qsizetype i = 0; i < entry.candidates.size() && entry.chosen < 0; ++i)
            if (entry.candidates[i].pages > 0)
                entry.chosen = int(i);
        if (entry.chosen < 0)
            entry.why = entry.candidates.isEmpty() ? kNoReport : kNoFile;
        plan.entries << entry;
    }
    return plan;
}

PackLayout LayOutPack(const PackPlan& plan)
{
    PackLayout layout;
    layout.coverPages = CoverPageCount(int(CoverRows(plan, PackLayout{1, QList<int>(plan.entries.size()), QList<int>(plan.entries.size()), 0},
                                                     QDate(), QStringLiteral("x"))
                                               .size()));
    int next = layout.coverPages + 1;
    for (const PackEntry& e : plan.entries) {
        const PackReport* report = e.report();
        layout.first << (report ? next : 0);
        if (report)
            next += report->pages;
        layout.last << (report ? next - 1 : 0);
    }
    layout.pageCount = next - 1;
    return layout;
}

QList<PdfPage> CoverPages(const PackPlan& plan, const PackLayout& layout, const QDate& today, const QString& from)
{
    const QList<CoverRow> rows = CoverRows(plan, layout, today, from);
    const int count = CoverPageCount(int(rows.size()));
    QList<PdfPage> pages;
    for (int page = 0; page < count; ++page)
        pages << DrawCoverPage(rows, page, count);
    return pages;
}

MessageFields PackFields(const PackPlan& plan, const PackEntry& entry, const QString& from)
{
    MessageFields fields;
    fields.from = from;
    fields.to = plan.customer;
    fields.order = entry.line.order;
    fields.lineNum = entry.line.line;
    fields.custPO = entry.line.custPO;
    fields.part = entry.line.part;
    fields.partDesc = entry.line.description;
    fields.quantity = entry.line.quantity;
    fields.heat = entry.line.heat;
    fields.tag = entry.line.tag;
    return fields;
}

IoResult<PackDocument> AssemblePack(const PackPlan& plan, const OutputSettings& settings, const QDate& today, const PackProgress& progress)
{
    PackDocument document;
    document.layout = LayOutPack(plan);
    OutputSettings withMessage = settings;
    withMessage.addMessage = true;
    const int total = int(plan.entries.size());
    document.pages << CoverPages(plan, document.layout, today, settings.from);
    for (int i = 0; i < total; ++i) {
        if (progress && !progress(i, total))
            return Failure(kOutputCancelled);
        const PackEntry& entry = plan.entries[i];
        const PackReport* report = entry.report();
        if (!report)
            continue;
        IoResult<QList<PdfPage>> pages =
            PreparePages(report->file, QStringLiteral("All"), withMessage, PackFields(plan, entry, settings.from), today);
        if (!pages)
            return Failure(QStringLiteral("Ln# %1 (image %2): %3").arg(entry.label(i)).arg(report->image).arg(pages.error()));
        document.outline << PdfBookmark{QStringLiteral("Ln# %1  Heat %2  Image %3").arg(entry.label(i), entry.line.heat).arg(report->image),
                                        int(document.pages.size())};
        document.pages << *pages;
    }
    if (progress && !progress(total, total))
        return Failure(kOutputCancelled);
    return document;
}

IoStatus MakePack(const PackPlan& plan, const OutputSettings& settings, const QDate& today, const QString& target, PdfOptions options,
                  const PackProgress& progress)
{
    IoResult<PackDocument> document = AssemblePack(plan, settings, today, progress);
    if (!document)
        return document.failure();
    options.outline = document->outline;
    if (options.title.isEmpty())
        options.title = QStringLiteral("Certificate Pack %1").arg(plan.orders()).trimmed();
    return WritePdf(target, document->pages, options);
}

MailMessage PackMessage(Session& s, const PackPlan& plan, const QString& toAddress, const QString& toName, const QString& pdf)
{
    MailMessage message;
    message.fromAddress = GetLocal(s, email::Section, email::FromAddress).trimmed();
    message.fromName = GetLocal(s, email::Section, email::FromName);
    message.toAddress = toAddress;
    message.toName = toName;
    const QString orders = plan.orders();
    message.subject = orders.isEmpty() ? QStringLiteral("Certificates") : QStringLiteral("Certificates for order ") + orders;
    message.body = QStringLiteral("Attached are the material test reports of the lines shipped");
    message.body += orders.isEmpty() ? QStringLiteral(".") : QStringLiteral(" on order ") + orders + QLatin1Char('.');
    message.files << pdf;
    return message;
}

QString CustomerAddress(Session& s, const QString& customer)
{
    QStringList lines;
    if (customer.trimmed().isEmpty() || !LoadContacts(s, lines, false))
        return {};
    for (const QString& line : std::as_const(lines)) {
        const QStringList parts = line.split(QLatin1Char('\t'));
        if (parts.size() < 3 || parts[2].trimmed().compare(customer.trimmed(), Qt::CaseInsensitive) != 0)
            continue;
        s.contact = ContactRecord{};
        s.contact.firstName = parts[0];
        s.contact.lastName = parts[1];
        s.contact.companyName = parts[2];
        if (ReadContact(s) && !s.contact.email.trimmed().isEmpty())
            return s.contact.email.trimmed();
    }
    return {};
}

}  // namespace tarlox
