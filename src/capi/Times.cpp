// A day's times for a place, and the current and next prayer with the watch summary.
#include <cmath>

#include "Boundary.h"
#include "Calculation.h"
#include "tarvo/calculation/PrayerCalculator.h"
#include "tarvo/cities/CityCalculatorSetup.h"
#include "tarvo/cities/TarvoCity.h"
#include "tarvo/facade/TarvoDAO.h"
#include "tarvo/platform/Calendar.h"
#include "tarvo/platform/Clock.h"
#include "platform/host/DispatchQueue.h"
#include "tarvo/prayers/Prayer.h"
#include "tarvo/summary/SmartPrayerInfo.h"

using namespace tarvo;
using namespace tarvo::capi;

namespace {

constexpr const char* kPrayerNames[TARVO_PRAYER_COUNT] = {"Fajr",   "Sunrise", "Dhuhr", "Asr",
                                                          "Sunset", "Maghrib", "Isha",  "Qiyam"};

tarvo_prayer_moment prayerMoment(const std::shared_ptr<Prayer>& prayer, const TimeZone& clock) {
    tarvo_prayer_moment m{};
    if (!prayer) return m;
    m.present = 1;
    m.type = static_cast<int32_t>(prayer->Type());
    copyText(m.name, sizeof m.name, prayer->PrayerName());
    m.time = momentOf(prayer->PrayerTime(), clock);
    return m;
}

// Makes the place's clock the device's, and `moment` the library's now, for one request;
// puts both back afterwards.
class DeviceForRequest {
public:
    DeviceForRequest(const TimeZone& zone, double moment) : zone_(TimeZone::systemDefault()) {
        TimeZone::setSystemDefault(zone);
        if (!std::isnan(moment)) {
            Clock::installFixed(Date(moment));
            fixed_ = true;
        }
    }
    ~DeviceForRequest() {
        if (fixed_) Clock::remove();
        TimeZone::setSystemDefault(zone_);
    }
    DeviceForRequest(const DeviceForRequest&) = delete;
    DeviceForRequest& operator=(const DeviceForRequest&) = delete;

private:
    TimeZone zone_;
    bool fixed_ = false;
};

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

        PrayerCalculator calculator;
        configureCalculatorFromCity(calculator, *city);
        applyPolarResolution(calculator, s);
        // The day asked about is the calculator's calendar day holding this moment: noon of
        // the date on that calendar.
        DateComponents noon;
        noon.year = year;
        noon.month = month;
        noon.day = day;
        noon.hour = 12;
        const Date moment = calculator.globalGregCal().dateFromComponents(noon);
        const std::vector<double> hours = calculator.getDatePrayerTimesAsDoubles(
            moment, city->cityName(), city->countryName(), city->latitude(), city->longitude(), city->TimeZone());
        if (hours.size() < TARVO_PRAYER_COUNT) {
            throw Failure(TARVO_ERROR_INTERNAL, "the engine gave no times for this day");
        }
        // The offset the day's times are written on.
        const auto offset = static_cast<int64_t>(std::llround(calculator.getTimeZoneOffset(moment) * 3600.0));

        tarvo_day_times t{};
        t.year = year;
        t.month = month;
        t.day = day;
        t.utc_offset_seconds = static_cast<int32_t>(offset);
        for (size_t i = 0; i < TARVO_PRAYER_COUNT; ++i) {
            t.times[i] = momentOfEngineHours(hours[i], year, month, day, offset);
            t.hours[i] = t.times[i].present ? hours[i] : std::nan("");
        }
        t.method = static_cast<int32_t>(calculator.calcMethod());
        t.asr = static_cast<int32_t>(calculator.asrJuristic());
        t.high_latitude = static_cast<int32_t>(calculator.adjustHighLats());
        t.fixed_timings = calculator.isUsingFixedTimings() ? 1 : 0;
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
        PrayerCalculator probe;
        applyPolarResolution(probe, s);

        // The app's facade is one per process, and its "now" and the device's zone are the
        // process's: one request at a time drives them.
        std::lock_guard lock(deviceStateMutex());
        // Someone asking about a place wants its clock: the city's zone, or the fixed offset
        // its settings give, as it stands at the moment asked about.
        const TimeZone zone =
            clockOfCity(*city, std::isnan(unix_seconds) ? Clock::now() : Date(unix_seconds));
        DeviceForRequest device(zone, unix_seconds);
        const Date now = Clock::now();

        auto facade = TarvoDAO::getSharedInstance();
        facade->setActiveCity(city);
        facade->getPrayerTimesForCurrentDateWithDayOffset(0, city);
        facade->determineCurrentAndNextPrayerTimeForCity(city, true);
        DispatchQueue::main().drain();

        tarvo_now_info info{};
        info.now = momentOf(now, zone);
        info.current = prayerMoment(facade->CurrentPrayer(), zone);
        info.next = prayerMoment(facade->NextPrayer(), zone);
        info.seconds_to_next = info.next.time.present ? info.next.time.unix_seconds - now.timeIntervalSince1970() : std::nan("");
        if (const auto smart = facade->getLatestSmartInfoForCountdownToNextPrayer(countdown != 0)) {
            info.has_summary = 1;
            info.focus = prayerMoment(smart->prayerToFocus(), zone);
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
            const auto lines = smart->getInfoForGraphicalComplication();
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
