#include "exchange/Exchange.h"

#include "base/FileTools.h"
#include "base/Prompter.h"
#include "base/TextTools.h"
#include "base/VolumeName.h"
#include "data/DataOp.h"
#include "data/Dialect.h"
#include "data/ImageData.h"
#include "data/InfoData.h"
#include "data/Session.h"
#include "exchange/ExportFile.h"
#include "store/FileReplacement.h"
#include "store/ImageFiles.h"
#include "store/OffThread.h"
#include "store/DurableWrite.h"
#include "store/TiffReader.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QSet>

#include <cmath>
#include <memory>
#include <optional>
#include <vector>

namespace tarlox {

namespace {

const QString NewLine = QStringLiteral("\r\n");

QString sixDigitName(const QString& prefix, qint64 number) { return prefix + ImageFileNameFor(number).mid(2); }

// Whether two paths name the same file: the same name without case in the
// same directory, the directories the same text without case or the same
// directory on disk. A run asks for every image, so each directory is
// looked up on disk once.
class SameFile {
public:
    bool operator()(const QString& a, const QString& b)
    {
        const QFileInfo fa(a), fb(b);
        if (fa.fileName().compare(fb.fileName(), Qt::CaseInsensitive) != 0)
            return false;
        const QString da = fa.absolutePath(), db = fb.absolutePath();
        if (da.compare(db, Qt::CaseInsensitive) == 0)
            return true;
        const QString ca = canonical(da);
        return !ca.isEmpty() && ca == canonical(db);
    }

private:
    QString canonical(const QString& directory)
    {
        auto found = directories_.constFind(directory);
        if (found == directories_.constEnd())
            found = directories_.insert(directory, QFileInfo(directory).canonicalFilePath());
        return *found;
    }
    QHash<QString, QString> directories_;
};


// One run: the counts, the Cancel check, the missing-file box and its
// ignore flag, and the one message of a copy that failed.
class Run {
public:
    Run(Session& session, const ExchangeProgressFn& progress, Missing missing, QString verb)
        : s(session), progress_(progress), missing_(missing), verb_(std::move(verb))
    {
    }

    // Before an image: false when the person cancelled.
    bool next(const QString& file)
    {
        if (progress_ && !progress_(ExchangeProgress{summary.done + int(summary.skipped.size()), summary.total, file})) {
            summary.cancelled = true;
            return false;
        }
        return true;
    }
    void finished() { ++summary.done; }
    void skip(const QString& line) { summary.skipped << line; }
    // A source file is missing: reported, and put to the person unless
    // ignored. False when the person chose Abort.
    bool missing(const QString& path)
    {
        skip(path + QStringLiteral(" does not exist"));
        if (missing_ != Missing::Ask || ignore_)
            return true;
        const Answer answer = s.prompter().ask(
            QStringLiteral("File does not exist!"),
            QStringLiteral("Warning: ") + path + QStringLiteral(" does not exist!") + NewLine + QStringLiteral("Click:") + NewLine
                + QStringLiteral("  'RETRY' to try to ") + verb_ + QStringLiteral(" rest of files") + NewLine
                + QStringLiteral("  'IGNORE' to ignore any more errors") + NewLine + QStringLiteral("  'ABORT' to stop"),
            Buttons::AbortRetryIgnore, Icon::Critical);
        if (answer == Answer::Abort) {
            summary.stopped = QStringLiteral("stopped at ") + path;
            return false;
        }
        ignore_ = ignore_ || answer == Answer::Ignore;
        return true;
    }
    // A copy failed (a full disk): the run ends here.
    void copyFailed(const QString& error)
    {
        summary.stopped = error;
        if (missing_ == Missing::Ask)
            s.prompter().ask(QStringLiteral("Error moving file!"),
                             QStringLiteral("Error: ") + error + NewLine + QStringLiteral("The remaining files cannot be copied to the disk."),
                             Buttons::Ok, Icon::Critical);
    }

