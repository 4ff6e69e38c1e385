#include "output/SelectImage.h"

#include "data/ImageData.h"
#include "data/Session.h"
#include "store/ImageStore.h"
#include "store/TiffReader.h"

namespace tarlox {

int GetPages(const QString& path)
{
    auto reader = TiffReader::open(path);
    return reader ? reader->pageCount() : 0;
}

std::optional<SelectedImage> LocateImage(Session& s, qint32 number)
{
    s.traceCall(QStringLiteral("frmSelect.Form_Activate"), {QString::number(number)});
    if (!GetImage(s, number))
        return std::nullopt;
    SelectedImage image;
    image.number = number;
    image.fileName = s.imageFileName;
    image.path = s.image.path;
    image.volume = s.image.volumeId;
    image.date = ListDateText(s.image.entryDate);
    image.size = s.image.size;
    image.type = s.image.type;
    image.filePath = s.imageFilePath;
    image.pages = GetPages(s.imageFilePath);
    return image;
}

}  // namespace tarlox
