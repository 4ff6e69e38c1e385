#pragma once

#include "view/ViewGeometry.h"

#include <QImage>
#include <QPointF>
#include <QWidget>

class QScrollBar;

namespace tarlox {

class PageDocument;

// The page on the screen (imcMain): the document's page fitted or magnified,
// shrunk to grey so thin strokes stay visible, with the selection rectangle
// and the rubber band line of a stroke drawn over it. Mouse positions go out
// in image pixels, whatever the magnification.
class PageView : public QWidget {
    Q_OBJECT
public:
    explicit PageView(QWidget* parent = nullptr);

    void setDocument(const PageDocument* document);
    // Takes over the document's page, magnification and rubber band.
    void Refresh();
    void setSelectEnabled(bool enabled) { selectEnabled_ = enabled; }

    ViewGeometry geometryNow() const;
    QPointF toImage(QPoint windowPoint) const;
    QPoint toWindow(QPointF imagePoint) const;
    // The picture as drawn now (for tests and screenshots).
    const QImage& rendered() const { return rendered_; }
    // The drawing area, without the scroll bars.
    QSize viewSize() const;

signals:
    void mouseDown(int button, QPointF at);
    void mouseMoved(QPointF at);
    void mouseUp(int button, QPointF at);
    void selected(double left, double top, double right, double bottom);
    void scrolled(double x, double y);
    // The view has been painted on the screen.
    void painted();

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;

private:
    void render();
    void placeScrollBars();
    static int buttonOf(Qt::MouseButton button);

    const PageDocument* document_ = nullptr;
    QScrollBar* horizontal_;
    QScrollBar* vertical_;
    QImage rendered_;
    quint64 renderedVersion_ = ~0ull;
    ViewGeometry renderedGeometry_;
    bool selectEnabled_ = true;
    bool selecting_ = false;
    bool pressed_ = false;
    QPointF pressAt_;    // image pixels
    QPointF currentAt_;  // image pixels
    bool settingScroll_ = false;
};

}  // namespace tarlox
