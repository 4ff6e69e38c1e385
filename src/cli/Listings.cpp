#include "cli/Command.h"
#include "cli/Criteria.h"
#include "cli/Values.h"

#include "search/Listing.h"
#include "search/MassUpdate.h"

#include <cstdio>

namespace tarlox::cli {

namespace {

QList<QCommandLineOption> dateOptions(const QString& what)
{
    return {{QStringLiteral("from"), what + QStringLiteral(" entered on or after DATE (month/day/year or yyyy-mm-dd)"), QStringLiteral("DATE")},
            {QStringLiteral("to"), what + QStringLiteral(" entered on or before DATE, through its whole day"), QStringLiteral("DATE")}};
}

const char* const FieldNames[] = {"heat", "part", "po", "vendor", "mfg"};

void writeOut(const QString& text)
{
    const QByteArray bytes = text.toUtf8();
    std::fwrite(bytes.constData(), 1, static_cast<size_t>(bytes.size()), stdout);
}

// The entry listing as PDF or as text pages.
class ListCommand : public Command {
public:
    QString name() const override { return QStringLiteral("list"); }
    QString summary() const override { return QStringLiteral("the entry listing grouped by one field, as PDF or as text pages"); }

    QList<QCommandLineOption> options() const override
    {
        QList<QCommandLineOption> options{
            {QStringLiteral("sort"), QStringLiteral("group by heat, part, po, vendor, mfg or date (default)"), QStringLiteral("FIELD")}};
        for (const char* field : FieldNames) {
            const QString f = QLatin1String(field);
            options << QCommandLineOption(QStringLiteral("from-") + f, QStringLiteral("lowest ") + f + QStringLiteral(" (any case)"), QStringLiteral("V"))
                    << QCommandLineOption(QStringLiteral("to-") + f, QStringLiteral("highest ") + f + QStringLiteral(" (any case)"), QStringLiteral("V"));
        }
        options << dateOptions(QStringLiteral("references"));
        options << QCommandLineOption(QStringLiteral("pdf"), QStringLiteral("write the listing to OUT as PDF"), QStringLiteral("OUT"))
                << QCommandLineOption(QStringLiteral("text"), QStringLiteral("print the listing's pages as text, a form feed between pages"));
        return options;
    }

    QString read(const QCommandLineParser& p) override
    {
        if (!p.positionalArguments().isEmpty())
            return QStringLiteral("unexpected argument ") + p.positionalArguments().first();
        const QString sort = p.value(QStringLiteral("sort")).toLower();
        const QStringList sorts{QStringLiteral("heat"), QStringLiteral("part"), QStringLiteral("po"), QStringLiteral("vendor"), QStringLiteral("mfg"),
                                QStringLiteral("date")};
        if (!sort.isEmpty() && !sorts.contains(sort))
            return QStringLiteral("--sort takes heat, part, po, vendor, mfg or date, not \"") + sort + QLatin1Char('"');
        request_.sort = sort.isEmpty() ? ListingSort::Date : static_cast<ListingSort>(sorts.indexOf(sort));
        ListingRange* ranges[] = {&request_.heat, &request_.part, &request_.po, &request_.vend, &request_.mfg};
        for (int i = 0; i < 5; ++i) {
            ranges[i]->from = p.value(QStringLiteral("from-") + QLatin1String(FieldNames[i]));
            ranges[i]->to = p.value(QStringLiteral("to-") + QLatin1String(FieldNames[i]));
        }
        pdf_ = p.value(QStringLiteral("pdf"));
        text_ = p.isSet(QStringLiteral("text"));
        if (pdf_.isEmpty() == !text_)
            return QStringLiteral("give either --pdf OUT or --text");
        return ReadDateRange(p, request_.fromDate, request_.toDate);
    }

    int run(Session& s) override
    {
        if (!pdf_.isEmpty()) {
            qint64 pages = 0;
            const QString error = WriteListingPdf(s, request_, pdf_, &pages);
            if (!error.isEmpty())
                return fail(error);
            printLine(QStringLiteral("%1 pages written to %2").arg(pages).arg(pdf_));
            return Success;
        }
        const ListingTitles titles = ReadListingTitles(s);
        const QString title = ListingTitle(request_.sort, titles);
        ListingPager pager(s, request_, ListingLayout().linesPerPage());
        bool any = false;
        while (auto page = pager.nextPage()) {
            writeOut((any ? QStringLiteral("\f") : QString()) + ListingPageText(title, titles, *page));
            any = true;
        }
        if (!pager.error().isEmpty())
            return fail(pager.error());
        if (!any)
            writeOut(ListingPageText(title, titles, ListingPage{1, {ListingLine{ListingLine::Kind::Total, {}, {}, 0}}}));
        return Success;
    }

private:
    ListingRequest request_;
    QString pdf_;
    bool text_ = false;
};

// The references of a date range as a CSV file.
class AsciiCommand : public Command {
public:
    QString name() const override { return QStringLiteral("ascii"); }
    QString summary() const override { return QStringLiteral("write the references of a date range to a CSV file (UTF-8, header row)"); }
    QString arguments() const override { return QStringLiteral("OUT"); }
    QList<QCommandLineOption> options() const override { return dateOptions(QStringLiteral("references")); }

