#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "tarvo/Export.h"
#include "tarvo/platform/Date.h"

namespace tarvo {

/// A named time zone with its daylight-saving rules, from the system's IANA time-zone
/// database (`/usr/share/zoneinfo`, or the folder `TZDIR` names). ICU's built-in copy of the
/// rules, which is years old, is used only on a system without the database.
///
/// Zones are read once per name and the immutable zone data is shared, so a TimeZone is
/// cheap to copy and safe to use from several threads. Each zone keeps the table of its
/// transitions: an offset is found by bisection.
class TARVO_EXPORT TimeZone {
public:
    /// The zone with this identifier ("Europe/London", "GMT", "UTC", "Etc/GMT-3"),
    /// or nothing when no such zone is known.
    static std::optional<TimeZone> withName(std::string_view name);
    /// The zone named "GMT".
    static TimeZone gmt();
    /// A zone always `seconds` ahead of GMT (behind when negative), named like "GMT+05:30";
    /// nothing beyond 18 hours either way.
    static std::optional<TimeZone> forSecondsFromGMT(int64_t seconds);
    /// The device's zone: the TZ environment variable, else the system's setting.
    static TimeZone systemDefault();
    /// Makes `zone` the device's zone for this process (hosts that follow a user setting, tests).
    static void setSystemDefault(const TimeZone& zone);

    const std::string& name() const;

    /// Offset from GMT at the moment, daylight saving included, in seconds.
    int64_t secondsFromGMT(Date date) const;
    /// The daylight-saving part of the offset at the moment, in seconds (0 outside summer time).
    double daylightSavingTimeOffset(Date date) const;
    bool isDaylightSavingTime(Date date) const;

    /// Offset in seconds for a wall-clock time given as seconds since 1970 in local time.
    /// A time skipped by a spring-forward change is read with the offset before the change
    /// (so 02:30 becomes 03:30); a repeated time takes the later, standard-time reading.
    int64_t secondsFromGMTForLocalTime(double localSeconds) const;

    bool operator==(const TimeZone& other) const;

    struct Impl;

private:
    explicit TimeZone(std::shared_ptr<const Impl> impl);
    std::shared_ptr<const Impl> impl_;
};

}  // namespace tarvo