    Session& s;
    ExchangeSummary summary;

private:
    const ExchangeProgressFn& progress_;
    Missing missing_;
    QString verb_;
    bool ignore_ = false;
};

// Images gathered into groups so that their files reach the disk together.
// A full group is sent off the calling thread to be put in place: its files
// copied under work names beside their targets, one flush of the file
// system making all of them durable, renamed into place and their
// directories flushed. Meanwhile the next group is gathered; when that one
// is sent, the rows of the group before are added while its files are
// copied (for an import or a move all in one transaction, image by image
// when that fails). An image still goes in whole or not at all: one whose rows fail
// loses its files again; a copy that fails (a full disk) ends the run after
// the images before it, and when the flush fails the whole group is taken
// away and each image reported.
class ImageGroup {
public:
    static constexpr int MaxImages = 64;
    static constexpr qint64 MaxBytes = qint64(64) << 20;

    // Adds an image's rows, within op's transaction when op is given; the
    // error, empty when they were added.
    using Rows = std::function<QString(DataOp* op)>;
    // After an image's rows were added: what is left to report, empty when nothing.
    using After = std::function<QString()>;

    ImageGroup(Run& run, FileReplacement::Existing existing, bool oneTransaction, QString procedure = QStringLiteral("ImportImages"))
        : run_(run), existing_(existing), oneTransaction_(oneTransaction), procedure_(std::move(procedure))
    {
    }
    ~ImageGroup()
    {
        if (sent_) {  // a run that ended without finish(): nothing of the group stays
            sent_->done.waitForFinished();
            sent_->takeAway();
        }
    }

    // A file of the image being gathered, copied when the group is put in place.
    void copy(const QString& source, const QString& target)
    {
        current_.copies << std::pair{source, target};
        current_.bytes += QFileInfo(source).size();
        gathering_.targets.insert(target.toCaseFolded());
    }
    // Closes the image being gathered; the group is sent when it is full.
    void add(const QString& label, Rows rows, After after = {})
    {
        current_.label = label;
        current_.rows = std::move(rows);
        current_.after = std::move(after);
        gathering_.bytes += current_.bytes;
        gathering_.images.push_back(std::move(current_));
        current_ = Image{};
        if (int(gathering_.images.size()) >= MaxImages || gathering_.bytes >= MaxBytes)
            flush();
    }
    // Whether an image gathered or on its way goes to target (by name;
    // another name of the same file is caught when the files are put in place).
    bool holds(const QString& target) const
    {
        const QString key = target.toCaseFolded();
        return gathering_.targets.contains(key) || (sent_ && sent_->targets.contains(key));
    }
    // After the rows of a whole group were added (the export file written):
    // an error takes the group away again and ends the run.
    std::function<QString()> afterRows;

    // Puts every image in place and adds its rows. False when the run ended early.
    bool finish() { return flush() && flush(); }

private:
    struct Image {
        QString label;
        QList<std::pair<QString, QString>> copies;  // source, target
        qint64 bytes = 0;
        Rows rows;
        After after;
        bool copied = false;
        std::vector<FileReplacement> files;
        QStringList placed;  // new files under their names
        QString error;
    };
    struct Group {
        std::vector<Image> images;
        QSet<QString> targets;
        qint64 bytes = 0;
        QString copyError, flushError;
        QFuture<void> done;
        void takeAway()
        {
            for (const Image& image : images)
                for (const QString& path : image.placed)
                    QFile::remove(path);
        }
    };

    // Waits for the group sent before, sends the gathered one (unless the
    // one before failed to copy) and adds the rows of the one before. False
    // when the run has to end.
    bool flush()
    {
        std::unique_ptr<Group> previous = std::move(sent_);
        if (previous)
            WaitOffThread(previous->done);
        const bool sendNext = !previous || (previous->copyError.isEmpty() && previous->flushError.isEmpty());
        if (sendNext && !gathering_.images.empty()) {
            sent_ = std::make_unique<Group>(std::exchange(gathering_, Group{}));
            Group* group = sent_.get();
            sent_->done = StartOffThread([group, existing = existing_] { putInPlace(*group, existing); });
        }
        gathering_ = Group{};
        if (!previous || settle(*previous))
            return true;
        if (sent_) {
            WaitOffThread(sent_->done);
            std::exchange(sent_, nullptr)->takeAway();
        }
        return false;
    }

