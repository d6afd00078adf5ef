#pragma once

// A calculator set as a host sets one, and a day computed at a place: the settings every
// calculation test writes, in one designated-initialiser call.
#include <optional>
#include <string>
#include <vector>

#include "support/Dates.h"
#include "tarvo/calculation/PrayerCalculator.h"

namespace tarvo::test {

struct Settings {
    int64_t method = 0;
    std::optional<int64_t> asr{};
    std::optional<int64_t> highLatitudeRule{};
    std::optional<PolarResolution> polar{};
    // Applied after the method, in this order, as a host applies a user's overrides.
    std::optional<double> fajrAngle{};
    std::optional<double> fajrMinutes{};
    std::optional<double> maghribAngle{};
    std::optional<double> ishaAngle{};
    std::optional<double> ishaMinutes{};
};

inline PrayerCalculator configured(const Settings& s) {
    PrayerCalculator c;
    c.setCalcMethod(s.method);
    if (s.asr) c.setAsrJuristic(*s.asr);
    if (s.highLatitudeRule) c.setAdjustHighLats(*s.highLatitudeRule);
    if (s.polar) c.setPolarResolution(*s.polar);
    if (s.fajrAngle) c.setFajrAngle(*s.fajrAngle);
    if (s.fajrMinutes) c.setFajrMinutes(*s.fajrMinutes);
    if (s.maghribAngle) c.setMaghribAngle(*s.maghribAngle);
    if (s.ishaAngle) c.setIshaAngle(*s.ishaAngle);
    if (s.ishaMinutes) c.setIshaMinutes(*s.ishaMinutes);
    return c;
}

struct Place {
    double latitude, longitude;
    const char* zone;
    const char* city = nullptr;  // none: the day is asked without a city name
};

/// The day's ten entries for `date` at `place`.
inline std::vector<double> dayAt(PrayerCalculator& c, Date date, const Place& place) {
    return c.getDatePrayerTimes(date, place.city ? std::optional<std::string>(place.city) : std::nullopt, std::nullopt,
                                place.latitude, place.longitude, std::string(place.zone));
}

}  // namespace tarvo::test
