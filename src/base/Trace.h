#pragma once

#include <QFile>
#include <QString>
#include <memory>

namespace tarlox {

// The debug trace: with "/d=PATH" each procedure of substance appends its
// name (and for some, its arguments) as one line. No levels, no size limit.
class Trace {
public:
    bool open(const QString& path);
    bool enabled() const { return file_ != nullptr; }
    const QString& path() const { return path_; }

    void write(const QString& line);
    void write(const QString& procedure, const QStringList& arguments);

private:
    std::unique_ptr<QFile> file_;
    QString path_;
};

}  // namespace tarlox
