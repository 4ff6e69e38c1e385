#pragma once

#include <QByteArray>
#include <QString>

namespace tarlox {

// Text of TIFF ASCII tags. This program writes UTF-8. Files from older
// installations hold Windows-1252, so bytes that are not valid UTF-8 are read
// as Windows-1252.
QByteArray EncodeTagText(const QString& text);
QString DecodeTagText(const QByteArray& bytes);

// Windows-1252: Latin-1 with printable characters in 0x80-0x9F. The five
// codes the code page leaves unassigned (0x81, 0x8D, 0x8F, 0x90, 0x9D) map to
// the control characters of the same value, so no byte is ever lost.
QString DecodeWindows1252(const QByteArray& bytes);

}  // namespace tarlox
