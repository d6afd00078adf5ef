#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tarvo/Export.h"

namespace tarvo {

/// One named calculation method of the engine: its number, names, the six parameters the
/// calculator reads (Fajr, Maghrib and Isha, each an angle or minutes), the fixed minutes an
/// authority adds to its computed times, its rule for the middle of the night, and where its
/// parameters and the check against its published timetable come from.
///
/// The catalogue (`all`) is the one table behind the calculator's method table, the method
/// names and the tool's listing. Numbers 1-7 are the built-in methods that stored settings
/// refer to; named methods of other authorities follow from 8. Number 0 (automatic) is not a row.
class TARVO_EXPORT CalculationMethod {
public:
    /// Which night the middle of the night is taken of.
    enum class Midnight {
        Standard,  ///< sunset to tomorrow's sunrise
        Jafari,    ///< sunset to tomorrow's Fajr (the Shia rule)
    };
    /// Indices into `minuteOffsets`.
    enum Offset : size_t { FajrOffset = 0, SunriseOffset, DhuhrOffset, AsrOffset, MaghribOffset, IshaOffset };

    int64_t number = 0;
    /// Display name, also the localisation key (e.g. "Diyanet (Turkey)").
    std::string name;
    /// The name the tool accepts for --method (lower case, no spaces, e.g. "diyanet").
    std::string key;
    /// Fajr selector and value, Maghrib selector and value, Isha selector and value: selector
    /// 0 means the value is a sun depression angle, 1 minutes (before sunrise for Fajr, after
    /// sunset for Maghrib, after Maghrib for Isha).
    std::array<double, 6> params{};
    /// Minutes the authority adds to each computed time (Fajr, sunrise, Dhuhr, Asr, Maghrib,
    /// Isha); all zero for most methods. Maghrib's own minutes after sunset live in params.
    std::array<double, 6> minuteOffsets{};
    Midnight midnight = Midnight::Standard;
    /// Where the parameters were taken from.
    std::string parameterSource;
    /// The published timetable the method was compared with; empty when none was found.
    std::string checkedAgainst;
    /// Fajr and Isha by the Moonsighting Committee's twilight minutes, which follow the
    /// latitude and the season (see seasonalTwilightMinutes), instead of by params.
    bool seasonalTwilight = false;

    bool checked() const { return !checkedAgainst.empty(); }
    bool hasMinuteOffsets() const;

    /// Every method, by number (1 upwards).
    static const std::vector<CalculationMethod>& all();
    /// The method with this number; nullptr for 0 (automatic) and for unknown numbers.
    static const CalculationMethod* withNumber(int64_t number);
    /// The number for a method name or number as a user types it: a key ("diyanet"), the
    /// display name, in any letter case, "auto"/"automatic" for 0, or the number itself
    /// ("8"). Empty when nothing matches.
    static std::optional<int64_t> numberForName(std::string_view text);
    /// The highest method number.
    static int64_t highestNumber();

    /// The Moonsighting Committee's twilight in minutes for a latitude (degrees) and a day
    /// counted from the winter solstice of that hemisphere (0 on 21 December in the north,
    /// 21 June in the south): {Fajr before sunrise, Isha after sunset}. Linear between
    /// values at the solstices and equinoxes: 91 days, then four spans of 46 days, then 91.
    static std::array<double, 2> seasonalTwilightMinutes(double latitude, double daysSinceWinterSolstice);

    /// The middle of the night by `rule` for a day's ten times (local hours, the
    /// calculator's order): sunset plus half the way to tomorrow's sunrise (Standard) or to
    /// tomorrow's Fajr (Jafari). Not wrapped into 0-24.
    static double middleOfTheNight(const std::vector<double>& times, Midnight rule);
};

}  // namespace tarvo
