#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "tarvo/Export.h"
#include "tarvo/platform/Date.h"
#include "tarvo/prayers/PrayerAdjustments.h"

namespace tarvo {

class TarvoCity;

/// One calendar day's times for a city as the engine gives them, to the second: the times of
/// day (hours, index = prayer type), the offset from UTC they are written on, and the
/// settings they were calculated by. The user's adjustments are added to the hours (the
/// city's own angles and intervals are the engine's). This is what a host shows as "the
/// day's times" (the facade's day lists are stamped to the minute instead).
///
/// The day is the calendar day of the device's zone holding noon of the date, which the
/// engine then computes on the city's clock. Pure apart from that zone: any thread may call.
class TARVO_EXPORT PlaceDayTimes {
public:
    /// The day's times, or nothing when the engine could not compute the day. `timeFormat` is
    /// the engine's text format (0 24-hour, 1 12-hour, 2 12-hour without am/pm).
    static std::optional<PlaceDayTimes> compute(const TarvoCity& city, int64_t year, int64_t month, int64_t day,
                                                const PrayerAdjustments& adjustments = {}, int64_t timeFormat = 0);

    int64_t year = 0, month = 0, day = 0;
    /// Ten times of day in local clock hours (6.5 = 06:30, may pass 24); NaN when missing.
    std::vector<double> hours;
    /// The same as the engine writes them in `timeFormat` ("N/A" when missing).
    std::vector<std::string> text;
    /// The engine's names of the ten entries.
    std::vector<std::string> names;
    /// Seconds east of UTC of the clock today's times are written on.
    int64_t utcOffsetSeconds = 0;
    int64_t method = 0;
    int64_t asr = 0;
    int64_t highLatitude = 0;
    bool fixedTimings = false;
    bool dubai = false;

    /// The moment of entry 0-7 (today's prayers, written on today's offset); nothing for a
    /// missing time or another index.
    std::optional<Date> moment(size_t index) const;
};

}  // namespace tarvo
