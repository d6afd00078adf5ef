#pragma once

#include <cstdint>
#include <optional>

namespace tarvo {

/// How a place's times are to be calculated, as a user chooses it: what a city record keeps
/// beside its position (0 means automatic for the three choices).
struct CalculationChoices {
    int64_t method = 0;          ///< 0 automatic
    int64_t asr = 0;             ///< 0 automatic
    int64_t highLatitude = 0;    ///< 0 automatic
    std::optional<int64_t> dst;  ///< 0 follow the zone, 1 force on, 2 force off
    std::optional<double> gmt;   ///< a fixed offset from GMT in hours instead of the zone's
    std::optional<double> fajrAngle;  ///< replaces the method's Fajr angle (any method)
    std::optional<double> ishaAngle;
    std::optional<double> maghribMinutes;  ///< Maghrib this many minutes after sunset (any method)
    std::optional<double> ishaMinutes;     ///< Isha this many minutes after Maghrib (any method)
    /// As a city stores it: 0 not chosen (the preference decides), 1 none, 2 nearest day,
    /// 3 nearest latitude.
    int64_t polar = 0;
};

}  // namespace tarvo
