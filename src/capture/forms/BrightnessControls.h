#pragma once

#include <QObject>

class QLineEdit;
class QScrollBar;

namespace tarlox {

// The brightness box and its scroll bar: moving the bar writes the value
// into the box; leaving the box takes its numeric value within -1000 ..
// 1000 and writes it back to both.
class BrightnessControls : public QObject {
    Q_OBJECT
public:
    BrightnessControls(QLineEdit* box, QScrollBar* bar, QObject* parent = nullptr);

    int value() const { return value_; }
    void setValue(int value);
    // What leaving the box does.
    void txtBright_LostFocus();

    Q_SIGNAL void valueChanged(int value);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    QLineEdit* box_;
    QScrollBar* bar_;
    int value_ = 0;
};

}  // namespace tarlox
