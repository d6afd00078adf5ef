#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "tarvo/Export.h"

namespace tarvo {

class PrayerConfiguration;

/// The minutes a user adds to each prayer of a computed day (Fajr, Sunrise, Dhuhr, Asr,
/// Maghrib, Isha, Qiyam), as a plain value: the one home of the per-prayer adjustments,
/// whether they come from the stored configuration or from a request. Intervals that replace
/// a method's rule (Maghrib minutes after sunset, Isha after Maghrib) are not adjustments:
/// they are MethodOverrides the engine applies.
///
/// The per-prayer minutes follow the user's settings: Sunset moves with Maghrib (the two are
/// the same moment unless a method delays Maghrib), and tomorrow's Fajr and sunrise with
/// today's. A value made from a configuration carries its minutes only when the
/// configuration applies adjustments (UsePrayerAdjustments).
class TARVO_EXPORT PrayerAdjustments {
public:
    /// Longest adjustment accepted, in minutes: a whole day.
    static constexpr int64_t kMaximumMinutes = 1440;

    /// No minutes added.
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

    /// The engine's times of day (hours, index = type) with each prayer's minutes added; a
    /// missing time stays missing.
    std::vector<double> adjustedHours(const std::vector<double>& hours) const;

    bool operator==(const PrayerAdjustments&) const = default;

private:
    // Indexed by type 0-7; Sunset's slot is never set (it reads Maghrib's).
    std::array<int64_t, 8> minutes_{};
};

}  // namespace tarvo
