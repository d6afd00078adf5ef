#pragma once

// How a failure travels: a Result holds either the value or an Error saying why there is
// none. The host operations that can fail (opening the city directory or the user database,
// saving a city, reading a timetable, asking a geocoder) answer one; the operations whose
// documented answer is nil, -1 or a default turn the Error into that answer at the point
// that decides it, and log it there.
#include <string>
#include <type_traits>
#include <utility>
#include <variant>

namespace tarvo {

/// Why an operation failed: a message for the log, and the SQLite primary result code when
/// the failure came from the database (0 otherwise).
struct Error {
    std::string message;
    int sqliteCode = 0;
};

/// SQLite's primary result code of a (possibly extended) result code: the library opens its
/// databases with extended codes on, so "busy" may arrive as SQLITE_BUSY_SNAPSHOT and must
/// still compare equal to SQLITE_BUSY.
constexpr int sqlitePrimaryCode(int resultCode) { return resultCode & 0xff; }

template <typename T>
class [[nodiscard]] Result {
public:
    Result(T value) : state_(std::in_place_index<0>, std::move(value)) {}  // NOLINT: implicit on purpose
    Result(Error error) : state_(std::in_place_index<1>, std::move(error)) {}  // NOLINT: implicit on purpose

    bool ok() const { return state_.index() == 0; }
    explicit operator bool() const { return ok(); }

    /// The value; only when ok().
    T& value() & { return std::get<0>(state_); }
    const T& value() const& { return std::get<0>(state_); }
    T&& value() && { return std::get<0>(std::move(state_)); }
    T* operator->() { return &value(); }
    const T* operator->() const { return &value(); }
    T& operator*() & { return value(); }
    const T& operator*() const& { return value(); }

    /// The value, or `fallback` on failure.
    template <typename U>
    T valueOr(U&& fallback) const& {
        return ok() ? value() : static_cast<T>(std::forward<U>(fallback));
    }

    /// The failure; only when !ok().
    const Error& error() const { return std::get<1>(state_); }

private:
    std::variant<T, Error> state_;
};

/// A result that carries no value: success, or the Error.
template <>
class [[nodiscard]] Result<void> {
public:
    Result() = default;
    Result(Error error) : error_(std::move(error)), failed_(true) {}  // NOLINT: implicit on purpose

    bool ok() const { return !failed_; }
    explicit operator bool() const { return ok(); }
    const Error& error() const { return error_; }

private:
    Error error_;
    bool failed_ = false;
};

}  // namespace tarvo
