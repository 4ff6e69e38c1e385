#include "view/forms/PageView.h"

#include "view/PageDocument.h"
#include "view/PagePreview.h"

#include <QMouseEvent>
#include <QPainter>
#include <QScrollBar>

#include <cmath>

namespace tarlox {

PageView::PageView(QWidget* parent)
    : QWidget(parent), horizontal_(new QScrollBar(Qt::Horizontal, this)), vertical_(new QScrollBar(Qt::Vertical, this))
{
    setObjectName(QStringLiteral("imcMain"));
    setAttribute(Qt::WA_OpaquePaintEvent);
    setMouseTracking(true);
    setMinimumSize(64, 64);
    horizontal_->hide();
    vertical_->hide();
    const auto scrolledTo = [this] {
        if (!settingScroll_)
            emit scrolled(horizontal_->value(), vertical_->value());
    };
    connect(horizontal_, &QScrollBar::valueChanged, this, scrolledTo);
    connect(vertical_, &QScrollBar::valueChanged, this, scrolledTo);
}

void PageView::setDocument(const PageDocument* document)
{
    document_ = document;
    Refresh();
}

QSize PageView::viewSize() const
{
    QSize size = this->size();
    if (vertical_->isVisible())
        size.rwidth() -= vertical_->sizeHint().width();
    if (horizontal_->isVisible())
        size.rheight() -= horizontal_->sizeHint().height();
    return size.expandedTo(QSize(1, 1));
}

ViewGeometry PageView::geometryNow() const
{
    return document_ ? document_->geometry(viewSize()) : ViewGeometry{};
}

QPointF PageView::toImage(QPoint windowPoint) const
{
    return geometryNow().toImage(QPointF(windowPoint) + QPointF(0.5, 0.5));
}

QPoint PageView::toWindow(QPointF imagePoint) const
{
    const QPointF p = geometryNow().toWindow(imagePoint);
    return QPoint(int(std::lround(p.x())), int(std::lround(p.y())));
}

void PageView::placeScrollBars()
{
    const ViewGeometry g0 = document_ ? document_->geometry(size()) : ViewGeometry{};
    const bool zoomed = document_ && document_->zoomed() && !document_->page().isNull();
    // Scroll bars take room from the view, which changes what they must cover: settle in two rounds.
    bool showH = false;
    bool showV = false;
    for (int round = 0; round < 2 && zoomed; ++round) {
        QSize area = size();
        if (showV)
            area.rwidth() -= vertical_->sizeHint().width();
        if (showH)
            area.rheight() -= horizontal_->sizeHint().height();
        const QSizeF range = document_->geometry(area).scrollRange();
        showH = range.width() > 0.5;
        showV = range.height() > 0.5;
    }
    (void)g0;
    horizontal_->setVisible(showH);
    vertical_->setVisible(showV);
    const int barW = vertical_->sizeHint().width();
    const int barH = horizontal_->sizeHint().height();
    horizontal_->setGeometry(0, height() - barH, width() - (showV ? barW : 0), barH);
    vertical_->setGeometry(width() - barW, 0, barW, height() - (showH ? barH : 0));
    if (zoomed) {
        const ViewGeometry g = geometryNow();
        const QSizeF range = g.scrollRange();
        const QPointF origin = g.origin();
        settingScroll_ = true;
        horizontal_->setRange(0, int(std::ceil(range.width())));
        horizontal_->setPageStep(std::max(1, int(g.window.width() / g.scale())));
        horizontal_->setSingleStep(std::max(1, int(20 / g.scale())));
        horizontal_->setValue(int(std::lround(std::max(0.0, origin.x()))));
        vertical_->setRange(0, int(std::ceil(range.height())));
        vertical_->setPageStep(std::max(1, int(g.window.height() / g.scale())));
        vertical_->setSingleStep(std::max(1, int(20 / g.scale())));
        vertical_->setValue(int(std::lround(std::max(0.0, origin.y()))));
        settingScroll_ = false;
    }
}

void PageView::Refresh()
{
    placeScrollBars();
    if (document_)
        setCursor(document_->cursorKey() == QLatin1String("Select") ? Qt::CrossCursor
                  : document_->cursorKey() == QLatin1String("Text") ? Qt::IBeamCursor
                                                                    : Qt::CrossCursor);
    update();
}

void PageView::render()
{
    const ViewGeometry g = geometryNow();
    const quint64 version = document_ ? document_->pageVersion() : 0;
    const bool same = version == renderedVersion_ && rendered_.devicePixelRatio() == devicePixelRatioF() && g.image == renderedGeometry_.image
        && g.window == renderedGeometry_.window
        && g.zoomed == renderedGeometry_.zoomed && g.origin() == renderedGeometry_.origin() && g.scale() == renderedGeometry_.scale();
    if (same && !rendered_.isNull())
        return;
    static const QImage none;
    // Drawn in the screen's own pixels, so a page is as sharp at 200 % as at
    // 100 %: the same view over a window of device pixels.
    const qreal ratio = devicePixelRatioF();
    ViewGeometry device = g;
    device.window = (QSizeF(g.window) * ratio).toSize();
    rendered_ = RenderView(document_ ? document_->page() : none, device);
    rendered_.setDevicePixelRatio(ratio);
    renderedVersion_ = version;
    renderedGeometry_ = g;
}

void PageView::paintEvent(QPaintEvent*)
{
    render();
    emit painted();
    QPainter painter(this);
    painter.fillRect(rect(), palette().window());
    if (!rendered_.isNull())
        painter.drawImage(0, 0, rendered_);
    if (!document_)
        return;
    const ViewGeometry g = geometryNow();
    const RubberBand& band = document_->rubberBand();
    if (band.visible && document_->drawMode() == QLatin1String("Line")) {
        const double width = std::max(1.0, band.width * g.scale());
        painter.setPen(QPen(QColor(0, 0, 255), width, Qt::SolidLine, Qt::RoundCap));
        painter.drawLine(g.toWindow(band.from), g.toWindow(band.to));
    }
    if (selecting_) {
        const QRectF box = QRectF(g.toWindow(pressAt_), g.toWindow(currentAt_)).normalized();
        painter.setPen(QPen(Qt::black, 1, Qt::DashLine));
        painter.drawRect(box);
        painter.setPen(QPen(Qt::white, 1, Qt::DotLine));
        painter.drawRect(box);
    }
}

void PageView::resizeEvent(QResizeEvent*)
{
    Refresh();
}

int PageView::buttonOf(Qt::MouseButton button)
{
    switch (button) {
    case Qt::LeftButton:
        return 1;
    case Qt::RightButton:
        return 2;
    case Qt::MiddleButton:
        return 4;
    default:
        return 0;
    }
}

void PageView::mousePressEvent(QMouseEvent* event)
{
    const QPointF at = toImage(event->position().toPoint());
    const int button = buttonOf(event->button());
    if (button != 2) {
        pressed_ = true;
        pressAt_ = currentAt_ = at;
        selecting_ = selectEnabled_ && document_ && !document_->page().isNull();
    }
    emit mouseDown(button, at);
    update();
}

void PageView::mouseMoveEvent(QMouseEvent* event)
{
    const QPointF at = toImage(event->position().toPoint());
    if (pressed_) {
        currentAt_ = at;
        emit mouseMoved(at);
        update();
    }
}

void PageView::mouseReleaseEvent(QMouseEvent* event)
{
    const QPointF at = toImage(event->position().toPoint());
    const int button = buttonOf(event->button());
    const bool wasSelecting = selecting_ && button != 2;
    if (button != 2) {
        pressed_ = false;
        selecting_ = false;
        currentAt_ = at;
    }
    emit mouseUp(button, at);
    if (wasSelecting) {
        const QRectF box = QRectF(pressAt_, at).normalized();
        emit selected(box.left(), box.top(), box.right(), box.bottom());
    }
    update();
}

}  // namespace tarlox
