#pragma once

// The calculation settings handle and what the day computations of the C interface share:
// checking a place, making it the city the engine computes for, and writing moments.

#include <cstdint>
#include <memory>
#include <optional>

#include "tarvo/calculation/PolarResolution.h"
#include "tarvo/cities/CalculationChoices.h"
#include "tarvo/platform/Date.h"
#include "tarvo/platform/TimeZone.h"
#include "tarvo/prayers/PrayerAdjustments.h"
#include "tarvo/tarvo.h"

struct tarvo_settings {
    // The C interface's default leaves polar times missing (TARVO_POLAR_NONE), whatever the
    // preferences of the data folder say.
    tarvo_settings() { choices.polar = tarvo::storedPolarResolution(tarvo::PolarResolution::None); }
    tarvo::CalculationChoices choices;     ///< all automatic; the Maghrib and Isha intervals too
    tarvo::PrayerAdjustments adjustments;  ///< minutes per prayer
    // How the current and next prayer are chosen and named; all off by default, whatever
    // the preferences of the data folder say.
    bool showQiyam = false;
    bool useSunrise = false;
    bool arabicNames = false;
};

namespace tarvo {
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
/// A moment, or a missing one, shown on `clock`: the one place where the interface decides
/// how a missing time is written.
tarvo_moment momentOf(std::optional<Date> moment, const TimeZone& clock);
/// The same on a clock `offsetSeconds` ahead of UTC.
tarvo_moment momentOf(std::optional<Date> moment, int64_t offsetSeconds);
}  // namespace tarvo::capi
