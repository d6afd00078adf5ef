#pragma once

#include <optional>
#include <string>

#include "tarvo/Export.h"

namespace tarvo {

class PrayerCalculator;

/// A user's changes to the method in force: Fajr or Isha at another sun depression, Maghrib
/// as minutes after sunset, Isha as minutes after Maghrib. Each replaces one rule of whatever
/// method the calculator holds and keeps the others (the method's remaining numbers, and a
/// named authority's safety minutes and rounding): "Karachi, but Fajr at 19.5 degrees".
struct TARVO_EXPORT MethodOverrides {
    std::optional<double> fajrAngle;       ///< degrees, above 0
    std::optional<double> ishaAngle;       ///< degrees, above 0
    std::optional<double> maghribMinutes;  ///< minutes after sunset, 0 or more
    std::optional<double> ishaMinutes;     ///< minutes after Maghrib, above 0

    bool empty() const { return !fajrAngle && !ishaAngle && !maghribMinutes && !ishaMinutes; }

    /// Why these overrides cannot be applied together, in plain words naming the tool's
    /// options; nothing when they can. Isha is either an angle or minutes, never both, and
    /// each value must lie in its range.
    std::optional<std::string> problem() const;

    /// Applies the overrides the calculator's method and position are already set for: the
    /// method's six numbers first, then each override over the one it names. Overrides with a
    /// problem() are not applied (nothing changes).
    void applyTo(PrayerCalculator& calculator) const;
};

}  // namespace tarvo
