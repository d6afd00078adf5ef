#include "tarvo/cities/CityCalculatorSetup.h"

#include <cmath>

#include "tarvo/calculation/MethodOverrides.h"
#include "tarvo/calculation/PrayerCalculator.h"
#include "tarvo/cities/TarvoCity.h"
#include "tarvo/configuration/PrayerConfiguration.h"

namespace tarvo {

void configureCalculatorFromCity(PrayerCalculator& calculator, const TarvoCity& city) {
    // Position first: the automatic method and high-latitude rule depend on it, and the
    // angles below start from the method as resolved.
    calculator.setLat(city.latitude());
    calculator.setLng(city.longitude());
    calculator.setTimeFormat(0);
    calculator.setCalcMethod(city.prayerMethod());
    calculator.setAsrJuristic(city.asrMethod());
    calculator.setAdjustHighLats(city.adjustHighLatitude());
    if (city.DSTPreference() == 1) {
        calculator.setOverrideDST(1);
    } else if (city.DSTPreference() == 2) {
        calculator.setOverrideDST(2);
    }
    // Older saved cities carry -100 for "offset from the zone"; the calculator knows only
    // 50 as that marker, and -100 taken literally would be an offset of minus a hundred hours.
    static_assert(TarvoCity::kGMTFromTimeZone == PrayerCalculator::kOffsetFromZone,
                  "a city's marker passes to the calculator unchanged");
    const double gmt = city.GMT() == TarvoCity::kGMTFromTimeZoneLegacy ? PrayerCalculator::kOffsetFromZone : city.GMT();
    calculator.setOverrideTimeZoneOffset(gmt);
    // The custom angles belong to the custom method and apply only while it is in force
    // (read after the method and position are set, so an automatic method counts as
    // resolved). A custom angle of 0 is "not chosen" and keeps the custom method's 18 and
    // 17 degrees: taken literally it would put Fajr at sunrise and Isha at sunset.
    if (calculator.calcMethod() == PrayerCalculator::kCustomMethod) {
        if (city.customFajrAngle() > 0) calculator.setFajrAngle(city.customFajrAngle());
        if (city.customIshaAngle() > 0) calculator.setIshaAngle(city.customIshaAngle());
    }
    // Then the city's overrides over whatever method is in force: each replaces one rule and
    // keeps the method's other numbers, and a named authority's safety minutes and rounding
    // ("Karachi with a 19.5 degree Fajr"). A city carrying Isha both as an angle and as
    // minutes keeps the minutes, the rule that was given last.
    MethodOverrides overrides;
    overrides.fajrAngle = city.fajrAngleOverride();
    if (!city.ishaMinutes()) overrides.ishaAngle = city.ishaAngleOverride();
    overrides.maghribMinutes = city.maghribMinutes();
    overrides.ishaMinutes = city.ishaMinutes();
    overrides.applyTo(calculator);
    // Only the city's own choice: the engine by itself leaves polar times missing, and the
    // facade's day timetable adds the user's preference and the default.
    if (const auto chosen = polarResolutionFromStored(city.polarResolution())) calculator.setPolarResolution(*chosen);
}

void chooseCityAngles(TarvoCity& city, const std::optional<double>& fajr, const std::optional<double>& isha) {
    // The angle chosen now is the one the city computes with: on the custom method an
    // override kept from an earlier method would otherwise win over the new custom angle,
    // and Isha minutes kept from before would win over a new Isha angle.
    if (isha) city.setIshaMinutes(std::nullopt);
    if (city.prayerMethod() == PrayerCalculator::kCustomMethod) {
        if (fajr) {
            city.setCustomFajrAngle(*fajr);
            city.setFajrAngleOverride(std::nullopt);
        }
        if (isha) {
            city.setCustomIshaAngle(*isha);
            city.setIshaAngleOverride(std::nullopt);
        }
    } else {
        if (fajr) city.setFajrAngleOverride(fajr);
        if (isha) city.setIshaAngleOverride(isha);
    }
}

PolarResolution polarResolutionOfCity(const TarvoCity& city, const PrayerConfiguration* preferences) {
    return resolvePolarResolution(city.polarResolution(),
                                  preferences ? preferences->PolarResolution() : kPolarResolutionAutomatic);
}

TimeZone clockOfCity(const TarvoCity& city, Date date) {
    const TimeZone zone = TimeZone::withName(city.TimeZone().value_or("")).value_or(TimeZone::gmt());
    const bool followsZone = (city.GMT() == TarvoCity::kGMTFromTimeZone || city.GMT() == TarvoCity::kGMTFromTimeZoneLegacy) &&
                             city.DSTPreference() != 1 && city.DSTPreference() != 2;
    if (followsZone) return zone;
    PrayerCalculator calculator;
    configureCalculatorFromCity(calculator, city);
    calculator.setTimeZone(city.TimeZone());
    const auto seconds = static_cast<int64_t>(std::llround(calculator.getTimeZoneOffset(date) * 3600.0));
    return TimeZone::forSecondsFromGMT(seconds).value_or(zone);
}

}  // namespace tarvo
