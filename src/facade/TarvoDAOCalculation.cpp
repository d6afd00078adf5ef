// The facade's day timetables: one city and one date become ten prayer records with the
// user's adjustments, and runs of days relative to today fill the facade's shared lists.
#include <array>
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
#include "tarvo/prayers/PrayerAdjustments.h"

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
    return PrayerAdjustments::fromConfiguration(getSharedInstance()->globalPrayerConfiguration().get(), force)
        .minutesFor(type);
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
    return dayTimetable(date, city, gregorianCalendar, islamicCalendar,
                        getSharedInstance()->globalPrayerConfiguration());
}

TarvoDAO::DayList TarvoDAO::dayTimetable(Date date, const std::shared_ptr<TarvoCity>& city,
                                         const Calendar& gregorianCalendar, const IslamicCalendar& islamicCalendar,
                                         const std::shared_ptr<PrayerConfiguration>& config) {
    return dayTimetable(date, city, gregorianCalendar, islamicCalendar, config,
                        PrayerAdjustments::fromConfiguration(config.get()));
}

TarvoDAO::DayList TarvoDAO::dayTimetable(Date date, const std::shared_ptr<TarvoCity>& city,
                                         const Calendar& gregorianCalendar, const IslamicCalendar& islamicCalendar,
                                         const std::shared_ptr<PrayerConfiguration>& config,
                                         const PrayerAdjustments& adjustments) {
    if (!city) return timelessDay();
    PrayerCalculator calculator;
    configureCalculatorFromCity(calculator, *city);
    // The engine's day is the day of `date` on the calendar the records are stamped with.
    calculator.setCalendarZone(gregorianCalendar.timeZone());
    // The settings this facade computes with, which need not be the shared ones.
    calculator.setPolarResolution(polarResolutionOfCity(*city, config.get()));

    const bool ramadan = config && config->TwoHourAfterMaghribAuto() && city->isCountrySaudiArabia() &&
                         isDateInRamdan(date, islamicCalendar, config->HijriCorrection());
    if (config && config->OneHalfHourBeforeSunrise()) {
        calculator.setFajrMinutes(static_cast<double>(90 - adjustments.minutesFor(Prayer::Sunrise)));
    }
    // In a Saudi Ramadan the two-hour interval wins over the 90-minute option on purpose:
    // that is the official Ramadan rule there. A city's own Isha minutes win over all three:
    // the user set them for that place (its mosque's timetable), the options for every place.
    if (city->ishaMinutes()) {
        // set by configureCalculatorFromCity
    } else if (config && !ramadan && config->OneHalfHourAfterMaghrib()) {
        calculator.setIshaMinutes(static_cast<double>(adjustments.minutesFor(Prayer::Maghrib) + 90));
    } else if (ramadan || (config && config->TwoHourAfterMaghrib())) {
        calculator.setIshaMinutes(static_cast<double>(adjustments.minutesFor(Prayer::Maghrib) + 120));
    }

    DateComponents addOneDay;
    addOneDay.day = 1;
    const Date tomorrow = gregorianCalendar.dateByAddingComponents(addOneDay, date);
    const DateComponents today = gregorianCalendar.components(date);
    const DateComponents next = gregorianCalendar.components(tomorrow);

    TARVO_LOG_VERBOSE("Get Prayer Times for City {} Timezone: {}, {}", city->cityName().value_or("(null)"),
                      city->TimeZone().value_or("(null)"), date.description());
    std::vector<double> times = calculator.getDatePrayerTimesAsDoubles(date, city->cityName(), city->countryName(),
                                                                       city->latitude(), city->longitude(),
                                                                       city->TimeZone());
    // The offset from GMT, in whole seconds, in which the day's times are written.
    const double todayOffset = std::round(calculator.getTimeZoneOffset(date) * 3600.0);
    if (times.size() < kDaySize) {
        TARVO_LOG_ERROR("PRAYERS ARE NULL");
        return timelessDay();
    }
    // The same calculator, so the Fajr and Isha rules decided for the requested day apply.
    // Of the next day only its Fajr and sunrise are wanted, and only they are computed; the
    // fixed-timetable flag, as that computation leaves it, is the one the records carry.
    const std::array<double, 2> nextMorning = calculator.getDateFajrAndSunrise(
        tomorrow, city->cityName(), city->countryName(), city->latitude(), city->longitude(), city->TimeZone());
    times[Prayer::TomorrowFajr] = nextMorning[0];
    times[Prayer::TomorrowSunrise] = nextMorning[1];
    const bool fixed = calculator.isUsingFixedTimings();
    const double tomorrowOffset = std::round(calculator.getTimeZoneOffset(tomorrow) * 3600.0);

    const std::array<bool, kDaySize> onNextDay = stampedOnNextDay(times);
    const bool useSunrise = config && config->UseSunrise();
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
            prayer->setAdjustmentMinutes(adjustments.minutesFor(type));
            day.push_back(std::move(prayer));
            continue;
        }
        const DateComponents& stamp = onNextDay[i] ? next : today;
        prayer->setPrayerYear(stamp.year, stamp.month, stamp.day, PrayerCalculator::floatToHour(times[i]),
                              PrayerCalculator::floatToMin(times[i]), adjustments.minutesFor(type),
                              wallClock, scratch);
        const double offset = i >= Prayer::TomorrowFajr ? tomorrowOffset : todayOffset;
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
