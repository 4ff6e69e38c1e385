#pragma once

#include "base/IoResult.h"

struct tiff;

namespace tarlox {

// Copying a stored page between two libtiff handles without decoding it.

// True when the current page of source is a black-and-white CCITT Group 4
// page in strips, whose data can be copied as it is stored.
bool CanCopyRaw(tiff* source);

// Starts a page in target with the image fields of the current page of
// source (size, encoding, photometric, fill order, strips, resolution) and
// copies its strips byte for byte. The caller writes the directory. The
// failure text is generic; the handles hold libtiff's own messages.
IoStatus CopyRawPage(tiff* source, tiff* target);

}  // namespace tarlox