    // Adds the rows of a group whose files are in place, and reports its images.
    bool settle(Group& group)
    {
        std::vector<Image>& images = group.images;
        if (!group.flushError.isEmpty()) {
            for (const Image& image : images)
                run_.skip(image.label + QStringLiteral(": ") + group.flushError);
            run_.copyFailed(group.flushError);
            return false;  // the work files go with images
        }
        // The images from a failed copy on are left out.
        while (!images.empty() && !images.back().copied)
            images.pop_back();

        bool together = false;
        if (oneTransaction_ && !images.empty()) {
            DataOp op(run_.s, procedure_);
            together = op.transaction([&] {
                for (Image& image : images)
                    if (image.error.isEmpty() && !image.rows(&op).isEmpty())
                        return false;
                return true;
            });
        }
        for (Image& image : images)
            if (image.error.isEmpty() && !together)
                image.error = image.rows(nullptr);
        const QString after = afterRows ? afterRows() : QString();
        for (Image& image : images) {
            if (image.error.isEmpty() && after.isEmpty()) {
                if (const QString left = image.after ? image.after() : QString(); !left.isEmpty())
                    run_.skip(image.label + QStringLiteral(": ") + left);
                else
                    run_.finished();
                continue;
            }
            for (const QString& path : std::as_const(image.placed))
                QFile::remove(path);
            run_.skip(image.label + QStringLiteral(": ") + (image.error.isEmpty() ? after : image.error));
        }
        const QString stop = !group.copyError.isEmpty() ? group.copyError : after;
        if (!stop.isEmpty()) {
            run_.copyFailed(stop);
            return false;
        }
        return true;
    }

    // Copies, flushes and renames; runs off the calling thread.
    static void putInPlace(Group& group, FileReplacement::Existing existing)
    {
        QStringList directories;
        for (Image& image : group.images) {
            for (const auto& [source, target] : std::as_const(image.copies)) {
                IoResult<FileReplacement> work = BeginCopy(source, target);
                if (!work) {
                    group.copyError = work.error();
                    break;
                }
                image.files.push_back(std::move(work).value());
                if (const QString dir = QFileInfo(target).absolutePath(); !directories.contains(dir))
                    directories << dir;
            }
            if (!group.copyError.isEmpty()) {
                image.files.clear();
                break;
            }
            image.copied = true;
        }
        bool durable = true;
        for (const QString& dir : std::as_const(directories))
            durable = SyncFileSystem(dir) && durable;
        if (!durable) {  // no syncfs here: each file on its own
            durable = true;
            for (const Image& image : group.images)
                for (const FileReplacement& file : image.files)
                    durable = durable && SyncFile(file.workPath());
        }
        if (!durable) {
            group.flushError = QStringLiteral("the copies could not be flushed to the disk: ") + qt_error_string(errno);
            return;
        }
        for (Image& image : group.images) {
            for (FileReplacement& file : image.files) {
                const bool existed = file.replacesExisting();
                if (IoStatus placed = file.commitFlushed(existing); !placed) {
                    image.error = placed.error();
                    break;
                }
                if (!existed)
                    image.placed << file.target();
            }
        }
        for (const QString& dir : std::as_const(directories))
            SyncDirectory(dir);
    }

