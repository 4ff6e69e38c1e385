#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QString>

namespace tarlox {

// The pieces a PDF/A-1b file carries besides its pages.

// A small ICC version 2 display profile of sRGB, made here rather than read
// from a file, so that the program needs no profile installed: the sRGB
// primaries adapted to D50 (as in the profiles of IEC 61966-2.1), the D65
// white point, and the sRGB tone curve as a table of 256 steps.
QByteArray SrgbIccProfile();

// A date as the document information dictionary writes it: D:YYYYMMDDHHmmSS
// and the offset from UTC (Z for UTC).
QByteArray PdfDate(const QDateTime& when);

// The same moment as XMP writes it: YYYY-MM-DDThh:mm:ss and the offset.
QString XmpDate(const QDateTime& when);

// The XMP packet of the catalogue: PDF/A-1b identification, the dates, the
// producer and, when not empty, the title; the same values as the
// information dictionary, as PDF/A requires.
QByteArray XmpPacket(const QString& title, const QString& producer, const QDateTime& created);

}  // namespace tarlox
