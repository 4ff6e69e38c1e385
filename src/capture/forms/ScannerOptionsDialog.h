#pragma once

#include <QDialog>

class QLabel;
class QScrollArea;

namespace tarlox {

class SaneDevice;
struct SaneOption;

// The scanner's settings, built from the options the device describes,
// shown before a scan when the scanner's own interface is asked for.
// Each change goes to the device at once and the settings are shown again
// as the device then has them (one option can change others). Scan starts
// the pages; Cancel takes none.
class ScannerOptionsDialog : public QDialog {
    Q_OBJECT
public:
    explicit ScannerOptionsDialog(SaneDevice& device, QWidget* parent = nullptr);

    // Builds the controls again from the device.
    void reload();

private:
    QWidget* editorFor(const SaneOption& option);
    void apply(const SaneOption& option, const QVariant& value);

    SaneDevice& device_;
    QScrollArea* area_;
    QLabel* status_;
};

}  // namespace tarlox
