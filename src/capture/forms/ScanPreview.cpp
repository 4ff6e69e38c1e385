#include "capture/forms/ScanPreview.h"

#include <QPainter>

namespace tarlox {

ScanPreview::ScanPreview(QWidget* parent)
    : QWidget(parent)
{
    setAttribute(Qt::WA_OpaquePaintEvent);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
    setMinimumSize(120, 150);
}

void ScanPreview::setPage(const QImage& page)
{
    page_ = page;
    rescale();
    update();
}

void ScanPreview::clear()
{
    setPage(QImage());
}

void ScanPreview::rescale()
{
    scaled_ = QPixmap();
    if (page_.isNull() || width() < 4 || height() < 4)
        return;
    // Scaled once per page and size: a 300 dpi page is millions of pixels.
    const QSize fit = page_.size().scaled(size() - QSize(8, 8), Qt::KeepAspectRatio);
    const QImage source = page_.depth() == 1 ? page_.convertToFormat(QImage::Format_Grayscale8) : page_;
    scaled_ = QPixmap::fromImage(source.scaled(fit, Qt::KeepAspectRatio, Qt::SmoothTransformation));
}

void ScanPreview::resizeEvent(QResizeEvent* event)
{
    QWidget::resizeEvent(event);
    rescale();
}

void ScanPreview::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.fillRect(rect(), palette().color(QPalette::Dark));
    if (scaled_.isNull())
        return;
    const QRect target(QPoint((width() - scaled_.width()) / 2, (height() - scaled_.height()) / 2), scaled_.size());
    painter.fillRect(target.adjusted(2, 2, 2, 2), QColor(0, 0, 0, 80));
    painter.drawPixmap(target, scaled_);
}

}  // namespace tarlox
