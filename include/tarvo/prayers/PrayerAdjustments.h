#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "tarvo/Export.h"

namespace tarvo {

class PrayerCalculator;
class PrayerConfiguration;

/// What a user changes in a computed day, as a plain value: minutes added to each prayer
/// (Fajr, Sunrise, Dhuhr, Asr, Maghrib, Isha, Qiyam) and fixed intervals for Maghrib after
/// sunset and Isha after Maghrib in place of the method's own rule.
///
/// The per-prayer minutes follow the user's settings: Sunset moves with Maghrib (the two are
/// the same moment unless a method delays Maghrib), and tomorrow's Fajr and sunrise with
/// today's. A value made from a configuration carries its minutes only when the
/// configuration applies adjustments (UsePrayerAdjustments); it has no intervals.
class TARVO_EXPORT PrayerAdjustments {
public:
    /// Longest adjustment or interval accepted, in minutes: a whole day.
    static constexpr int64_t kMaximumMinutes = 1440;

    /// No minutes added, the method's own intervals.
    PrayerAdjustments() = default;
    /// The configuration's adjustment minutes when it applies them (or `force`), else none;
    /// none for a null configuration.
    static PrayerAdjustments fromConfiguration(const PrayerConfiguration* configuration, bool force = false);

    /// The minutes added to a prayer type 0-9 (Sunset reads Maghrib's, 8 and 9 read Fajr's
    /// and Sunrise's); 0 for any other type.
    int64_t minutesFor(int64_t type) const;
    /// Sets the minutes of Fajr, Sunrise, Dhuhr, Asr, Maghrib, Isha or Qiyam. Any other type
    /// (Sunset, the tomorrow entries) or more than a day either way is refused with the reason.
    std::optional<std::string> setMinutes(int64_t type, int64_t minutes);

    /// Maghrib this many minutes after sunset, and Isha this many after Maghrib, instead of
    /// the method's rule; nothing keeps the method's. An interval must lie in 0 to a day.
    std::optional<std::string> setMaghribMinutes(std::optional<double> minutes);
    std::optional<std::string> setIshaMinutes(std::optional<double> minutes);
    const std::optional<double>& maghribMinutes() const { return maghribMinutes_; }
    const std::optional<double>& ishaMinutes() const { return ishaMinutes_; }

    /// Gives the calculator the chosen intervals (none: nothing changes).
    void applyIntervals(PrayerCalculator& calculator) const;
    /// The engine's times of day (hours, index = type) with each prayer's minutes added; a
    /// missing time stays missing.
    std::vector<double> adjustedHours(const std::vector<double>& hours) const;

    bool operator==(const PrayerAdjustments&) const = default;

private:
    // Indexed by type 0-7; Sunset's slot is never set (it reads Maghrib's).
    std::array<int64_t, 8> minutes_{};
    std::optional<double> maghribMinutes_;
    std::optional<double> ishaMinutes_;
};

}  // namespace tarvo
