#include "capture/forms/BatchPageView.h"

#include "store/PageImage.h"

#include <QLabel>
#include <QMouseEvent>
#include <QPainter>
#include <QTransform>

namespace tarlox {

namespace {

const QString kTip = QStringLiteral("Hold mouse button down to magnify, double click to rotate.");

}  // namespace

BatchPageView::BatchPageView(QWidget* parent)
    : QWidget(parent)
    , imcView_(new QLabel(this))
{
    imcView_->setObjectName(QStringLiteral("imcView"));
    imcView_->setFrameShape(QFrame::Box);
    imcView_->setLineWidth(2);
    imcView_->hide();
    imcView_->setAttribute(Qt::WA_TransparentForMouseEvents);
    setToolTip(kTip);
    setMinimumSize(200, 200);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
}

void BatchPageView::setPage(const QImage& page)
{
    page_ = page;
    rescale();
}

void BatchPageView::clear()
{
    page_ = QImage();
    scaled_ = QPixmap();
    imcView_->hide();
    update();
}

void BatchPageView::rotate()
{
    if (page_.isNull())
        return;
    const Dpi dpi = DpiOf(page_);
    QImage turned = page_.transformed(QTransform().rotate(270));
    SetDpi(turned, Dpi{dpi.y, dpi.x});
    setPage(turned);
}

QRect BatchPageView::pageRect() const
{
    if (scaled_.isNull())
        return {};
    const QSize size = scaled_.deviceIndependentSize().toSize();
    return QRect(QPoint((width() - size.width()) / 2, (height() - size.height()) / 2), size);
}

void BatchPageView::rescale()
{
    if (page_.isNull()) {
        scaled_ = QPixmap();
    } else {
        const qreal ratio = devicePixelRatioF();
        QImage image = page_.format() == QImage::Format_Mono ? page_.convertToFormat(QImage::Format_Grayscale8) : page_;
        scaled_ = QPixmap::fromImage(image.scaled(size() * ratio, Qt::KeepAspectRatio, Qt::SmoothTransformation));
        scaled_.setDevicePixelRatio(ratio);
    }
    update();
}

void BatchPageView::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.fillRect(rect(), palette().color(QPalette::Mid));
    if (!scaled_.isNull())
        painter.drawPixmap(pageRect().topLeft(), scaled_);
}

void BatchPageView::resizeEvent(QResizeEvent*)
{
    rescale();
}

void BatchPageView::magnifyAt(const QPoint& point)
{
    const QRect shown = pageRect();
    if (page_.isNull() || shown.isEmpty())
        return;
    // The magnifier is half the view wide; its height keeps the ratio of
    // the view, and its width on the page is two inches.
    const int boxWidth = std::max(120, width() / 2);
    const int boxHeight = std::max(80, boxWidth * height() / std::max(1, width()));
    const double dpiX = DpiOf(page_).x > 0 ? DpiOf(page_).x : kDefaultDpi;
    const int areaWidth = int(dpiX * 2);
    const int areaHeight = areaWidth * boxHeight / boxWidth;
    const double scale = double(page_.width()) / shown.width();
    const QPoint onPage((point.x() - shown.left()) * scale, (point.y() - shown.top()) * scale);
    area_ = QRect(onPage.x() - areaWidth / 2, onPage.y() - areaHeight / 2, areaWidth, areaHeight);
    QImage part(areaWidth, areaHeight, QImage::Format_RGB32);
    part.fill(Qt::white);
    QPainter(&part).drawImage(QPoint(0, 0), page_, area_);
    imcView_->setPixmap(QPixmap::fromImage(part.scaled(boxWidth, boxHeight, Qt::IgnoreAspectRatio, Qt::SmoothTransformation)));
    imcView_->resize(boxWidth, boxHeight);
    const int x = std::clamp(point.x() - boxWidth / 2, 0, std::max(0, width() - boxWidth));
    const int y = std::clamp(point.y() - boxHeight / 2, 0, std::max(0, height() - boxHeight));
    imcView_->move(x, y);
    imcView_->show();
    imcView_->raise();
}

void BatchPageView::mousePressEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton || page_.isNull())
        return;
    magnifying_ = true;
    tip_ = toolTip();
    setToolTip(QString());
    setCursor(Qt::CrossCursor);
    magnifyAt(event->position().toPoint());
}

void BatchPageView::mouseMoveEvent(QMouseEvent* event)
{
    if (magnifying_)
        magnifyAt(event->position().toPoint());
}

void BatchPageView::mouseReleaseEvent(QMouseEvent*)
{
    if (!magnifying_)
        return;
    magnifying_ = false;
    imcView_->hide();
    unsetCursor();
    setToolTip(tip_.isEmpty() ? kTip : tip_);
}

void BatchPageView::mouseDoubleClickEvent(QMouseEvent*)
{
    rotate();
}

}  // namespace tarlox
