// The facade's day timetables: one city and one date become ten prayer records with the
// user's adjustments, and runs of days relative to today fill the facade's shared lists.
#include <array>
#include <cmath>
#include <mutex>
#include <optional>

#include "calculation/CalculatorInputs.h"
#include "calculation/ClockReading.h"
#include "calculation/DayMemo.h"
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
#include "prayers/MinutesAdded.h"
#include "prayers/WallClockDay.h"

namespace tarvo {

namespace {

constexpr size_t kDaySize = 10;
// Sunrise read as the forenoon prayer Doha starts this many minutes after the sun is up.
constexpr int64_t kDohaDelayMinutes = 10;

// A day's ten records, each of its type and with no time yet. They live in one block (one
// allocation for the day instead of one per record); each record's pointer shares the block,
// so a record kept after its list is gone keeps its day's block alive.
TarvoDAO::DayList recordsOfDay() {
    auto block = std::make_shared<std::array<Prayer, kDaySize>>();
    TarvoDAO::DayList day;
    day.reserve(kDaySize);
    for (size_t i = 0; i < kDaySize; ++i) {
        Prayer& record = (*block)[i];
        record.initWithPrayerType(static_cast<int64_t>(i));
        // The last record takes the block's own reference over.
        if (i + 1 < kDaySize) {
            day.emplace_back(block, &record);
        } else {
            day.emplace_back(std::move(block), &record);
        }
    }
    return day;
}

// Which entries carry tomorrow's date. The evening's events follow one another: from Dhuhr
// on, an event whose clock time (as it is stamped, to the minute) is earlier than the one
// before it has passed midnight, and it and every later event belong to the next calendar
// day (a Reykjavik sunset at 00:04 in June is the next day's; a Qiyam at 01:30 after a 21:00
// Isha too). Deciding on exact minutes, not whole hours, keeps every record after the one it
// follows. The tomorrow entries always carry the next day. Each entry's clock reading (as
// the records are stamped with it) is worked out once, for the day order and the records alike.
std::array<bool, kDaySize> stampedOnNextDay(const std::array<double, kDaySize>& times,
                                            const std::array<ClockReading, kDaySize>& clock) {
    const auto minuteOfDay = [&clock](size_t i) { return clock[i].hour * 60 + clock[i].minute; };
    std::array<bool, kDaySize> next{};
    next[Prayer::TomorrowFajr] = next[Prayer::TomorrowSunrise] = true;
    int64_t previous = minuteOfDay(Prayer::Dhuhr);
    bool pastMidnight = false;
    for (size_t i = Prayer::Asr; i <= Prayer::Qiyam; ++i) {
        if (std::isfinite(times[i])) {  // a time the engine could not find follows no order
            const int64_t minute = minuteOfDay(i);
            pastMidnight = pastMidnight || minute < previous;
            previous = minute;
        }
        next[i] = pastMidnight;
    }
    return next;
}

// The Isha interval the settings ask for, in minutes after the adjusted Maghrib's moment; none
// when the city carries its own Isha minutes (set with its angles: the user chose them for
// that place, its mosque's timetable, while the options are for every place) or no option is
// on. In a Saudi Ramadan the two-hour interval wins over the 90-minute option on purpose:
// that is the official Ramadan rule there.
std::optional<int64_t> ishaIntervalOption(const TarvoCity& city, const PrayerConfiguration* config, bool ramadan,
                                          const PrayerAdjustments& adjustments) {
    if (city.ishaMinutes()) return std::nullopt;
    if (config && !ramadan && config->OneHalfHourAfterMaghrib()) return adjustments.minutesFor(Prayer::Maghrib) + 90;
    if (ramadan || (config && config->TwoHourAfterMaghrib())) return adjustments.minutesFor(Prayer::Maghrib) + 120;
    return std::nullopt;
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
    if (!city) return recordsOfDay();
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
    if (const auto minutes = ishaIntervalOption(*city, config.get(), ramadan, adjustments)) {
        calculator.setIshaMinutes(static_cast<double>(*minutes));
    }

    TARVO_LOG_VERBOSE("Get Prayer Times for City {} Timezone: {}, {}", city->cityName().value_or("(null)"),
                      city->TimeZone().value_or("(null)"), date.description());
    const CalculatorInputs inputs(calculator, city->cityName(), city->countryName(), city->latitude(),
                                  city->longitude(), city->TimeZone());
    // The next day's Fajr and sunrise come from that day in full, with the Fajr and Isha
    // rules decided for the requested day: the same bits as its morning alone, and a list of
    // the next day (asked next in a month or a run of days) finds it already computed. The
    // fixed-timetable flag of the next day is the one the records carry. The engine's day is
    // on the calendar the records are stamped with, so its frame holds the next day's moment
    // (the same wall-clock time a calendar day later) and both calendar dates.
    const auto [requested, following] =
        DayMemo::dayAndNext(inputs.method, inputs.place, date, calculator.globalGregCal());
    std::array<double, kDaySize> times = requested.times;
    times[Prayer::TomorrowFajr] = following.times[Prayer::Fajr];
    times[Prayer::TomorrowSunrise] = following.times[Prayer::Sunrise];
    const bool fixed = following.usingFixedTimings;
    // The offsets from GMT, in whole seconds, in which the day's and the next day's times are
    // written: the requested day's computation worked both out (for `date` and its next day).
    const double todayOffset = std::round(requested.clockOffsets[0] * 3600.0);
    const double tomorrowOffset = std::round(requested.clockOffsets[1] * 3600.0);

    std::array<ClockReading, kDaySize> clock;
    for (size_t i = 0; i < kDaySize; ++i) clock[i] = ClockReading::of(times[i]);
    const std::array<bool, kDaySize> onNextDay = stampedOnNextDay(times, clock);
    const bool useSunrise = config && config->UseSunrise();
    // The engine writes times of day on the clock of the moment it was asked about (today's
    // offset for today's entries, tomorrow's for tomorrow's). Each record's moment is that
    // clock reading less that offset: read as wall time in the zone, a time on the far side
    // of a change of summer time would be an hour off, and with a fixed offset the zone's
    // clock is not the one the times were written on at all. The clock readings are read on
    // the GMT clock, each of the two dates worked out once for all its records.
    static const Calendar wallClock(TimeZone::gmt());
    const auto& [year, month, dayOfMonth] = requested.calendarDate;
    const auto& [nextYear, nextMonth, nextDayOfMonth] = requested.nextCalendarDate;
    const WallClockDay todayOnWallClock(year, month, dayOfMonth);
    const WallClockDay nextOnWallClock(nextYear, nextMonth, nextDayOfMonth);
    DateComponents scratch;
    TarvoDAO::DayList day = recordsOfDay();
    for (size_t i = 0; i < kDaySize; ++i) {
        const auto type = static_cast<int64_t>(i);
        Prayer& prayer = *day[i];
        prayer.setIsFixedTimings(fixed);
        const int64_t adjustment = adjustments.minutesFor(type);
        prayer.setAdjustmentMinutes(adjustment);
        // The sun does not reach the angle, rise or set: the record has no time at all.
        // Written as hour 0, it would be a midnight that never was the prayer's.
        if (!std::isfinite(times[i])) continue;
        // The moment is worked on apart from the record and stored once.
        const WallClockDay& stamp = onNextDay[i] ? nextOnWallClock : todayOnWallClock;
        Date moment = minutesAdded(stamp.at(clock[i].hour, clock[i].minute), adjustment, wallClock, scratch);
        const double offset = i >= Prayer::TomorrowFajr ? tomorrowOffset : todayOffset;
        moment = moment.addingTimeInterval(-offset);
        if ((type == Prayer::Sunrise || type == Prayer::TomorrowSunrise) && !useSunrise) {
            moment = minutesAdded(moment, kDohaDelayMinutes, gregorianCalendar, scratch);
        }
        prayer.setPrayerTime(moment);
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
