#pragma once

// The calculation settings handle and what the day computations of the C interface share:
// checking a place, making it the city the engine computes for, and writing moments.

#include <cstdint>
#include <memory>
#include <optional>

#include "tarvo/platform/Date.h"
#include "tarvo/platform/TimeZone.h"
#include "tarvo/tarvo.h"

struct tarvo_settings {
    int64_t method = 0;        ///< 0 automatic
    int64_t asr = 0;           ///< 0 automatic
    int64_t highLatitude = 0;  ///< 0 automatic
    tarvo_polar_resolution polar = TARVO_POLAR_NONE;
    std::optional<double> fajrAngle;  ///< the custom method's angles, when chosen
    std::optional<double> ishaAngle;
    std::optional<double> gmtHours;   ///< a fixed offset instead of the zone's
    int64_t dst = 0;                  ///< 0 follow the zone, 1 force on, 2 force off
};

namespace tarvo {
class PrayerCalculator;
class TarvoCity;
}  // namespace tarvo

namespace tarvo::capi {

/// The settings, or the automatic ones for NULL.
const tarvo_settings& settingsOrDefault(const tarvo_settings* settings);

/// Throws a Failure unless the position is a real one (finite, within the globe).
void checkPosition(double latitude, double longitude);
/// The zone of that name, or a Failure saying it is unknown.
TimeZone zoneNamed(const char* name);
/// Throws a Failure unless year-month-day is a day of years 1 to 9999.
void checkGregorianDate(int64_t year, int64_t month, int64_t day);

/// The place with its settings as the city the engine computes for, after checking both.
std::shared_ptr<TarvoCity> cityFor(const tarvo_place& place, const tarvo_settings& settings);
/// Applies the polar resolution of the settings to the calculator.
void applyPolarResolution(PrayerCalculator& calculator, const tarvo_settings& settings);

/// A moment, or a missing one, shown on `clock`: the one place where the interface decides
/// how a missing time is written.
tarvo_moment momentOf(std::optional<Date> moment, const TimeZone& clock);
/// The moment of an engine time of day: `hours` on the clock of `day` running
/// `offsetSeconds` ahead of UTC (NaN: missing).
tarvo_moment momentOfEngineHours(double hours, int64_t year, int64_t month, int64_t day, int64_t offsetSeconds);

}  // namespace tarvo::capi
