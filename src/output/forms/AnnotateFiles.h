#pragma once

#include <QObject>
#include <QStringList>

#include <functional>

namespace tarlox {

// Offers prepared files for annotation one after the other: each goes out
// through annotateRequested, and the next when annotationDone() is called
// (the viewer has closed). No event loop waits meanwhile.
class AnnotateFiles : public QObject {
    Q_OBJECT
public:
    using QObject::QObject;

    // then() runs once the last file is done; at once without files.
    void start(const QStringList& files, std::function<void()> then);
    void annotationDone();
    // Drops the files not yet done; then() is not called.
    void cancel();
    bool waiting() const { return waiting_; }

signals:
    void annotateRequested(const QString& file);

private:
    void next();

    QStringList files_;
    std::function<void()> then_;
    bool waiting_ = false;
};

}  // namespace tarlox
