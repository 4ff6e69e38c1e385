#pragma once

#include "base/IoResult.h"
#include "data/Records.h"
#include "output/OutputPreparation.h"
#include "output/PackLines.h"
#include "output/PdfWriter.h"
#include "output/SmtpSender.h"

#include <QDate>
#include <QImage>
#include <QList>
#include <QString>

#include <functional>

namespace tarlox {

class Session;

// A certificate pack: for each shipment line the report of its heat, each
// with the line's message block and the authorization stamp, behind a cover
// list, as one PDF with a bookmark per line.

// The references of a heat by the rules of Find (exact, unless the heat
// holds a wild card), newest first. The search subsystem answers it; the
// program and the command line hand it in.
using HeatLookup = std::function<IoResult<QList<InfoRow>>(const QString& heat)>;

// A report that can serve a line.
struct PackReport {
    qint32 image = 0;
    QString file;   // the file on this machine
    int pages = 0;  // 0 when the file can't be read
};

// A line of the plan with the reports of its heat.
struct PackEntry {
    enum class State { One, Several, None, Dropped };

    PackLine line;
    QList<PackReport> candidates;  // newest first, each image once
    int chosen = -1;               // index into candidates; -1 none
    bool dropped = false;          // the clerk took the line out of the pack
    bool picked = false;           // the clerk chose among several
    QString why;                   // why there is no report ("" when there is one)

    State state() const;
    // The chosen report, nullptr when the line has none or was dropped.
    const PackReport* report() const;
    // Ln#, or the place of the line in the list (from 1) when it has none.
    QString label(int index) const;
};

struct PackPlan {
    QString customer;
    QList<PackEntry> entries;
    // The distinct orders of the lines, joined with ", ".
    QString orders() const;
};

// The plan of the lines: each heat asked once; the newest report whose file
// can be read is chosen. Fails when the lookup fails.
IoResult<PackPlan> PlanPack(Session& session, const QList<PackLine>& lines, const HeatLookup& lookup);

// Where each line lands in the pack: pages from 1, 0 for a line not in it.
struct PackLayout {
    int coverPages = 1;
    QList<int> first;
    QList<int> last;
    int pageCount = 0;
};
PackLayout LayOutPack(const PackPlan& plan);

// The cover list, drawn on black-and-white letter pages at 200 dpi, its
// text laid invisibly over the drawing.
QList<PdfPage> CoverPages(const PackPlan& plan, const PackLayout& layout, const QDate& today, const QString& from);

// The message block of a line.
MessageFields PackFields(const PackPlan& plan, const PackEntry& entry, const QString& from);

// Called before each line (done of total); false stops the run.
using PackProgress = std::function<bool(int done, int total)>;

// The pages of the pack and its bookmarks, ready for WritePdf.
struct PackDocument {
    QList<PdfPage> pages;
    QList<PdfBookmark> outline;
    PackLayout layout;
};
// Prepares every chosen report once per line, with the message block
// whatever the settings say and the authorization as they say. A stopped
// run fails with kOutputCancelled.
IoResult<PackDocument> AssemblePack(const PackPlan& plan, const OutputSettings& settings, const QDate& today,
                                    const PackProgress& progress = {});
// AssemblePack and WritePdf: the pack at target, or no file at all.
IoStatus MakePack(const PackPlan& plan, const OutputSettings& settings, const QDate& today, const QString& target,
                  PdfOptions options = {}, const PackProgress& progress = {});

// The e-mail that carries a pack: the sender of section "Email", subject
// "Certificates for order ...", the pack attached.
MailMessage PackMessage(Session& session, const PackPlan& plan, const QString& toAddress, const QString& toName, const QString& pdf);

// The e-mail address of the first contact of the customer's company (without
// case); "" when there is none.
QString CustomerAddress(Session& session, const QString& customer);

}  // namespace tarlox
