#pragma once

// Reports stored for the pack's tests, and the heat lookup the program hands in.

#include "output/Pack.h"
#include "search/FindQuery.h"
#include "data/Session.h"
#include "store/ImageStore.h"
#include "store/PageImage.h"
#include "store/TiffWriter.h"

#include <QPainter>

namespace tarlox::test {

// A stored report of two 100 dpi pages, each with a black bar at mark tenths of its width.
inline qint32 StorePackReport(Session& s, const QString& heat, int mark)
{
    s.info = InfoRecord{heat, QStringLiteral("P%1").arg(mark), QStringLiteral("PO"), QStringLiteral("Vend"), QStringLiteral("Mfg"), {}, 0};
    s.pageSizeCode = QStringLiteral(" ");
    const auto write = [&](const QString& path) {
        auto writer = TiffWriter::create(path);
        for (int page = 0; page < 2 && writer; ++page) {
            QImage image(850, 1100, QImage::Format_RGB32);
            image.fill(Qt::white);
            QPainter(&image).fillRect(85 * mark - 20, 400, 40, 500, Qt::black);
            if (!writer->addPage(ToStoreMono(image.convertToFormat(QImage::Format_Mono, Qt::MonoOnly | Qt::ThresholdDither)), {100, 100}))
                return false;
        }
        return writer && writer->commit();
    };
    return SaveMTR(s, 100, write, StoreOptions{Duplicates::AsSettings, false, {}, false}).imageNumber;
}

inline HeatLookup FindPackHeat(Session& s)
{
    return [&s](const QString& heat) -> IoResult<QList<InfoRow>> {
        FindCriteria criteria;
        criteria.heat = heat;
        criteria.assumeWild = false;
        return FindReferences(s, criteria, 100).rows;
    };
}

}  // namespace tarlox::test
