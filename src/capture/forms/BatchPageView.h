#pragma once

#include <QImage>
#include <QPixmap>
#include <QWidget>

class QLabel;

namespace tarlox {

// The page in hand on the batch form, scaled to fit. While the mouse button
// is held down a magnifier (imcView) shows the part of the page under the
// pointer, two inches of it across, and follows the pointer; a double click
// turns the page a quarter to the left for reading. Nothing of that touches
// the page's file.
class BatchPageView : public QWidget {
    Q_OBJECT
public:
    explicit BatchPageView(QWidget* parent = nullptr);

    void setPage(const QImage& page);
    void clear();
    const QImage& page() const { return page_; }
    bool magnifying() const { return magnifying_; }
    QLabel* magnifier() const { return imcView_; }
    // The part of the page the magnifier shows, in page pixels.
    QRect magnifiedArea() const { return area_; }

    // Double click: "Rotate" 270 degrees, white behind.
    void rotate();

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;

private:
    void rescale();
    QRect pageRect() const;
    void magnifyAt(const QPoint& point);

    QImage page_;
    QPixmap scaled_;
    QLabel* imcView_;
    bool magnifying_ = false;
    QString tip_;
    QRect area_;
};

}  // namespace tarlox
