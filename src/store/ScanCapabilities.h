#pragma once

#include "store/PageImage.h"
#include "store/SaneDevice.h"

#include <QString>
#include <QStringList>

namespace tarlox {

// What a scan asks of the scanner, put in terms of SANE options. Options a
// device doesn't have are left out without a word; an option the device
// refuses comes back as a failed result.

// Brightness -1000 (black) .. 1000 (white) on the device's own range, linearly.
double DeviceBrightness(int brightness, const SaneOption& option);

// A length in inches as a value of a geometry option (tl-x, br-y ...): in
// the option's unit (millimetres, or pixels at dpi), within its range.
double GeometryValue(double inches, const SaneOption& option, double dpi);

// The entry of a mode list that scans in two colours ("Lineart",
// "Binary", "Black & White" ...), or empty.
QString TwoColourMode(const QStringList& modes);
// The grey entry ("Gray", "Grayscale" ...), or empty.
QString GreyMode(const QStringList& modes);
// The entry of a source list that feeds one side of each sheet from the
// document feeder ("Automatic Document Feeder", "ADF", "ADF Front" ...), or empty.
QString FeederSource(const QStringList& sources);

// Resolution in both directions ("resolution", and "x-resolution" and
// "y-resolution" where the device has them); actual receives what the
// device settled on.
SaneResult ApplyResolution(SaneDevice& device, int dpi, Dpi* actual);
// The resolution the device is set to now; fallback where it doesn't say.
Dpi CurrentResolution(SaneDevice& device, double fallback);
SaneResult ApplyBrightness(SaneDevice& device, int brightness);
// One side only: "duplex" off, a simplex ADF mode.
SaneResult ApplyDuplexOff(SaneDevice& device);
// The scan area from the top left corner, width by length in inches.
SaneResult ApplyFrame(SaneDevice& device, double widthInches, double lengthInches, double dpi);
// Two-colour mode, else grey (at 1 bit per sample where the device offers
// it); pages that still come in grey are reduced to two colours later.
SaneResult ApplyBlackAndWhite(SaneDevice& device);
// The document feeder as the source, where the device has one.
SaneResult ApplyFeeder(SaneDevice& device);

}  // namespace tarlox
