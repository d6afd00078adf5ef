// MethodOverrides: a user's angle and minute changes over the method in force, checked and
// applied through the calculator's custom setters, which start from the method's own numbers.
#include "tarvo/calculation/MethodOverrides.h"

#include <fmt/format.h>

#include "platform/host/LogMacros.h"
#include "tarvo/calculation/PrayerCalculator.h"

namespace tarvo {

std::optional<std::string> MethodOverrides::problem() const {
    // Isha has one rule: the later of the two setters would silently win.
    if (ishaAngle && ishaMinutes) {
        return std::string("give Isha either as an angle or as minutes after Maghrib, not both");
    }
    if (fajrAngle) {
        if (auto why = angleProblem(*fajrAngle, "Fajr")) return why;
    }
    if (ishaAngle) {
        if (auto why = angleProblem(*ishaAngle, "Isha")) return why;
    }
    if (maghribMinutes) {
        if (auto why = maghribMinutesProblem(*maghribMinutes)) return why;
    }
    if (ishaMinutes) {
        if (auto why = ishaMinutesProblem(*ishaMinutes)) return why;
    }
    return std::nullopt;
}

std::optional<std::string> MethodOverrides::angleProblem(double degrees, std::string_view what) {
    if (!(degrees > 0 && degrees <= 90)) return fmt::format("{} angle {} is outside (0, 90] degrees", what, degrees);
    return std::nullopt;
}

std::optional<std::string> MethodOverrides::maghribMinutesProblem(double minutes) {
    // Maghrib at sunset itself is a method's own rule, so 0 is a choice.
    if (!(minutes >= 0 && minutes <= kMaximumMinutes)) {
        return fmt::format("Maghrib interval {} is outside 0 to {} minutes", minutes, kMaximumMinutes);
    }
    return std::nullopt;
}

std::optional<std::string> MethodOverrides::ishaMinutesProblem(double minutes) {
    // Isha at Maghrib itself would leave no time for Maghrib.
    if (!(minutes > 0 && minutes <= kMaximumMinutes)) {
        return fmt::format("Isha interval {} is outside (0, {}] minutes", minutes, kMaximumMinutes);
    }
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
