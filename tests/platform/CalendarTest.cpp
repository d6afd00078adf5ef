// Calendar fields and day arithmetic in zones with summer time, and zone look-ups from
// several threads at once.
#include <thread>

#include <gtest/gtest.h>

#include "tarvo/platform/Calendar.h"

using tarvo::Calendar;
using tarvo::Date;
using tarvo::DateComponents;
using tarvo::TimeZone;

TEST(Calendar, SplitsMomentsAndAddsDaysKeepingTheWallClockAcrossSummerTime) {
    const Calendar london(*TimeZone::withName("Europe/London"));
    // 2024-07-01 23:30 UTC is 00:30 on Tuesday 2 July in London.
    const DateComponents c = london.components(Date(1719876600));
    EXPECT_EQ((std::array{c.year, c.month, c.day, c.hour, c.minute, c.weekday}),
              (std::array<int64_t, 6>{2024, 7, 2, 0, 30, 3}));
    EXPECT_EQ(london.dateFromComponents(c), Date(1719876600));
    EXPECT_EQ(Calendar(*TimeZone::withName("UTC")).components(Date(-86400.5)).year, 1969);

    const Date saturday = london.dateFromComponents(DateComponents{2024, 3, 30, 12, 0, 0, 0, 0});
    const Date sunday = london.dateByAddingDays(1, saturday);
    EXPECT_EQ(sunday.timeIntervalSinceDate(saturday), 23 * 3600);
    EXPECT_EQ(london.components(sunday).hour, 12);
    EXPECT_EQ(london.dateByAddingDays(1, london.components(saturday)), sunday);
    EXPECT_EQ(TimeZone::withName("Etc/GMT-3")->secondsFromGMT(Date(0)), 3 * 3600);  // POSIX sign: east
    // Out-of-range fields roll over.
    const DateComponents rolled = london.components(london.dateFromComponents(DateComponents{2024, 14, 32, 12, 0, 0, 0, 0}));
    EXPECT_EQ((std::array{rolled.year, rolled.month, rolled.day}), (std::array<int64_t, 3>{2025, 3, 4}));
}

TEST(TimeZoneConcurrent, ThreadsGetTheAnswersOfASingleThread) {
    const char* zones[] = {"Europe/London", "Asia/Kolkata", "America/New_York", "UTC",
                           "Etc/GMT-3",     "Asia/Dubai",   "Australia/Sydney", "GMT"};
    // Moments around the 2024 summer-time changes, every twelve hours.
    std::vector<Date> moments;
    for (double day = 19'800; day < 20'200; day += 0.5) moments.emplace_back(day * 86'400.0);
    std::vector<int64_t> expected;
    for (const char* name : zones) {
        for (const Date d : moments) expected.push_back(TimeZone::withName(name)->secondsFromGMT(d));
    }
    std::vector<std::vector<int64_t>> got(4, std::vector<int64_t>(expected.size()));
    std::vector<std::thread> threads;
    for (size_t t = 0; t < got.size(); ++t) {
        threads.emplace_back([&, t] {
            // Each thread walks the zones in its own order, so the per-thread caches differ.
            for (size_t k = 0; k < std::size(zones); ++k) {
                const size_t z = (k + t) % std::size(zones);
                const auto zone = TimeZone::withName(zones[z]);
                const Calendar calendar(*zone);
                for (size_t i = 0; i < moments.size(); ++i) {
                    got[t][z * moments.size() + i] = zone->secondsFromGMT(moments[i]);
                    if (calendar.dateByAddingDays(1, calendar.components(moments[i])) !=
                        calendar.dateByAddingDays(1, moments[i])) {
                        got[t][z * moments.size() + i] = -1;
                    }
                }
            }
        });
    }
    for (auto& thread : threads) thread.join();
    for (const auto& g : got) EXPECT_EQ(g, expected);
}
