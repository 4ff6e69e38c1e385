#include "store/ImageStore.h"

#include "data/ImageData.h"
#include "data/InfoData.h"
#include "base/ErrorReport.h"
#include "base/Status.h"
#include "base/FileTools.h"
#include "base/Prompter.h"
#include "data/Session.h"
#include "data/Settings.h"
#include "base/VolumeName.h"
#include "store/DriveMap.h"
#include "store/ImageFiles.h"
#include "store/FileReplacement.h"
#include "store/NextImage.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace tarlox {

namespace {

const QString ErrorTitle = QStringLiteral("Error");

QString normalized(const QString& path) { return QDir::cleanPath(QFileInfo(path).absoluteFilePath()); }

bool sameFile(const QString& a, const QString& b) { return normalized(a) == normalized(b); }

// What the volume question calls the drive: the letter of a drive-letter
// path, else the directory where the volume is mounted.
QString driveOf(const QString& path)
{
    if (path.size() >= 2 && path[0].isLetter() && path[1] == QLatin1Char(':'))
        return path.left(2);
    const QString mountPoint = MountPointOf(path);
    return mountPoint.isEmpty() ? path.left(2) : mountPoint;
}

}  // namespace

bool FromTemp(Session& s)
{
    s.traceCall(QStringLiteral("FromTemp"));
    if (sameFile(s.imageFilePath, s.tempFilePath))
        return true;
    const IoStatus copied = ReplaceWithCopy(s.tempFilePath, s.imageFilePath);
    if (copied)
        return true;
    ReportError(s.prompter(), ErrorDetails{QStringLiteral("FromTemp"),
                                           QStringLiteral("Copy ") + s.tempFilePath + QStringLiteral(" to ") + s.imageFilePath, 75, copied.error()});
    return false;
}

void DeleteFile(Session& s, qint32 number)
{
    s.traceCall(QStringLiteral("DeleteFile"), {QString::number(number)});
    if (!ReadImage(s, number))
        return;
    const QString path = JoinPath(s.image.path, ImageFileNameFor(number));
    KillFile(path);
    KillFile(OriginalPathOf(path));
}

bool GetImage(Session& s, qint32 number)
{
    s.traceCall(QStringLiteral("GetImage"), {QString::number(number)});
    Prompter& prompter = s.prompter();
    QString message;
    if (!ReadImage(s, number)) {
        message = QStringLiteral("Can't find image in data base!");
    } else {
        s.currentImage = number;
        s.imageFileName = ImageFileNameFor(number);
        PutLocal(s, section::Info, QStringLiteral("Last Image"), s.imageFileName);
        const DriveMapResult local = ApplyDriveMap(s.drvMap, s.image.path, MapDirection::ToLocal);
        if (!local.ok()) {
            ReportError(prompter, ErrorDetails{QStringLiteral("GetImage"), QStringLiteral("Applying Drive Map"), 5, local.error});
            return false;
        }
        s.storedPath = local.path;
        PutLocal(s, section::Info, QStringLiteral("ImageDir"), s.storedPath);
        s.imageFilePath = JoinPath(s.storedPath, s.imageFileName);
        s.tempFilePath = JoinPath(s.tempDir, s.imageFileName);
        while (!FileExists(s.imageFilePath)) {
            const QString volume = GetVolumeName(s.imageFilePath);
            if (volume.trimmed() == s.image.volumeId.trimmed()) {
                message = QStringLiteral("This image file no longer exists!");
                break;
            }
            const Status wrongVolume{FailureKind::WrongVolume, ErrorTitle,
                                      QStringLiteral("The current volume in drive ") + driveOf(s.imageFilePath) + QStringLiteral(" is '")
                                          + volume + QStringLiteral("'\rIt should be '") + s.image.volumeId
                                          + QStringLiteral("'\rSelect 'Retry' to retry or 'Cancel' to abort")};
            if (!s.retry(wrongVolume)) {
                message = QStringLiteral("Invalid Volume!");
                break;
            }
        }
    }
    if (message.isEmpty())
        return true;
    prompter.ask(ErrorTitle, message, Buttons::Ok, Icon::Critical);
    return false;
}

