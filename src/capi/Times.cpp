// A day's times for a place, and the current and next prayer with the watch summary.
#include <cmath>

#include "Boundary.h"
#include "Calculation.h"
#include "tarvo/cities/TarvoCity.h"
#include "tarvo/configuration/PrayerConfiguration.h"
#include "tarvo/facade/CurrentAndNextPrayer.h"
#include "tarvo/platform/Clock.h"
#include "platform/host/DispatchQueue.h"
#include "tarvo/prayers/PlaceDayTimes.h"
#include "tarvo/prayers/Prayer.h"
#include "tarvo/summary/SmartPrayerInfo.h"

using namespace tarvo;
using namespace tarvo::capi;

namespace {

constexpr const char* kPrayerNames[TARVO_PRAYER_COUNT] = {"Fajr",   "Sunrise", "Dhuhr", "Asr",
                                                          "Sunset", "Maghrib", "Isha",  "Qiyam"};

tarvo_prayer_moment prayerMoment(const std::shared_ptr<Prayer>& prayer, const TimeZone& clock,
                                 const Prayer::NameContext& naming) {
    tarvo_prayer_moment m{};
    if (!prayer) return m;
    m.present = 1;
    m.type = static_cast<int32_t>(prayer->Type());
    copyText(m.name, sizeof m.name, prayer->PrayerName(naming));
    m.time = momentOf(prayer->PrayerTime(), clock);
    return m;
}

}  // namespace

extern "C" {

const char* tarvo_prayer_name(int32_t prayer) {
    return prayer >= 0 && prayer < TARVO_PRAYER_COUNT ? kPrayerNames[prayer] : nullptr;
}

tarvo_status tarvo_times(const tarvo_settings* settings, const tarvo_place* place, int32_t year, int32_t month,
                         int32_t day, tarvo_day_times* out) {
    return guarded([&] {
        require(place, "place");
        require(out, "out");
        checkGregorianDate(year, month, day);
        const tarvo_settings& s = settingsOrDefault(settings);
        const auto city = cityFor(*place, s);
        const auto computed = PlaceDayTimes::compute(*city, year, month, day, s.adjustments);
        if (!computed) throw Failure(TARVO_ERROR_INTERNAL, "the engine gave no times for this day");

        tarvo_day_times t{};
        t.year = year;
        t.month = month;
        t.day = day;
        t.utc_offset_seconds = static_cast<int32_t>(computed->utcOffsetSeconds);
        for (size_t i = 0; i < TARVO_PRAYER_COUNT; ++i) {
            t.times[i] = momentOf(computed->moment(i), computed->utcOffsetSeconds);
            t.hours[i] = t.times[i].present ? computed->hours[i] : std::nan("");
        }
        t.method = static_cast<int32_t>(computed->method);
        t.asr = static_cast<int32_t>(computed->asr);
        t.high_latitude = static_cast<int32_t>(computed->highLatitude);
        t.fixed_timings = computed->fixedTimings ? 1 : 0;
        *out = t;
        return TARVO_OK;
    });
}

tarvo_status tarvo_now(const tarvo_settings* settings, const tarvo_place* place, double unix_seconds,
                       int32_t countdown, tarvo_now_info* out) {
    return guarded([&] {
        require(place, "place");
        require(out, "out");
        if (!std::isnan(unix_seconds) && !(std::fabs(unix_seconds) <= 253402300799.0)) {
            throw Failure(TARVO_ERROR_INVALID_ARGUMENT, "the moment is outside the years 1 to 9999");
        }
        const tarvo_settings& s = settingsOrDefault(settings);
        const auto city = cityFor(*place, s);
        const Date now = std::isnan(unix_seconds) ? Clock::now() : Date(unix_seconds);
        // The request's settings alone (no shared configuration, no clock but for NaN), so
        // two handles on two threads never meet.
        const auto configuration = PrayerConfiguration::withValues(
            {{"ShowQiyam", s.showQiyam}, {"UseSunrise", s.useSunrise}, {"ShowPrayerNamesInArabic", s.arabicNames}});
        const CurrentAndNextPrayer::Answer answer =
            CurrentAndNextPrayer::at(city, configuration, s.adjustments, now, countdown != 0);
        const TimeZone& zone = answer.clock;
        const Prayer::NameContext& naming = answer.naming;

        tarvo_now_info info{};
        info.now = momentOf(now, zone);
        info.current = prayerMoment(answer.current, zone, naming);
        info.next = prayerMoment(answer.next, zone, naming);
        info.seconds_to_next = info.next.time.present ? info.next.time.unix_seconds - now.timeIntervalSince1970() : std::nan("");
        if (const auto& smart = answer.summary) {
            info.has_summary = 1;
            info.focus = prayerMoment(smart->prayerToFocus(), zone, naming);
            info.state = static_cast<int32_t>(smart->prayerState());
            info.is_in_prayer = smart->isInPrayer() ? 1 : 0;
            info.in_prayer_ends = momentOf(smart->inPrayerEndingTime(), zone);
            info.total_seconds = smart->totalTimeBetweenPrayers();
            info.seconds_since_current = smart->secondsSinceCurrentPrayer();
            info.percent_elapsed = smart->percentOfTimeElapsedBeforeNext();
            const Color color = SmartPrayerInfo::colorForPrayerState(smart->prayerState());
            info.color[0] = color.red;
            info.color[1] = color.green;
            info.color[2] = color.blue;
            info.color[3] = color.alpha;
            const auto lines = smart->getInfoForGraphicalComplication(naming);
            copyText(info.complication[0], sizeof info.complication[0], lines[0]);
            copyText(info.complication[1], sizeof info.complication[1], lines[1]);
            info.refresh_at = momentOf(smart->getBestTimeToRefreshComplication(), zone);
            info.stale = smart->isInfoStale() ? 1 : 0;
        }
        *out = info;
        return TARVO_OK;
    });
}

}  // extern "C"
