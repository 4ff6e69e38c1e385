#pragma once

#include <QString>

#include <utility>
#include <variant>

namespace tarlox {

// Why a file or image operation failed: one clear line for the person at the
// screen, naming the file and the cause.
struct IoError {
    QString message;
};

inline IoError Failure(QString message)
{
    return IoError{std::move(message)};
}

// The value of a file or image operation, or the reason there is none.
template <typename T>
class [[nodiscard]] IoResult {
public:
    IoResult(T value) : data_(std::in_place_index<0>, std::move(value)) {}
    IoResult(IoError error) : data_(std::in_place_index<1>, std::move(error)) {}

    bool ok() const { return data_.index() == 0; }
    explicit operator bool() const { return ok(); }

    T& value() & { return std::get<0>(data_); }
    const T& value() const& { return std::get<0>(data_); }
    T&& value() && { return std::get<0>(std::move(data_)); }
    T* operator->() { return &value(); }
    const T* operator->() const { return &value(); }
    T& operator*() & { return value(); }
    const T& operator*() const& { return value(); }

    QString error() const { return ok() ? QString() : std::get<1>(data_).message; }
    IoError failure() const { return std::get<1>(data_); }

private:
    std::variant<T, IoError> data_;
};

// Success, or the reason for failure.
template <>
class [[nodiscard]] IoResult<void> {
public:
    IoResult() = default;
    IoResult(IoError error) : failed_(true), error_(std::move(error.message)) {}

    bool ok() const { return !failed_; }
    explicit operator bool() const { return ok(); }
    QString error() const { return error_; }
    IoError failure() const { return IoError{error_}; }

private:
    bool failed_ = false;
    QString error_;
};

using IoStatus = IoResult<void>;

}  // namespace tarlox
