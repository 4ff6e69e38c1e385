#include "store/NextImage.h"

#include "base/ErrorReport.h"
#include "base/FileTools.h"
#include "data/ImageData.h"
#include "data/Session.h"
#include "store/DriveMap.h"
#include "store/ImageFiles.h"

namespace tarlox {

NewImage NewImagePaths(const Session& s, qint32 number)
{
    NewImage image;
    image.number = number;
    image.fileName = ImageFileNameFor(number);
    image.filePath = JoinPath(s.dataDir, image.fileName);
    image.tempFilePath = JoinPath(s.tempDir, image.fileName);
    return image;
}

std::optional<NewImage> GetNextImage(Session& s)
{
    s.traceCall(QStringLiteral("GetNextImage"));
    // The row keeps the server's form of the directory; a map that can't be
    // read stops here, before a number is taken.
    const DriveMapResult stored = ApplyDriveMap(s.drvMap, s.dataDir, MapDirection::ToStored);
    if (!stored.ok()) {
        ReportError(s.prompter(), ErrorDetails{QStringLiteral("GetNextImage"), QStringLiteral("Applying Drive Map"), 5, stored.error});
        return std::nullopt;
    }
    ConnectionScope connection(s.db());
    while (true) {
        const std::optional<qint32> number = TakeImageNumber(s);
        if (!number)
            return std::nullopt;
        NewImage image = NewImagePaths(s, *number);
        if (FileExists(image.filePath))
            continue;
        image.storedPath = stored.path;
        if (image.tempFilePath != image.filePath)
            KillFile(image.tempFilePath);
        return image;
    }
}

}  // namespace tarlox
