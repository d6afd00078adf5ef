// PrayerCalculator, high-latitude repair: where the sun does not sink far enough below the
// horizon (or the angle gives an implausibly long twilight), Fajr, Isha and Maghrib are
// bounded by a share of the night between sunset and tomorrow's sunrise.
//
//   Given:    raw times in hours (NaN where the sun never reaches the angle), the method's
//             parameters and the high-latitude rule: 1 one seventh of the night, 2 the mean
//             of that and the angle share when the latter is larger, 3 angle/60 of the night,
//             4 half the night.
//   Returned: the times, repaired in place.
//   Notes:    the "night portion" rules long used by prayer-time programs; the one-seventh
//             share is 0.14286, not 1/7, and stored settings and timetables rely on it.
#include "tarvo/calculation/PrayerCalculator.h"

#include <cmath>

namespace tarvo {

double PrayerCalculator::nightPortion(double angle) const {
    switch (adjustHighLats()) {
        case 3: return angle / 60.0;
        case 4: return 0.5;
        case 1:
        case 2: return 0.14286;  // not 1/7: published timetables are computed with 0.14286
        default: return 0;
    }
}

std::vector<double>& PrayerCalculator::dayPortion(std::vector<double>& times) const {
    for (double& t : times) t /= 24.0;
    return times;
}

std::vector<double>& PrayerCalculator::adjustHighLatTimes(std::vector<double>& T) {
    if (T.size() < EntryCount) T.resize(EntryCount, std::nan(""));
    const auto p = params();
    const int64_t rule = adjustHighLats();
    const double night = timeDiff(T[Sunset], T[TomorrowSunrise]);
    // Rule 2 takes the mean of the 1/7 share and the angle share when the latter is larger.
    auto portionFor = [&](double angle) {
        double portion = nightPortion(angle) * night;
        if (rule == 2) {
            const double alt = night * (angle / 60.0);
            if (alt > portion) portion = portion + (alt - portion) * 0.5;
        }
        return portion;
    };

    if (p[0] == 0) {
        const double portion = portionFor(p[1]);
        if (std::isnan(T[Fajr]) || timeDiff(T[Fajr], T[Sunrise]) > portion) T[Fajr] = T[Sunrise] - portion;
        if (std::isnan(T[TomorrowFajr]) || timeDiff(T[TomorrowFajr], T[TomorrowSunrise]) > portion) {
            T[TomorrowFajr] = T[TomorrowSunrise] - portion;
        }
    }
    if (p[4] == 0) {
        const double angle = p[4] == 0 ? p[5] : 18.0;
        const double portion = portionFor(angle);
        if (std::isnan(T[Isha]) || timeDiff(T[Sunset], T[Isha]) > portion) T[Isha] = T[Sunset] + portion;
    }
    {
        const double angle = p[2] == 0 ? p[3] : 4.0;
        // Maghrib deliberately gets the plain share, never the rule-2 mean.
        const double portion = nightPortion(angle) * night;
        if (std::isnan(T[Maghrib]) || timeDiff(T[Sunset], T[Maghrib]) > portion) T[Maghrib] = T[Sunset] + portion;
    }
    return T;
}

}  // namespace tarvo
