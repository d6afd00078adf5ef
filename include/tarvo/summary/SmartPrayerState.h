#pragma once

#include <cstdint>
#include <optional>

namespace tarvo {

/// The display state of a prayer summary; the raw value is what hosts store and compare.
enum class SmartPrayerState : int64_t {
    started = 0,        ///< white; "Started" while in prayer, else "Time for"
    soon = 1,           ///< red 206/36/36; "Soon"
    quarterPassed = 2,  ///< 255/200/0; "Time for"
    halfPassed = 3,     ///< 254/149/78; "Now"
    ending = 4,         ///< 176/52/41; "Ending"
    upcoming = 5,       ///< white; "Next"
};

/// The state with this raw value (0 to 5), or nothing.
constexpr std::optional<SmartPrayerState> smartPrayerStateFromRaw(int64_t raw) {
    if (raw < 0 || raw > 5) return std::nullopt;
    return static_cast<SmartPrayerState>(raw);
}

constexpr int64_t rawValue(SmartPrayerState state) { return static_cast<int64_t>(state); }

}  // namespace tarvo
