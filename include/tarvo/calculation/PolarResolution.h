#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "tarvo/Export.h"

namespace tarvo {

/// What a day's times become where the sun gives no moment for them: beyond the polar
/// circles it does not rise for weeks in winter and does not set in summer, so sunrise,
/// sunset, Asr and Maghrib (and Fajr and Isha, which the high-latitude rules measure from the
/// night) have no time of their own.
///
/// - None: they stay missing.
/// - NearestDay: they are the clock times of the nearest date, before or after, on which the
///   sun both rises and sets at the place.
/// - NearestLatitude: they are the times of the same date at the nearest latitude, on the same
///   longitude, where the sun rises and sets that day.
///
/// Only what is missing after the high-latitude rules is filled: a place where the sun rises
/// and sets keeps every time it has.
enum class PolarResolution : int64_t { None = 0, NearestDay = 1, NearestLatitude = 2 };

/// Settings and saved cities store the choice as an integer where 0 means "not chosen" (as
/// for the method and the high-latitude rule): 1 none, 2 nearest day, 3 nearest latitude.
inline constexpr int64_t kPolarResolutionAutomatic = 0;

/// The stored integer of a choice (1 to 3).
TARVO_EXPORT int64_t storedPolarResolution(PolarResolution resolution);
/// The choice a stored integer names; nothing for 0 ("not chosen") and unknown values.
TARVO_EXPORT std::optional<PolarResolution> polarResolutionFromStored(int64_t stored);
/// A city's choice when it made one, else the preference's, else NearestLatitude: the rule the
/// Muslim World League's Islamic Fiqh Council and the Saudi Council of Senior Scholars give for
/// days without a sunrise or a sunset (times from the nearest region where day and night are
/// distinct), which keeps the place's own noon and date.
TARVO_EXPORT PolarResolution resolvePolarResolution(int64_t cityChoice, int64_t preference);

/// "none", "nearest-day", "nearest-latitude".
TARVO_EXPORT std::string_view polarResolutionName(PolarResolution resolution);
/// The choice a name gives (one of the names above, as written); nothing for other text.
TARVO_EXPORT std::optional<PolarResolution> polarResolutionNamed(std::string_view name);

}  // namespace tarvo