    QString read(const QCommandLineParser& p) override
    {
        if (p.positionalArguments().size() != 1)
            return QStringLiteral("give the file to write, once");
        out_ = p.positionalArguments().front();
        return ReadDateRange(p, request_.fromDate, request_.toDate);
    }

    int run(Session& s) override
    {
        qint64 rows = 0;
        const QString error = WriteListingCsv(s, request_, out_, &rows);
        if (!error.isEmpty())
            return fail(error);
        printLine(QStringLiteral("%1 references written to %2").arg(rows).arg(out_));
        return Success;
    }

private:
    ListingRequest request_;
    QString out_;
};

// Old-to-new pairs of one field over all references.
class UpdateCommand : public Command {
public:
    QString name() const override { return QStringLiteral("update"); }
    QString summary() const override
    {
        return QStringLiteral("replace values of one field in all references by old-to-new pairs, in one transaction");
    }
    QString arguments() const override { return QStringLiteral("heat|part|po|vendor|mfg"); }
    QList<QCommandLineOption> options() const override
    {
        return {{QStringLiteral("pair"), QStringLiteral("change OLD to NEW: --pair OLD NEW; repeat for more, applied in order"), QStringLiteral("OLD NEW")},
                {QStringLiteral("csv"), QStringLiteral("read the pairs from FILE: old and new value after each other, comma-separated"),
                 QStringLiteral("FILE")},
                {QStringLiteral("check"), QStringLiteral("only print for each pair the references and images with the old value and those with the new")},
                {QStringLiteral("rewrite-tags"),
                 QStringLiteral("afterwards write the changed references into the heat/part/P/O/vendor/manufacturer tags of the image files they touched")}};
    }

    QString read(const QCommandLineParser& p) override
    {
        QStringList args = p.positionalArguments();
        const QStringList fields{QStringLiteral("heat"), QStringLiteral("part"), QStringLiteral("po"), QStringLiteral("vendor"), QStringLiteral("mfg")};
        if (args.isEmpty() || !fields.contains(args.front().toLower()))
            return QStringLiteral("name the field first: heat, part, po, vendor or mfg");
        field_ = static_cast<UpdateField>(fields.indexOf(args.takeFirst().toLower()));
        const QStringList olds = p.values(QStringLiteral("pair"));
        csv_ = p.value(QStringLiteral("csv"));
        if (olds.isEmpty() == csv_.isEmpty())
            return QStringLiteral("give either --pair OLD NEW (one or more) or --csv FILE");
        if (olds.size() != args.size())
            return QStringLiteral("each --pair takes two values, OLD and NEW");
        for (qsizetype i = 0; i < olds.size(); ++i)
            pairs_ << UpdatePair{olds[i], args[i]};
        check_ = p.isSet(QStringLiteral("check"));
        rewriteTags_ = p.isSet(QStringLiteral("rewrite-tags"));
        return {};
    }

    int run(Session& s) override
    {
        if (!csv_.isEmpty()) {
            auto read = ReadUpdatePairs(csv_);
            if (!read)
                return fail(read.error());
            pairs_ = std::move(read).value();
        }
        if (check_) {
            const auto counts = CountPairs(s, field_, pairs_);
            if (!counts)
                return fail(QStringLiteral("the references could not be counted"));
            for (qsizetype i = 0; i < pairs_.size(); ++i)
                printLine(QStringLiteral("\"%1\" -> \"%2\": %3 references on %4 images; %5 hold the new value")
                              .arg(pairs_[i].oldValue, pairs_[i].newValue)
                              .arg((*counts)[i].oldRows)
                              .arg((*counts)[i].oldImages)
                              .arg((*counts)[i].newRows));
            return Success;
        }
        const QList<qint32> touched = rewriteTags_ ? ImagesOfPairs(s, field_, pairs_) : QList<qint32>();
        const UpdateOutcome outcome = UpdatePairs(s, field_, pairs_);
        if (!outcome)
            return fail(outcome.refusal);
        for (qsizetype i = 0; i < pairs_.size(); ++i)
            printLine(QStringLiteral("\"%1\" -> \"%2\": %3 references changed").arg(pairs_[i].oldValue, pairs_[i].newValue).arg(outcome.changed[i]));
        if (!rewriteTags_)
            return Success;
        const TagRewriteSummary tags = RewriteImageTags(s, touched);
        printLine(QStringLiteral("%1 of %2 image files given the new tags, %3 skipped").arg(tags.done).arg(tags.total).arg(tags.skipped.size()));
        for (const QString& line : tags.skipped)
            printLine(QStringLiteral("  skipped: ") + line);
        return tags.skipped.isEmpty() ? Success : Failure;
    }

private:
    UpdateField field_ = UpdateField::Heat;
    QList<UpdatePair> pairs_;
    QString csv_;
    bool check_ = false;
    bool rewriteTags_ = false;
};

}  // namespace

std::unique_ptr<Command> makeListCommand() { return std::make_unique<ListCommand>(); }
std::unique_ptr<Command> makeAsciiCommand() { return std::make_unique<AsciiCommand>(); }
std::unique_ptr<Command> makeUpdateCommand() { return std::make_unique<UpdateCommand>(); }

}  // namespace tarlox::cli
