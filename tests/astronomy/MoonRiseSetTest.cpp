// Accurate moonrise and moonset against the US Naval Observatory's published table for
// 29 N, 81 W, January 2019 (times in UTC, to the minute), and the moon's polar day and night.
#include <cmath>
#include <cstdio>
#include <sstream>

#include <gtest/gtest.h>

#include "tarvo/astronomy/SunCalculator.h"
#include "tarvo/platform/TimeZone.h"

using tarvo::Date;
using tarvo::SunCalculator;
using Kind = SunCalculator::MoonEventKind;

namespace {

// The USNO table: "MM-DDTHH:MM" and r(ise) or s(et), every event of the month.
constexpr const char* kUsnoJanuary2019 =
    "01-01T08:12r 01-01T19:34s 01-02T09:09r 01-02T20:14s 01-03T10:06r 01-03T20:57s 01-04T11:01r 01-04T21:43s "
    "01-05T11:53r 01-05T22:32s 01-06T12:42r 01-06T23:23s 01-07T13:27r 01-08T00:16s 01-08T14:08r 01-09T01:08s "
    "01-09T14:46r 01-10T02:01s 01-10T15:21r 01-11T02:53s 01-11T15:54r 01-12T03:46s 01-12T16:26r 01-13T04:39s "
    "01-13T16:58r 01-14T05:33s 01-14T17:32r 01-15T06:29s 01-15T18:08r 01-16T07:27s 01-16T18:48r 01-17T08:29s "
    "01-17T19:34r 01-18T09:32s 01-18T20:26r 01-19T10:37s 01-19T21:25r 01-20T11:40s 01-20T22:31r 01-21T12:39s "
    "01-21T23:40r 01-22T13:32s 01-23T00:49r 01-23T14:20s 01-24T01:58r 01-24T15:03s 01-25T03:03r 01-25T15:42s "
    "01-26T04:06r 01-26T16:20s 01-27T05:07r 01-27T16:57s 01-28T06:07r 01-28T17:35s 01-29T07:05r 01-29T18:14s "
    "01-30T08:01r 01-30T18:56s 01-31T08:56r 01-31T19:41s";

Date utc(int64_t year, int64_t month, int64_t day, double hour) {
    return Date((SunCalculator::mjd(day, month, year, hour) - 40587.0) * 86400.0);
}

// Minutes from the published minute to the computed moment.
double minutesOff(Date computed, int day, int hour, int minute) {
    return computed.timeIntervalSinceDate(utc(2019, 1, day, hour + minute / 60.0)) / 60.0;
}

}  // namespace

TEST(MoonRiseSet, WithinAMinuteOfTheNavalObservatoryForAMonth) {
    std::vector<SunCalculator::MoonEvent> computed;
    for (int day = 1; day <= 31; ++day) {
        const auto d = SunCalculator::moonRiseSet(utc(2019, 1, day, 0), utc(2019, 1, day + 1, 0), 29, -81);
        computed.insert(computed.end(), d.events.begin(), d.events.end());
    }
    std::istringstream table(kUsnoJanuary2019);
    std::string entry;
    size_t count = 0;
    while (table >> entry) {
        int month = 0, day = 0, hour = 0, minute = 0;
        char kind = 0;
        ASSERT_EQ(std::sscanf(entry.c_str(), "%d-%dT%d:%d%c", &month, &day, &hour, &minute, &kind), 5);
        ASSERT_LT(count, computed.size());
        const auto& e = computed[count++];  // the same events in the same order
        EXPECT_EQ(e.kind, kind == 'r' ? Kind::rise : Kind::set) << entry;
        // The table rounds to the minute: a correct time is within half a minute of it.
        EXPECT_NEAR(minutesOff(e.time, day, hour, minute), 0.0, 0.55) << entry;
    }
    EXPECT_EQ(count, 60u);
    EXPECT_EQ(computed.size(), 60u);
}

TEST(MoonRiseSet, LocalDaysInTheOrderTheEventsHappen) {
    const auto zone = *tarvo::TimeZone::withName("America/New_York");
    // 7 January (EST): rise 08:27, set 19:16 local.
    const auto seventh = SunCalculator::moonRiseSetForDay(7, 1, 2019, zone, 29, -81);
    ASSERT_EQ(seventh.events.size(), 2u);
    EXPECT_EQ(seventh.events[0].kind, Kind::rise);
    EXPECT_NEAR(minutesOff(seventh.events[0].time, 7, 13, 27), 0, 0.55);
    EXPECT_NEAR(minutesOff(seventh.events[1].time, 8, 0, 16), 0, 0.55);
    // 21 January: the set (07:39) comes before the rise (18:40).
    const auto full = SunCalculator::moonRiseSetForDay(21, 1, 2019, zone, 29, -81);
    ASSERT_EQ(full.events.size(), 2u);
    EXPECT_EQ(full.events[0].kind, Kind::set);
    EXPECT_EQ(full.events[1].kind, Kind::rise);
    EXPECT_NEAR(minutesOff(*full.set(), 21, 12, 39), 0, 0.55);
    EXPECT_NEAR(minutesOff(*full.rise(), 21, 23, 40), 0, 0.55);
    // 26 January has no moonrise: 23:06 on the 25th, then 00:07 on the 27th.
    const auto noRise = SunCalculator::moonRiseSetForDay(26, 1, 2019, zone, 29, -81);
    EXPECT_FALSE(noRise.rise());
    ASSERT_TRUE(noRise.set());
    EXPECT_NEAR(minutesOff(*noRise.set(), 26, 16, 20), 0, 0.55);
    EXPECT_TRUE(noRise.upAtStart);
    // An empty or reversed interval has nothing.
    EXPECT_TRUE(SunCalculator::moonRiseSet(utc(2019, 1, 2, 0), utc(2019, 1, 1, 0), 29, -81).events.empty());
}

TEST(MoonRiseSet, PolarDayAndNightOfTheMoon) {
    // Longyearbyen (78.22 N): the moon stays up while its declination is above about 12
    // degrees and down while it is below -12; on 19 January 2019 it was at +21, on
    // 5 January at -21.
    for (const auto& [day, up] : {std::pair{18, true}, {19, true}, {20, true}, {4, false}, {5, false}, {6, false}}) {
        const auto d = SunCalculator::moonRiseSet(utc(2019, 1, day, 0), utc(2019, 1, day + 1, 0), 78.22, 15.65);
        EXPECT_TRUE(d.events.empty()) << day;
        EXPECT_EQ(d.upAtStart, up) << day;
        EXPECT_FALSE(d.rise() || d.set()) << day;
    }
    EXPECT_GT(SunCalculator::moonPosition(utc(2019, 1, 19, 12), 78.22, 15.65).declination, 20);
    // Between the two the moon rises and sets again: 13 January, near the equator.
    EXPECT_EQ(SunCalculator::moonRiseSet(utc(2019, 1, 13, 0), utc(2019, 1, 14, 0), 78.22, 15.65).events.size(), 2u);
}
