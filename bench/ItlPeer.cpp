#include "ItlPeer.h"

#include <algorithm>
#include <array>
#include <cmath>

#include <fmt/format.h>
#include <itl/prayer.h>

#include "tarvo/calculation/PrayerCalculator.h"

namespace tarvo::bench {

namespace {

// Muslim World League (Fajr 18, Isha 17, Shafi'i Asr) with libitl's defaults, except that
// the extreme-latitude search is off. `keepSeconds` turns rounding off (for comparing).
Method itlMethod(bool keepSeconds = false) {
    Method m;
    getMethod(5, &m);
    m.extreme = 0;
    if (keepSeconds) m.round = 0;
    return m;
}

Location itlLocation(const Place& p, double offsetHours) {
    Location loc{};
    loc.degreeLong = p.longitude;
    loc.degreeLat = p.latitude;
    loc.gmtDiff = offsetHours;  // the day's offset, daylight saving included
    loc.dst = 0;
    loc.seaLevel = 0;
    loc.pressure = 1010;
    loc.temperature = 10;
    return loc;
}

}  // namespace

long itlRunWorkload(const Workload& w) {
    const Method method = itlMethod();
    long checksum = 0;
    size_t k = 0;
    for (const Place& place : w.places) {
        Location loc = itlLocation(place, 0);
        for (const Day& day : w.days) {
            loc.gmtDiff = w.offsetHours[k++];
            const ::Date date{day.day, day.month, day.year};
            Prayer prayers[6];
            getPrayerTimes(&loc, &method, &date, prayers);
            checksum += prayers[0].minute + prayers[5].minute;
        }
    }
    return checksum;
}

std::string itlAgreement(const Workload& w) {
    const Method method = itlMethod(true);
    constexpr size_t kTarvoIndex[6] = {0, 1, 2, 3, 5, 6};
    std::array<double, 6> worst{};
    size_t compared = 0;
    for (size_t p = 0; p < w.places.size(); p += 10) {
        const Place& place = w.places[p];
        if (std::fabs(place.latitude) >= 40) continue;
        for (size_t d = 0; d < w.days.size(); d += 7) {
            const Day& day = w.days[d];
            const Location loc = itlLocation(place, w.offsetHours[p * w.days.size() + d]);
            const ::Date date{day.day, day.month, day.year};
            Prayer prayers[6];
            getPrayerTimes(&loc, &method, &date, prayers);

            PrayerCalculator calculator;
            calculator.setCalcMethod(1);
            calculator.setAsrJuristic(1);
            const auto times = calculator.getDatePrayerTimesAsDoubles(day.noon, place.city, std::nullopt,
                                                                      place.latitude, place.longitude, place.timeZone);
            for (size_t i = 0; i < 6; ++i) {
                const double itl = prayers[i].hour * 60.0 + prayers[i].minute + prayers[i].second / 60.0;
                double diff = std::fabs(std::fmod(times[kTarvoIndex[i]] * 60.0 - itl, 1440.0));
                diff = std::min(diff, 1440.0 - diff);
                worst[i] = std::max(worst[i], std::isnan(diff) ? INFINITY : diff);
            }
            ++compared;
        }
    }
    return fmt::format("{} place-days within 40 deg of the equator, max |diff| in minutes: Fajr {:.2f} Sunrise {:.2f} Dhuhr {:.2f} "
                       "Asr {:.2f} Maghrib {:.2f} Isha {:.2f}",
                       compared, worst[0], worst[1], worst[2], worst[3], worst[4], worst[5]);
}

}  // namespace tarvo::bench
