// The facade's day timetables: one city and one date become ten prayer records with the
// user's adjustments, and runs of days relative to today fill the facade's shared lists.
#include <array>
#include <bit>
#include <cmath>
#include <mutex>

#include "platform/host/LogMacros.h"
#include "tarvo/calculation/PrayerCalculator.h"
#include "tarvo/cities/CityCalculatorSetup.h"
#include "tarvo/cities/TarvoCity.h"
#include "tarvo/configuration/PrayerConfiguration.h"
#include "tarvo/facade/TarvoDAO.h"
#include "tarvo/platform/Calendar.h"
#include "tarvo/platform/Clock.h"
#include "platform/host/GlobalStateLock.h"
#include "tarvo/platform/IslamicCalendar.h"
#include "tarvo/prayers/Prayer.h"

namespace tarvo {

namespace {

constexpr size_t kDaySize = 10;
// Sunrise read as the forenoon prayer Doha starts this many minutes after the sun is up.
constexpr int64_t kDohaDelayMinutes = 10;


TarvoDAO::DayList timelessDay() {
    TarvoDAO::DayList day;
    for (size_t i = 0; i < kDaySize; ++i) day.push_back(Prayer::CreatePrayerOfType(static_cast<int64_t>(i)));
    return day;
}

// The user's adjustment of a prayer type in minutes, from a configuration already looked up
// (a day's ten records ask with the one the day started with).
int64_t adjustmentMinutes(const PrayerConfiguration* config, int64_t type, bool force) {
    if (!config) return 0;
    if (!config->UsePrayerAdjustments() && !force) return 0;
    switch (type) {
    case Prayer::Fajr:
    case Prayer::TomorrowFajr: return config->FajrAdj();
    case Prayer::Sunrise:
    case Prayer::TomorrowSunrise: return config->SunriseAdj();
    case Prayer::Dhuhr: return config->DhuhrAdj();
    case Prayer::Asr: return config->AsrAdj();
    // Sunset moves with Maghrib: the two are the same moment unless a method delays Maghrib.
    case Prayer::Sunset:
    case Prayer::Maghrib: return config->MaghribAdj();
    case Prayer::Isha: return config->IshaAdj();
    case Prayer::Qiyam: return config->QiyamAdj();
    default: return 0;
    }
}

// The engine's day for a city, with whether an official timetable gave it and the offset
// from GMT, in whole seconds, in which its times of day are written.
struct EngineDay {
    std::vector<double> times;
    bool fixed = false;
    double offsetSeconds = 0;
};

// The engine's day, answered from this thread's last request when everything the day
// depends on is equal (the calculator's settings, the date, the place and its zone): a run
// of days asks for every day twice, once as the day after the one shown and then as the day
// shown. The answer is the one the engine gave, so it is the same to the bit.
struct LastRequest {
    std::optional<PrayerCalculator> calculator;
    Date date;
    std::optional<std::string> cityName;
    std::optional<std::string> countryName;
    std::optional<std::string> timeZone;
    double latitude = 0;
    double longitude = 0;
    EngineDay day;
};

// Not inlined, so that a request looks the thread-local object up once: inlined, the
// compiler asks for its address again after every call.
[[gnu::noinline]] LastRequest& lastRequest() {
    thread_local LastRequest last;
    return last;
}

// The engine's day for the city and date, from the last request when that was equal.
EngineDay engineDay(PrayerCalculator& calculator, Date date, const TarvoCity& city) {
    LastRequest& last = lastRequest();
    const auto sameBits = [](double a, double b) { return std::bit_cast<uint64_t>(a) == std::bit_cast<uint64_t>(b); };
    const bool sameSettings = last.calculator && last.calculator->computesLike(calculator);
    if (sameSettings && sameBits(last.date.timeIntervalSince1970(), date.timeIntervalSince1970()) &&
        sameBits(last.latitude, city.latitude()) && sameBits(last.longitude, city.longitude()) &&
        last.cityName == city.cityName() && last.countryName == city.countryName() &&
        last.timeZone == city.TimeZone()) {
        return last.day;
    }
    EngineDay day;
    day.times = calculator.getDatePrayerTimesAsDoubles(date, city.cityName(), city.countryName(), city.latitude(),
                                                       city.longitude(), city.TimeZone());
    day.fixed = calculator.isUsingFixedTimings();
    day.offsetSeconds = std::round(calculator.getTimeZoneOffset(date) * 3600.0);
    if (!sameSettings) last.calculator = calculator;  // equal settings are all it is kept for
    last.date = date;
    last.cityName = city.cityName();
    last.countryName = city.countryName();
    last.timeZone = city.TimeZone();
    last.latitude = city.latitude();
    last.longitude = city.longitude();
    last.day = day;
    return day;
}

// Which entries carry tomorrow's date. The evening's events follow one another: from Dhuhr
// on, an event whose clock time (as it is stamped, to the minute) is earlier than the one
// before it has passed midnight, and it and every later event belong to the next calendar
// day (a Reykjavik sunset at 00:04 in June is the next day's; a Qiyam at 01:30 after a 21:00
// Isha too). Deciding on exact minutes, not whole hours, keeps every record after the one it
// follows. The tomorrow entries always carry the next day.
std::array<bool, kDaySize> stampedOnNextDay(const std::vector<double>& times) {
    const auto minuteOfDay = [](double t) {
        return PrayerCalculator::floatToHour(t) * 60 + PrayerCalculator::floatToMin(t);
    };
    std::array<bool, kDaySize> next{};
    next[Prayer::TomorrowFajr] = next[Prayer::TomorrowSunrise] = true;
    int64_t previous = minuteOfDay(times[Prayer::Dhuhr]);
    bool pastMidnight = false;
    for (size_t i = Prayer::Asr; i <= Prayer::Qiyam; ++i) {
        if (std::isfinite(times[i])) {  // a time the engine could not find follows no order
            const int64_t minute = minuteOfDay(times[i]);
            pastMidnight = pastMidnight || minute < previous;
            previous = minute;
        }
        next[i] = pastMidnight;
    }
    return next;
}

}  // namespace

int64_t TarvoDAO::getAdjustmentMinutesForPrayer(int64_t type, bool force) {
    return adjustmentMinutes(PrayerConfiguration::shared().get(), type, force);
}

int64_t TarvoDAO::getDaysInMonth(int64_t year, int64_t month) {
    if (month > 11) return 31;
    if (month == 4 || month == 6 || month == 9 || month == 11) return 30;
    // Month 0 and negative months read as 31 days (the fall-through of the month test).
    if (month != 2) return 31;
    const bool leap = year % 400 == 0 || (year % 4 == 0 && year % 100 != 0);
    return leap ? 29 : 28;
}

TarvoDAO::DayList TarvoDAO::getPrayerTimesForDate(Date date, const std::shared_ptr<TarvoCity>& city,
                                                  const Calendar& gregorianCalendar,
                                                  const IslamicCalendar& islamicCalendar) {
    return dayTimetable(date, city, gregorianCalendar, islamicCalendar, PrayerConfiguration::shared());
}

TarvoDAO::DayList TarvoDAO::dayTimetable(Date date, const std::shared_ptr<TarvoCity>& city,
                                         const Calendar& gregorianCalendar, const IslamicCalendar& islamicCalendar,
                                         const std::shared_ptr<PrayerConfiguration>& config) {
    if (!city) return timelessDay();
    PrayerCalculator calculator;
    configureCalculatorFromCity(calculator, *city);
    // The settings this facade computes with, which need not be the shared ones.
    calculator.setPolarResolution(polarResolutionOfCity(*city, config.get()));

    const bool ramadan = config && config->TwoHourAfterMaghribAuto() && city->isCountrySaudiArabia() &&
                         isDateInRamdan(date, islamicCalendar, config->HijriCorrection());
    if (config && config->OneHalfHourBeforeSunrise()) {
        calculator.setFajrMinutes(static_cast<double>(90 - adjustmentMinutes(config.get(), Prayer::Sunrise, false)));
    }
    // In a Saudi Ramadan the two-hour interval wins over the 90-minute option on purpose:
    // that is the official Ramadan rule there.
    if (config && !ramadan && config->OneHalfHourAfterMaghrib()) {
        calculator.setIshaMinutes(static_cast<double>(adjustmentMinutes(config.get(), Prayer::Maghrib, false) + 90));
    } else if (ramadan || (config && config->TwoHourAfterMaghrib())) {
        calculator.setIshaMinutes(static_cast<double>(adjustmentMinutes(config.get(), Prayer::Maghrib, false) + 120));
    }

    DateComponents addOneDay;
    addOneDay.day = 1;
    const Date tomorrow = gregorianCalendar.dateByAddingComponents(addOneDay, date);
    const DateComponents today = gregorianCalendar.components(date);
    const DateComponents next = gregorianCalendar.components(tomorrow);

    TARVO_LOG_VERBOSE("Get Prayer Times for City {} Timezone: {}, {}", city->cityName().value_or("(null)"),
                      city->TimeZone().value_or("(null)"), date.description());
    const EngineDay requested = engineDay(calculator, date, *city);
    std::vector<double> times = requested.times;
    const double todayOffset = requested.offsetSeconds;
    if (times.size() < kDaySize) {
        TARVO_LOG_ERROR("PRAYERS ARE NULL");
        return timelessDay();
    }
    // The same calculator, so the Fajr and Isha rules decided for the requested day apply.
    // Its fixed-timetable flag, as the last day it computed left it, is the one the records carry.
    const EngineDay nextDay = engineDay(calculator, tomorrow, *city);
    const std::vector<double>& tomorrowTimes = nextDay.times;
    if (tomorrowTimes.size() >= 2) {
        times[Prayer::TomorrowFajr] = tomorrowTimes[Prayer::Fajr];
        times[Prayer::TomorrowSunrise] = tomorrowTimes[Prayer::Sunrise];
    }

    const std::array<bool, kDaySize> onNextDay = stampedOnNextDay(times);
    const bool useSunrise = config && config->UseSunrise();
    const bool fixed = nextDay.fixed;
    // The engine writes times of day on the clock of the moment it was asked about (today's
    // offset for today's entries, tomorrow's for tomorrow's). Each record's moment is that
    // clock reading less that offset: read as wall time in the zone, a time on the far side
    // of a change of summer time would be an hour off, and with a fixed offset the zone's
    // clock is not the one the times were written on at all.
    static const Calendar wallClock(TimeZone::gmt());
    DateComponents scratch;
    TarvoDAO::DayList day;
    day.reserve(kDaySize);
    for (size_t i = 0; i < kDaySize; ++i) {
        const auto type = static_cast<int64_t>(i);
        auto prayer = Prayer::CreatePrayerOfType(type);
        prayer->setIsFixedTimings(fixed);
        if (!std::isfinite(times[i])) {
            // The sun does not reach the angle, rise or set: the record has no time at all.
            // Written as hour 0, it would be a midnight that never was the prayer's.
            prayer->setAdjustmentMinutes(adjustmentMinutes(config.get(), type, false));
            day.push_back(std::move(prayer));
            continue;
        }
        const DateComponents& stamp = onNextDay[i] ? next : today;
        prayer->setPrayerYear(stamp.year, stamp.month, stamp.day, PrayerCalculator::floatToHour(times[i]),
                              PrayerCalculator::floatToMin(times[i]), adjustmentMinutes(config.get(), type, false),
                              wallClock, scratch);
        const double offset = i >= Prayer::TomorrowFajr ? nextDay.offsetSeconds : todayOffset;
        prayer->setPrayerTime(prayer->PrayerTime()->addingTimeInterval(-offset));
        if ((prayer->Type() == Prayer::Sunrise || prayer->Type() == Prayer::TomorrowSunrise) && !useSunrise) {
            prayer->addArbitraryMinutesToPrayerTime(kDohaDelayMinutes, gregorianCalendar, scratch);
        }
        day.push_back(std::move(prayer));
    }
    return day;
}

Date TarvoDAO::getTodaysDate() const { return Clock::now(); }

TarvoDAO::DayList TarvoDAO::getPrayerTimesForCurrentDateWithDayOffset(int64_t dayOffset, int64_t toDateOffset,
                                                                      const std::shared_ptr<TarvoCity>& city) {
    ensureCalendars();
    const auto gregorian = gregorianCalendar();
    const auto islamic = islamicCal();
    std::lock_guard lock(globalStateLockObject());
    DayList first;
    DayList all;
    // At least the first day always runs, even for a negative count of further days.
    for (int64_t k = 0;; ++k) {
        DateComponents offset;
        offset.day = dayOffset + k;
        const Date date = gregorian->dateByAddingComponents(offset, getTodaysDate());
        DayList day = dayTimetable(date, city, *gregorian, *islamic, globalPrayerConfiguration());
        if (!day.empty()) {
            if (k == 0) first.insert(first.end(), day.begin(), day.end());
            all.insert(all.end(), day.begin(), day.end());
        }
        if (k >= toDateOffset) break;
    }
    setLastGeneratedPrayerTimes(first);
    setTodayAndTomorrowGeneratedPrayerTimes(all);
    return first;
}

TarvoDAO::DayList TarvoDAO::getPrayerTimesForCurrentDateWithDayOffset(int64_t dayOffset,
                                                                      const std::shared_ptr<TarvoCity>& city) {
    return getPrayerTimesForCurrentDateWithDayOffset(dayOffset, 0, city);
}

}  // namespace tarvo
