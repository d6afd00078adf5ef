// MethodOverrides: a user's angle and minute changes over the method in force, checked and
// applied through the calculator's custom setters, which start from the method's own numbers.
#include "tarvo/calculation/MethodOverrides.h"

#include <cmath>

#include "platform/host/LogMacros.h"
#include "tarvo/calculation/PrayerCalculator.h"

namespace tarvo {

std::optional<std::string> MethodOverrides::problem() const {
    // Isha has one rule: the later of the two setters would silently win.
    if (ishaAngle && ishaMinutes) {
        return std::string("give Isha either as an angle (--isha-angle) or as minutes after Maghrib (--isha-minutes), "
                           "not both");
    }
    const auto finite = [](const std::optional<double>& v) { return !v || std::isfinite(*v); };
    if (!finite(fajrAngle) || !finite(ishaAngle) || !finite(maghribMinutes) || !finite(ishaMinutes)) {
        return std::string("the angles and minutes must be numbers");
    }
    // An angle of 0 puts Fajr at sunrise and Isha at sunset; a city stores 0 for "not chosen".
    if (fajrAngle && *fajrAngle <= 0) return std::string("--fajr-angle must be above 0 degrees");
    if (ishaAngle && *ishaAngle <= 0) return std::string("--isha-angle must be above 0 degrees");
    if (maghribMinutes && *maghribMinutes < 0) return std::string("--maghrib-minutes must be 0 or more");
    // Isha at Maghrib itself would leave no time for Maghrib.
    if (ishaMinutes && *ishaMinutes <= 0) return std::string("--isha-minutes must be above 0");
    return std::nullopt;
}

void MethodOverrides::applyTo(PrayerCalculator& calculator) const {
    if (const auto why = problem()) {
        TARVO_LOG_ERROR("Method overrides not applied: {}", *why);
        return;
    }
    if (fajrAngle) calculator.setFajrAngle(*fajrAngle);
    if (maghribMinutes) calculator.setMaghribMinutes(*maghribMinutes);
    if (ishaAngle) calculator.setIshaAngle(*ishaAngle);
    if (ishaMinutes) calculator.setIshaMinutes(*ishaMinutes);
}

}  // namespace tarvo
