#include "cli/Command.h"
#include "cli/Values.h"

#include "data/ImageData.h"
#include "data/InfoData.h"
#include "base/FileTools.h"
#include "data/Session.h"
#include "store/DriveMap.h"
#include "store/ImageFiles.h"
#include "store/TiffReader.h"

namespace tarlox::cli {

namespace {

// Prints an image's row, its file, its page count and its references.
class Show : public Command {
public:
    QString name() const override { return QStringLiteral("show"); }
    QString summary() const override { return QStringLiteral("an image's row, its file, its pages and its references"); }
    QString arguments() const override { return QStringLiteral("N (an image number)"); }

    QString read(const QCommandLineParser& parser) override
    {
        const QStringList a = parser.positionalArguments();
        if (a.size() != 1)
            return QStringLiteral("takes one image number N");
        const Parsed<int> n = IntegerValue(QStringLiteral("N"), a[0], 1);
        number_ = n.value;
        return n.error;
    }

    int run(Session& s) override
    {
        const qint32 number = number_;
        if (!ReadImage(s, number))
            return fail(QStringLiteral("image %1 is not on file").arg(number));
        const ImageRecord& row = s.image;
        const QString directory = ApplyDriveMap(s.drvMap, row.path.trimmed(), MapDirection::ToLocal).path;
        const QString file = JoinPath(directory, ImageFileNameFor(number));
        printLine(QStringLiteral("Image #: %1").arg(row.imageNumber));
        printLine(QStringLiteral("Path: ") + row.path);
        printLine(QStringLiteral("Volume ID: ") + row.volumeId);
        printLine(QStringLiteral("Entry Date: ") + row.entryDate.toString(Qt::ISODate));
        printLine(QStringLiteral("Size: ") + row.size);
        printLine(QStringLiteral("Type: ") + row.type);
        printLine(QStringLiteral("File: ") + file);
        auto reader = TiffReader::open(file);
        printLine(QStringLiteral("Pages: ") + (reader ? QString::number(reader->pageCount()) : QStringLiteral("none (") + reader.error() + QLatin1Char(')')));
        if (FileExists(OriginalPathOf(file)))
            printLine(QStringLiteral("Original: ") + OriginalPathOf(file));

        QList<InfoRow> rows;
        qint64 total = 0;
        const SqlCondition where{QStringLiteral("\"Info\".\"Image #\" = ?"), {number}};
        if (LoadInfo(s, where, rows, 100000, total) < 0)
            return fail(QStringLiteral("the references of image %1 can't be read").arg(number));
        printLine(QStringLiteral("References: %1").arg(total));
        for (const InfoRow& r : rows)
            printLine(QStringLiteral("  ") + QStringList{r.heat, r.part, r.po.trimmed(), r.vend.trimmed(), r.mfg.trimmed(),
                                                         r.entryDate.toString(Qt::ISODate)}.join(QLatin1Char('\t')));
        return Success;
    }

private:
    qint32 number_ = 0;
};

}  // namespace

std::unique_ptr<Command> makeShowCommand() { return std::make_unique<Show>(); }

}  // namespace tarlox::cli