StoreResult SaveMTR(Session& s, int dpi, const PageWriter& writePages, const StoreOptions& options)
{
    s.traceCall(QStringLiteral("SaveMTR"), {QString::number(dpi)});
    const auto step = [&](const QString& label) {
        if (options.onStep)
            options.onStep(label);
    };
    ConnectionScope connection(s.db());
    using Outcome = StoreResult::Outcome;
    if (!GetInfoFieldLengths(s))
        return {Outcome::Refused};
    const QDateTime now = s.now();
    ImageRecord& image = s.image;
    image.volumeId = s.dataVolume;
    image.entryDate = now;
    image.type = QStringLiteral("4");
    image.size = s.pageSizeCode;
    s.info.entryDate = now;
    if (!options.validated && !ValidateInfo(s, options.duplicates))
        return {Outcome::Refused};

    step(QStringLiteral("GetNextImage"));
    const std::optional<NewImage> taken = GetNextImage(s);
    if (!taken)
        return {Outcome::NoNumber};
    s.currentImage = taken->number;
    s.imageFileName = taken->fileName;
    s.imageFilePath = taken->filePath;
    s.tempFilePath = taken->tempFilePath;
    s.storedPath = taken->storedPath;
    image.imageNumber = s.info.imageNumber = taken->number;
    // The directory of the number just taken, not of the image addressed before.
    image.path = taken->storedPath;
    PutLocal(s, section::Info, QStringLiteral("Last Image"), taken->fileName);
    PutLocal(s, section::Info, QStringLiteral("ImageDir"), taken->storedPath);
    PutLocal(s, section::Info, QStringLiteral("Size"), s.pageSizeCode);
    PutLocal(s, section::Info, QStringLiteral("DPI"), QString::number(dpi));

    // The pages go to a work file first, so that the report's own name never
    // holds a half-written file.
    // When the temporary directory is the data directory the work file is
    // the replacement's own, beside the final name.
    const bool separateWork = !sameFile(taken->tempFilePath, taken->filePath);
    std::optional<FileReplacement> replacement;
    if (!separateWork) {
        auto begun = FileReplacement::begin(taken->filePath, false);
        if (!begun) {
            ReportError(s.prompter(), ErrorDetails{QStringLiteral("SaveMTR"), QStringLiteral("Saving Image"), 75, begun.error()});
            return {Outcome::NotCreated};
        }
        replacement.emplace(std::move(begun.value()));
        // The pages make the file: a writer that writes nothing leaves none.
        QFile::remove(replacement->workPath());
    }
    const QString work = separateWork ? taken->tempFilePath : replacement->workPath();
    if (separateWork)
        KillFile(work);
    step(QStringLiteral("Scanning"));
    const bool written = writePages && writePages(work) && QFileInfo(work).size() > 0;
    if (written) {
        step(QStringLiteral("Copy from Temp"));
        const IoStatus placed = separateWork ? ReplaceWithCopy(work, taken->filePath) : replacement->commit();
        if (!placed)
            ReportError(s.prompter(), ErrorDetails{QStringLiteral("SaveMTR"), QStringLiteral("Saving Image"), 75, placed.error()});
    }
    if (separateWork && !(options.keepWorkFile && FileExists(taken->filePath)))
        KillFile(work);
    replacement.reset();

    if (!FileExists(taken->filePath)) {
        step(QStringLiteral("Image not created"));
        s.prompter().ask(ErrorTitle, QStringLiteral("Image file was not created!"), Buttons::Ok, Icon::Exclamation);
        s.currentImage = 0;
        return {Outcome::NotCreated};
    }
    // The image row and its references go in together or not at all; when
    // they can't, the file goes too, so nothing of the report is left.
    step(QStringLiteral("Add data"));
    if (!AddImageWithInfo(s, false)) {
        KillFile(taken->filePath);
        s.currentImage = 0;
        return {Outcome::NotIndexed};
    }
    return {Outcome::Stored, image.imageNumber};
}

}  // namespace tarlox
