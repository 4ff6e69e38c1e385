#pragma once

#include <QDateTime>
#include <optional>

namespace tarlox {

// The session's time. Tests pin it so dates and years are predictable.
class Clock {
public:
    QDateTime now() const { return fixed_ ? *fixed_ : QDateTime::currentDateTime(); }
    void pin(const QDateTime& at) { fixed_ = at; }
    void release() { fixed_.reset(); }

private:
    std::optional<QDateTime> fixed_;
};

}  // namespace tarlox
