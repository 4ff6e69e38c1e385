#include "base/Trace.h"

#include <QStringList>

namespace tarlox {

bool Trace::open(const QString& path)
{
    path_ = path;
    auto file = std::make_unique<QFile>(path);
    if (path.isEmpty() || !file->open(QIODevice::Append | QIODevice::Text | QIODevice::Unbuffered))
        return false;
    file_ = std::move(file);
    return true;
}

void Trace::write(const QString& line)
{
    if (!file_)
        return;
    file_->write(line.toUtf8());
    file_->write("\n");
}

void Trace::write(const QString& procedure, const QStringList& arguments)
{
    if (!file_)
        return;
    write(arguments.isEmpty() ? procedure : procedure + QLatin1Char(' ') + arguments.join(QLatin1String(", ")));
}

}  // namespace tarlox
