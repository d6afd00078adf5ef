#pragma once

#include <array>

#include "tarvo/Export.h"
#include "tarvo/calculation/FixedTimetable.h"

namespace tarvo {

/// The official Kuala Lumpur prayer timetable, compiled in from data/timetables.
class TARVO_EXPORT KLFixedTimes {
public:
    /// Fajr, sunrise, Dhuhr, Asr, Maghrib and Isha (local fractional hours) of the day whose
    /// key is exactly `epoch` (seconds to 00:00 UTC of the date), or six -1 values.
    static std::array<double, 6> getTimingsForEpoch(double epoch);

    /// The table itself, for a host that replaces it at start-up with the official file.
    static FixedTimetable& timetable();
};

}  // namespace tarvo