    Run& run_;
    FileReplacement::Existing existing_;
    bool oneTransaction_;
    QString procedure_;
    Image current_;
    Group gathering_;
    std::unique_ptr<Group> sent_;
};

// Where an image row's file is: in its stored directory, else (a stale
// path) in the data directory.
struct ImageFilePlaces {
    QString stored, inData;
    QString existing() const { return QFileInfo::exists(stored) || inData.isEmpty() || !QFileInfo::exists(inData) ? stored : inData; }
};
ImageFilePlaces placesOf(Session& s, const QString& name)
{
    return {JoinPath(s.image.path, name), s.dataDir.isEmpty() ? QString() : JoinPath(s.dataDir, name)};
}
QString imageFileOf(Session& s, const QString& name)
{
    return placesOf(s, name).existing();
}

QList<ExportedInfo> referencesOf(Session& s, qint32 number)
{
    QList<InfoRow> rows;
    LoadReferencesOf(s, number, rows);
    QList<ExportedInfo> infos;
    for (const InfoRow& r : std::as_const(rows))
        infos << ExportedInfo{r.heat, r.part, r.po, r.vend, r.mfg, r.entryDate};
    return infos;
}

// Adds the Images row in session.image and its references: within op's
// transaction, or in one of their own. The error, empty when they were added.
QString addRows(Session& s, const QList<ExportedInfo>& infos, DataOp* within)
{
    QString error;
    const auto body = [&](DataOp& op) {
        if (!AddImage(s, true)) {
            error = s.image.errorText;
            return false;
        }
        for (const ExportedInfo& info : infos) {
            s.info = InfoRecord{info.heat, info.part, SpaceIfEmpty(info.po), SpaceIfEmpty(info.vend), SpaceIfEmpty(info.mfg),
                                info.entryDate, s.image.imageNumber};
            if (!detail::InsertInfo(op, s, true)) {
                error = op.failure().text;
                return false;
            }
        }
        return true;
    };
    if (within)
        return body(*within) ? QString() : error.isEmpty() ? QStringLiteral("the rows could not be added") : error;
    DataOp op(s, QStringLiteral("ImportImage"), {QString::number(s.image.imageNumber)});
    if (op.transaction([&] { return body(op); }))
        return {};
    if (error.isEmpty())
        error = op.failure().text.isEmpty() ? QStringLiteral("the rows could not be added") : op.failure().text;
    return error;
}

// Whether an image number is in use here: a row, or a file in the data directory.
bool numberTaken(Session& s, qint32 number, const QString& dataDir)
{
    const ImageRecord kept = s.image;
    const bool row = ReadImage(s, number);
    s.image = kept;
    return row || QFileInfo::exists(JoinPath(dataDir, ImageFileNameFor(number)));
}

}  // namespace

QStringList ExchangeSummary::report(const QString& verb) const
{
    QStringList lines{QStringLiteral("%1 of %2 images %3, %4 skipped").arg(done).arg(total).arg(verb).arg(skipped.size())};
    for (const QString& line : skipped)
        lines << QStringLiteral("  skipped: ") + line;
    if (cancelled)
        lines << QStringLiteral("  cancelled");
    if (!stopped.isEmpty())
        lines << QStringLiteral("  stopped: ") + stopped;
    return lines;
}

QString WithoutTrailingSeparator(QString directory)
{
    if (directory.size() > 1 && (directory.endsWith(QLatin1Char('/')) || directory.endsWith(QLatin1Char('\\'))))
        directory.chop(1);
    return directory;
}

QList<qint32> FoundImages(Session& s, const SqlCondition& where)
{
    QStringList lines;
    QList<qint32> numbers;
    if (!LoadImages(s, lines, where))
        return numbers;
    for (const QString& line : std::as_const(lines)) {
        const qint32 number = line.mid(2, 6).toInt();
        if (numbers.isEmpty() || numbers.last() != number)
            numbers << number;
    }
    return numbers;
}

ExchangeSummary ExportImages(Session& s, const QList<qint32>& images, const ExportOptions& options, const ExchangeProgressFn& progress)
{
    SameFile samePath;
    s.traceCall(QStringLiteral("ExportImages"));
    Run run(s, progress, options.missing, QStringLiteral("export"));
    run.summary.total = int(images.size());
    const QString directory = WithoutTrailingSeparator(options.directory);
    auto writer = ExportFileWriter::open(JoinPath(directory, QString::fromUtf16(kExportFileName)),
                                         options.append ? ExportFileWriter::Existing::Append : ExportFileWriter::Existing::Overwrite);
    if (!writer) {
        run.copyFailed(writer.error());
        return run.summary;
    }
    ConnectionScope connection(s.db());
    ImageGroup group(run, FileReplacement::Existing::Replace, false);
    QList<ExportedImage> lines;
    group.afterRows = [&]() -> QString {
        IoStatus written = writer->write(std::exchange(lines, {}));
        return written ? QString() : written.error();
    };
    for (const qint32 number : images) {
        const QString name = ImageFileNameFor(number);
        if (!run.next(name))
            break;
        if (!ReadImage(s, number)) {
            run.skip(name + QStringLiteral(": no Images row"));
            continue;
        }
        const QString source = imageFileOf(s, name);
        if (!QFileInfo::exists(source)) {
            if (!run.missing(source))
                break;
            continue;
        }
        const QString target = JoinPath(directory, name);
        if (!samePath(source, target)) {
            group.copy(source, target);
            const QString original = OriginalPathOf(source);
            if (!options.excludeOriginals && QFileInfo::exists(original))
                group.copy(original, JoinPath(directory, sixDigitName(QStringLiteral("OR"), number)));
        }
        ExportedImage image{number, s.image.entryDate, s.image.size, s.image.type, referencesOf(s, number)};
        group.add(name, [&lines, image](DataOp*) {
            lines << image;
            return QString();
        });
        if (!run.summary.stopped.isEmpty())
            break;
    }
    group.finish();
    return run.summary;
}

ExchangeSummary ImportImages(Session& s, const ImportOptions& options, const ExchangeProgressFn& progress)
{
    SameFile samePath;
    s.traceCall(QStringLiteral("ImportImages"));
    Run run(s, progress, options.missing, QStringLiteral("import"));
    const QString importDir = WithoutTrailingSeparator(options.importDir);
    const QString dataDir = WithoutTrailingSeparator(options.dataDir.isEmpty() ? s.dataDir : options.dataDir);
    const QString file = options.exportFile.isEmpty() ? JoinPath(importDir, QString::fromUtf16(kExportFileName)) : options.exportFile;
    auto reader = ExportFileReader::open(file);
    if (!reader) {
        run.summary.stopped = reader.error();
        return run.summary;
    }
    // The total is known only after a first pass over the file.
    QList<ExportFileReader::Entry> entries;
    while (auto entry = reader->next())
        entries << *entry;
    for (const auto& entry : std::as_const(entries))
        run.summary.total += std::holds_alternative<ExportedImage>(entry) ? 1 : 0;

    ConnectionScope connection(s.db());
    GetInfoFieldLengths(s);
    const QString volume = GetVolumeName(dataDir);
    ImageGroup group(run, FileReplacement::Existing::Keep, true);
    for (const auto& entry : std::as_const(entries)) {
        if (const auto* lines = std::get_if<SkippedLines>(&entry)) {
            run.summary.skipped << QStringLiteral("lines %1-%2 of the export file: %3").arg(lines->firstLine).arg(lines->lastLine).arg(lines->reason);
            continue;
        }
        const ExportedImage& image = std::get<ExportedImage>(entry);
        const QString sourceName = ImageFileNameFor(image.imageNumber);
        const QString source = JoinPath(importDir, sourceName);
        if (!run.next(source))
            break;
        if (!QFileInfo::exists(source)) {
            if (!run.missing(source))
                break;
            continue;
        }
        qint64 number = qint64(image.imageNumber) + options.increment;
        if (options.renumber) {
            std::optional<qint32> taken;
            // A number whose file lies in the data directory belongs to an
            // image whose row is missing: leave it and take the next.
            do
                taken = TakeImageNumber(s);
            while (taken && QFileInfo::exists(JoinPath(dataDir, ImageFileNameFor(*taken))));
            if (!taken) {
                run.summary.stopped = QStringLiteral("no image number could be taken");
                break;
            }
            number = *taken;
        }
        const QString label = QStringLiteral("image %1").arg(image.imageNumber);
        if (number > MaxImageNumber) {
            run.skip(label + QStringLiteral(": number %1 has more than six digits").arg(number));
            continue;
        }
        const QString target = JoinPath(dataDir, ImageFileNameFor(number));
        const bool inPlace = samePath(source, target);
        if ((inPlace && ReadImage(s, qint32(number))) || (!inPlace && (numberTaken(s, qint32(number), dataDir) || group.holds(target)))) {
            run.skip(label + QStringLiteral(": number %1 is taken here").arg(number));
            continue;
        }
        if (!inPlace) {
            group.copy(source, target);
            const QString original = OriginalPathOf(source);
            if (QFileInfo::exists(original))
                group.copy(original, OriginalPathOf(target));
        }
        const ImageRecord record{qint32(number), dataDir, volume, image.entryDate, image.size, image.type};
        group.add(label, [&s, record, infos = image.infos](DataOp* op) {
            s.image = record;
            return addRows(s, infos, op);
        });
        if (!run.summary.stopped.isEmpty())
            break;
    }
    group.finish();
    return run.summary;
}

QString PageSizeForLength(int tenths)
{
    if (tenths > 120)
        return QStringLiteral("G");
    if (tenths > 111)
        return QStringLiteral("A");
    return QStringLiteral(" ");
}

ExchangeSummary ImportTifImages(Session& s, const TifImportOptions& options, const ExchangeProgressFn& progress)
{
    SameFile samePath;
    s.traceCall(QStringLiteral("ImportTifImages"));
    Run run(s, progress, options.missing, QStringLiteral("import"));
    const QString importDir = WithoutTrailingSeparator(options.importDir);
    const QString dataDir = WithoutTrailingSeparator(options.dataDir.isEmpty() ? s.dataDir : options.dataDir);
    QDir dir(importDir);
    QStringList names = dir.entryList({QStringLiteral("*.tif")}, QDir::Files, QDir::Name | QDir::IgnoreCase);
    // Originals come along with their reports.
    names.removeIf([](const QString& name) { return name.startsWith(QLatin1String("OR"), Qt::CaseInsensitive); });
    run.summary.total = int(names.size());

    ConnectionScope connection(s.db());
    GetInfoFieldLengths(s);
    const QString volume = GetVolumeName(dataDir);
    ImageGroup group(run, FileReplacement::Existing::Keep, true);
    for (const QString& name : std::as_const(names)) {
        const QString source = dir.filePath(name);
        if (!run.next(source))
            break;
        auto tiff = TiffReader::open(source);
        if (!tiff) {
            run.skip(tiff.error());
            continue;
        }
        const ReportTags& tags = tiff->tags();
        if (tags.heat.trimmed().isEmpty() || tags.part.trimmed().isEmpty()) {
            run.skip(name + QStringLiteral(": no heat or part in its tags"));
            continue;
        }
        const QStringList heats = tags.heat.split(QLatin1Char(' '), Qt::SkipEmptyParts);
        QStringList parts = tags.part.split(QLatin1Char(' '), Qt::SkipEmptyParts);
        if (heats.size() < parts.size()) {
            run.skip(name + QStringLiteral(": fewer heats than parts"));
            continue;
        }
        while (parts.size() < heats.size())
            parts << parts.last();
        const QString digits = name.size() >= 10 ? name.right(10).left(6) : QString();
        bool isNumber = false;
        const qint32 number = digits.toInt(&isNumber);
        if (!isNumber || number <= 0) {
            run.skip(name + QStringLiteral(": the name holds no image number"));
            continue;
        }
        const QString target = JoinPath(dataDir, ImageFileNameFor(number));
        const bool inPlace = samePath(source, target);
        if ((inPlace && ReadImage(s, number)) || (!inPlace && (numberTaken(s, number, dataDir) || group.holds(target)))) {
            run.skip(name + QStringLiteral(": number %1 is taken here").arg(number));
            continue;
        }
        int tenths = 0;
        if (auto page = tiff->pageInfo(0); page && page->dpi.y > 0)
            tenths = int(std::lround(page->height * 10.0 / page->dpi.y));
        const QDateTime date = QFileInfo(source).lastModified();
        if (!inPlace) {
            group.copy(source, target);
            const QString original = dir.filePath(sixDigitName(QStringLiteral("OR"), number));
            if (QFileInfo::exists(original))
                group.copy(original, OriginalPathOf(target));
        }
        const ImageRecord record{number, dataDir, volume, date, PageSizeForLength(tenths), QStringLiteral("4")};
        QList<ExportedInfo> infos;
        for (qsizetype i = 0; i < heats.size(); ++i)
            infos << ExportedInfo{heats[i], parts[i], tags.purchaseOrder, tags.vendor, tags.manufacturer, date};
        group.add(name, [&s, record, infos](DataOp* op) {
            s.image = record;
            return addRows(s, infos, op);
        });
        if (!run.summary.stopped.isEmpty())
            break;
    }
    group.finish();
    return run.summary;
}

ExchangeSummary MoveImages(Session& s, const QList<qint32>& images, const MoveOptions& options, const ExchangeProgressFn& progress)
{
    SameFile samePath;
    s.traceCall(QStringLiteral("MoveImages"), {options.relink ? QStringLiteral("True") : QStringLiteral("False")});
    Run run(s, progress, options.missing, QStringLiteral("move"));
    run.summary.total = int(images.size());
    const QString targetDir = WithoutTrailingSeparator(options.target);
    const QString volume = GetVolumeName(targetDir);
    ConnectionScope connection(s.db());
    // The old files go only once the rows name the new place.
    ImageGroup group(run, FileReplacement::Existing::Replace, true, QStringLiteral("MoveImages"));
    for (const qint32 number : images) {
        const QString name = ImageFileNameFor(number);
        if (!run.next(name))
            break;
        if (!ReadImage(s, number)) {
            run.skip(name + QStringLiteral(": no Images row"));
            continue;
        }
        const QString target = JoinPath(targetDir, name);
        if (samePath(JoinPath(s.image.path, name), target)) {
            run.finished();
            continue;
        }
        const QString source = imageFileOf(s, name);
        if (options.relink) {
            if (!QFileInfo::exists(target)) {
                run.skip(target + QStringLiteral(" does not exist"));
                continue;
            }
        } else if (!QFileInfo::exists(source)) {
            if (!run.missing(source))
                break;
            continue;
        }
        const bool copies = !options.relink && !samePath(source, target);
        if (copies) {
            group.copy(source, target);
            if (QFileInfo::exists(OriginalPathOf(source)))
                group.copy(OriginalPathOf(source), OriginalPathOf(target));
        }
        ImageRecord record = s.image;
        record.path = targetDir;
        record.volumeId = volume;
        group.add(
            name,
            [&s, record](DataOp*) {
                s.image = record;
                return UpdateImage(s, record.imageNumber) ? QString() : s.image.errorText;
            },
            [source, copies]() -> QString {
                const QString original = OriginalPathOf(source);
                if (copies && (!QFile::remove(source) || (QFileInfo::exists(original) && !QFile::remove(original))))
                    return QStringLiteral("moved, but the old file could not be removed: ") + source;
                return {};
            });
        if (!run.summary.stopped.isEmpty())
            break;
    }
    group.finish();
    return run.summary;
}

ExchangeSummary DeleteImages(Session& s, const QList<qint32>& images, const ExchangeProgressFn& progress)
{
    s.traceCall(QStringLiteral("DeleteImages"));
    Run run(s, progress, Missing::Report, QStringLiteral("delete"));
    run.summary.total = int(images.size());
    ConnectionScope connection(s.db());
    // A group at a time: the files removed off the calling thread, then the
    // rows of the images whose files are gone in one transaction (image by
    // image when that fails).
    struct Doomed {
        qint32 number = 0;
        std::optional<ImageFilePlaces> file;  // none: the image has no row
        bool removed = true;
    };
    QList<Doomed> group;
    const auto deleteGroup = [&] {
        RunOffThread([&group] {
            for (Doomed& image : group) {
                if (!image.file)
                    continue;
                const QString file = image.file->existing();
                for (const QString& path : {file, OriginalPathOf(file)})
                    if (QFileInfo::exists(path) && !QFile::remove(path))
                        image.removed = false;
            }
        });
        QList<qint32> gone;
        for (const Doomed& image : std::as_const(group)) {
            if (image.removed)
                gone << image.number;
            else
                run.skip(ImageFileNameFor(image.number) + QStringLiteral(": its file could not be removed; its rows stay"));
        }
        const bool together = gone.size() > 1 && DeleteImagesAll(s, gone);
        for (const qint32 number : std::as_const(gone)) {
            if (together || DeleteImageAll(s, number))
                run.finished();
            else
                run.skip(ImageFileNameFor(number) + QStringLiteral(": its rows could not be deleted"));
        }
        group.clear();
    };
    for (const qint32 number : images) {
        const QString name = ImageFileNameFor(number);
        if (!run.next(name))
            break;
        Doomed image{number};
        if (ReadImage(s, number))
            image.file = placesOf(s, name);
        group << image;
        if (group.size() >= ImageGroup::MaxImages)
            deleteGroup();
    }
    deleteGroup();
    return run.summary;
}

}  // namespace tarlox
