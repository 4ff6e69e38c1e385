#include "store/ImageStore.h"

#include "data/ImageData.h"
#include "data/InfoData.h"
#include "startup/ErrorReport.h"
#include "startup/FileTools.h"
#include "startup/Prompter.h"
#include "startup/Session.h"
#include "startup/Settings.h"
#include "startup/VolumeName.h"
#include "store/DriveMap.h"
#include "store/ImageFiles.h"

#include <QDir>
#include <QFileInfo>

namespace tarlox {

namespace {

const QString ErrorTitle = QStringLiteral("Error");
const QString Info = QStringLiteral("Info");

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
    QString error;
    if (CopyFileAtomically(s.tempFilePath, s.imageFilePath, &error))
        return true;
    ReportError(s.prompter(), ErrorDetails{QStringLiteral("FromTemp"),
                                           QStringLiteral("Copy ") + s.tempFilePath + QStringLiteral(" to ") + s.imageFilePath, 75, error});
    return false;
}

void DeleteFile(Session& s, qint32 number)
{
    s.traceCall(QStringLiteral("DeleteFile"), {QString::number(number)});
    if (!ReadImage(s, number, false))
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
    if (!ReadImage(s, number, false)) {
        message = QStringLiteral("Can't find image in data base!");
    } else {
        s.currentImage = number;
        s.imageFileName = ImageFileNameFor(number);
        PutLocal(s, Info, QStringLiteral("Last Image"), s.imageFileName);
        const DriveMapResult local = ApplyDriveMap(s.drvMap, s.image.path, MapDirection::ToLocal);
        if (!local.ok()) {
            ReportError(prompter, ErrorDetails{QStringLiteral("GetImage"), QStringLiteral("Applying Drive Map"), 5, local.error});
            return false;
        }
        s.storedPath = local.path;
        PutLocal(s, Info, QStringLiteral("ImageDir"), s.storedPath);
        s.imageFilePath = JoinPath(s.storedPath, s.imageFileName);
        s.tempFilePath = JoinPath(s.tempDir, s.imageFileName);
        while (!FileExists(s.imageFilePath)) {
            const QString volume = GetVolumeName(s.imageFilePath);
            if (volume.trimmed() == s.image.volumeId.trimmed()) {
                message = QStringLiteral("This image file no longer exists!");
                break;
            }
            const Answer answer = prompter.ask(ErrorTitle,
                                               QStringLiteral("The current volume in drive ") + driveOf(s.imageFilePath) + QStringLiteral(" is '")
                                                   + volume + QStringLiteral("'\rIt should be '") + s.image.volumeId
                                                   + QStringLiteral("'\rSelect 'Retry' to retry or 'Cancel' to abort"),
                                               Buttons::RetryCancel, Icon::Critical);
            if (answer != Answer::Retry) {
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

qint32 SaveMTR(Session& s, int dpi, const PageWriter& writePages, bool keepOpen)
{
    s.traceCall(QStringLiteral("SaveMTR"), {QString::number(dpi)});
    struct CloseAtEnd {
        Session& session;
        bool keepOpen;
        ~CloseAtEnd()
        {
            if (!keepOpen)
                session.db().close();
        }
    } closeAtEnd{s, keepOpen};

    if (!GetInfoFieldLengths(s, true))
        return 0;
    const QDateTime now = s.now();
    ImageRecord& image = s.image;
    image.volumeId = s.dataVolume;
    image.entryDate = now;
    image.type = QStringLiteral("4");
    image.size = s.pageSizeCode;
    s.info.entryDate = now;
    if (!ValidateInfo(s, true))
        return 0;

    if (!GetNextImage(s, true))
        return 0;
    s.imageFileName = s.imageFileName.trimmed();
    image.imageNumber = s.info.imageNumber = s.currentImage;
    // The directory of the number just taken, not of the image addressed before.
    image.path = s.storedPath;
    PutLocal(s, Info, QStringLiteral("Last Image"), s.imageFileName);
    PutLocal(s, Info, QStringLiteral("ImageDir"), s.storedPath);
    PutLocal(s, Info, QStringLiteral("Size"), s.pageSizeCode);
    PutLocal(s, Info, QStringLiteral("DPI"), QString::number(dpi));

    // The pages go to a work file first, so that the report's own name never
    // holds a half-written file.
    const bool separateWork = !sameFile(s.tempFilePath, s.imageFilePath);
    const QString work = separateWork ? s.tempFilePath
                                      : QFileInfo(s.imageFilePath).absolutePath() + QStringLiteral("/~") + s.imageFileName;
    KillFile(work);
    QString error;
    const bool written = writePages && writePages(work) && QFileInfo(work).isFile();
    if (written) {
        if (separateWork ? !CopyFileAtomically(work, s.imageFilePath, &error) : !CommitFile(work, s.imageFilePath, &error))
            ReportError(s.prompter(), ErrorDetails{QStringLiteral("SaveMTR"), QStringLiteral("Saving Image"), 75, error});
    }
    KillFile(work);

    if (!FileExists(s.imageFilePath)) {
        s.prompter().ask(ErrorTitle, QStringLiteral("Image file was not created!"), Buttons::Ok, Icon::Exclamation);
        s.currentImage = 0;
        return 0;
    }
    // The image row and its references go in together or not at all; on a
    // failure the file stays and keeps its number from being given out again.
    if (!AddImageWithInfo(s, false, true))
        return 0;
    return image.imageNumber;
}

}  // namespace tarlox
