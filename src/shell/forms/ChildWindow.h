#pragma once

#include <QMdiSubWindow>

namespace tarlox {

// The frame's window around one child form. Closing it asks the form first
// (its closeEvent may refuse); a form that closes itself closes the window.
// unloading() comes once, while form and window still stand.
class ChildWindow : public QMdiSubWindow {
    Q_OBJECT
public:
    ChildWindow(QWidget* form, const QString& formName, QWidget* parent = nullptr);

    const QString& formName() const { return formName_; }
    QWidget* form() const { return widget(); }

signals:
    void unloading(tarlox::ChildWindow* window);

protected:
    void closeEvent(QCloseEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void announceUnload();
    void closeEmptied();

    QString formName_;
    bool unloaded_ = false;
    bool closing_ = false;
};

}  // namespace tarlox
