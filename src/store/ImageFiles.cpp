#include "store/ImageFiles.h"

#include "base/FileTools.h"
#include "base/TextTools.h"
#include "store/FileReplacement.h"

#include <QFileInfo>

namespace tarlox {

QString ImageFileNameFor(qint64 number) { return ImageLabelFor(number) + QStringLiteral(".TIF"); }

QString ImageLabelFor(qint64 number) { return QStringLiteral("TR") + SixDigits(number); }

QString WithFilePrefix(const QString& path, const QString& prefix)
{
    if (path.size() < 12)
        return path;
    QString result = path;
    result.replace(path.size() - 12, 2, prefix.left(2));
    return result;
}

QString OriginalPathOf(const QString& path) { return WithFilePrefix(path, QStringLiteral("OR")); }
QString ViewerWorkPathOf(const QString& path) { return WithFilePrefix(path, QStringLiteral("TV")); }
QString RescanPathOf(const QString& path) { return WithFilePrefix(path, QStringLiteral("TM")); }
QString OutputOriginalPathOf(const QString& path) { return WithFilePrefix(path, QStringLiteral("OT")); }

QString BarcodeBufferPath(const QString& tempDir) { return tempDir + QStringLiteral("/TempTarlox.tif"); }
QString BatchPageBufferPath(const QString& tempDir) { return tempDir + QStringLiteral("temp.tif"); }

IoStatus KeepOriginal(const QString& copyPath)
{
    const QString original = OriginalPathOf(copyPath);
    if (QFileInfo::exists(original))
        return {};
    return ReplaceWithCopy(copyPath, original);
}

}  // namespace tarlox
