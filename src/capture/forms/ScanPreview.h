#pragma once

#include <QImage>
#include <QPixmap>
#include <QWidget>

namespace tarlox {

// Shows one page scaled to fit, as the scan forms show the page just
// scanned beside their fields.
class ScanPreview : public QWidget {
    Q_OBJECT
public:
    explicit ScanPreview(QWidget* parent = nullptr);

    void setPage(const QImage& page);
    void clear();
    const QImage& page() const { return page_; }

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    void rescale();

    QImage page_;
    QPixmap scaled_;
};

}  // namespace tarlox
