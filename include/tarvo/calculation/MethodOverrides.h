#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "tarvo/Export.h"

namespace tarvo {

class PrayerCalculator;

/// A user's changes to the method in force: Fajr or Isha at another sun depression, Maghrib
/// as minutes after sunset, Isha as minutes after Maghrib. Each replaces one rule of whatever
/// method the calculator holds and keeps the others (the method's remaining numbers, and a
/// named authority's safety minutes and rounding): "Karachi, but Fajr at 19.5 degrees".
struct TARVO_EXPORT MethodOverrides {
    /// Longest interval accepted, in minutes: a whole day.
    static constexpr double kMaximumMinutes = 1440;

    std::optional<double> fajrAngle;       ///< degrees, above 0 and at most 90
    std::optional<double> ishaAngle;       ///< degrees, above 0 and at most 90
    std::optional<double> maghribMinutes;  ///< minutes after sunset, 0 to a day
    std::optional<double> ishaMinutes;     ///< minutes after Maghrib, above 0 and at most a day

    bool empty() const { return !fajrAngle && !ishaAngle && !maghribMinutes && !ishaMinutes; }

    /// Why these overrides cannot be applied together, in plain words; nothing when they
    /// can. Isha is either an angle or minutes, never both, and each value must lie in its
    /// range (the checks below).
    std::optional<std::string> problem() const;

    /// Why `degrees` cannot be the depression angle named `what` ("Fajr angle 95 is outside
    /// (0, 90] degrees"): 0 is a city's "not chosen" and as an angle would put Fajr at sunrise.
    static std::optional<std::string> angleProblem(double degrees, std::string_view what);
    /// Why `minutes` cannot be Maghrib's interval after sunset (0 to a day).
    static std::optional<std::string> maghribMinutesProblem(double minutes);
    /// Why `minutes` cannot be Isha's interval after Maghrib (above 0, at most a day).
    static std::optional<std::string> ishaMinutesProblem(double minutes);

    /// Applies the overrides the calculator's method and position are already set for: the
    /// method's six numbers first, then each override over the one it names. Overrides with a
    /// problem() are not applied (nothing changes).
    void applyTo(PrayerCalculator& calculator) const;
};

}  // namespace tarvo
