#pragma once

class QWidget;

namespace tarlox {

class ScanPreview;
class ScannerSession;

// Gives a scanner session its windows: the check dialog frmScanChk (whose
// "Invert Scan" works on the page shown in view), the scanner's settings
// dialog when the scanner's interface is asked for, and the page display.
// view may be null.
void AttachScanDialogs(ScannerSession& scanner, QWidget* form, ScanPreview* view);

}  // namespace tarlox
