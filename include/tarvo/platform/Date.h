#pragma once

#include <compare>
#include <string>

#include "tarvo/Export.h"

namespace tarvo {

/// A moment in time: seconds since 1970-01-01 00:00:00 UTC, as a double.
class TARVO_EXPORT Date {
public:
    constexpr Date() = default;
    constexpr explicit Date(double secondsSince1970) : seconds_(secondsSince1970) {}

    /// The current moment, read afresh from Clock (the system clock unless a source is installed).
    static Date now();

    constexpr double timeIntervalSince1970() const { return seconds_; }
    constexpr Date addingTimeInterval(double seconds) const { return Date(seconds_ + seconds); }
    constexpr double timeIntervalSinceDate(Date other) const { return seconds_ - other.seconds_; }

    /// "2016-01-05 09:00:00 +0000": the moment in UTC.
    std::string description() const;

    constexpr auto operator<=>(const Date&) const = default;

private:
    double seconds_ = 0.0;
};

}  // namespace tarvo
