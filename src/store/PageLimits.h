#pragma once

#include "base/IoResult.h"

#include <QtGlobal>

namespace tarlox {

// The largest page this program decodes: its pixels at the depth they are
// held in memory. A 20,000 x 20,000 black-and-white page (50 MB) passes; the
// same page in grey (400 MB) or colour (1.6 GB) is refused with a message
// instead of exhausting memory during binarization.
inline constexpr qint64 kMaxPageBytes = qint64(256) << 20;
inline constexpr int kMaxPageSide = 65000;

// Fails with a message naming the size when a page of that size and depth
// can't be handled; what names the page ("page 3 of \"x.tif\"").
IoStatus CheckPageSize(qint64 width, qint64 height, int bitsPerPixel, const QString& what);

}  // namespace tarlox
