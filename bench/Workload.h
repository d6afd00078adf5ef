// The benchmark workload: a fixed set of places, each with a real IANA time zone, and the
// consecutive days of one year. Everything here is computed before any timing starts.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "tarvo/platform/Date.h"

namespace tarvo::bench {

struct Place {
    double latitude = 0;
    double longitude = 0;
    std::optional<std::string> city;      ///< "Place 17": never matches a timetable city name
    std::optional<std::string> timeZone;  ///< an IANA name, e.g. "Europe/Paris"
};

struct Day {
    tarvo::Date noon;  ///< noon of the day in the device zone (UTC in the benchmark)
    int year = 0;
    int month = 0;
    int day = 0;
};

struct Workload {
    std::vector<Place> places;
    std::vector<Day> days;
    /// offsetHours[place * days.size() + day]: the place's zone offset from GMT at the day's
    /// noon, daylight saving included (for peers that take a plain offset).
    std::vector<double> offsetHours;

    size_t placeDays() const { return places.size() * days.size(); }
};

inline constexpr uint64_t kWorkloadSeed = 20240601;
inline constexpr int kWorkloadYear = 2023;

/// `placeCount` places (latitudes uniform in -55..65, longitudes uniform in -180..180, drawn
/// from a fixed seed) and `dayCount` consecutive days starting 1 January of kWorkloadYear.
/// The device zone must already be UTC (TZ=UTC) so that the noons are noon UTC.
Workload makeWorkload(size_t placeCount = 1000, size_t dayCount = 365);

}  // namespace tarvo::bench
