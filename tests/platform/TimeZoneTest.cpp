// Time zones from the system's zone database: today's rules, the POSIX rules that continue
// each zone past its table, wall-clock times that are skipped or repeated, and files that are
// not zone files; calendar fields and day arithmetic across summer time, and zone look-ups from
// several threads at once.
#include <cstdlib>
#include <filesystem>
#include <thread>

#include <gtest/gtest.h>

#include "support/DataFolder.h"
#include "platform/time/PosixTimeZoneRule.h"
#include "platform/time/ZoneRules.h"
#include "tarvo/platform/Calendar.h"
#include "tarvo/platform/TimeZone.h"

using namespace tarvo;

namespace {

int64_t offsetOn(const char* zone, int64_t utcSeconds) {
    return TimeZone::withName(zone)->secondsFromGMT(Date(static_cast<double>(utcSeconds)));
}

}  // namespace

TEST(TimeZone, TodaysRulesFromTheSystemDatabase) {
    constexpr int64_t kJuly2026 = 1782907200;  // 2026-07-01 12:00 UTC
    // Cairo has summer time again since 2023, Mexico City none since 2022, Kazakhstan one zone
    // since 2024; London around the start of summer time in 2024, and in 2300 by its yearly rule.
    const std::tuple<const char*, int64_t, int64_t> cases[] = {
        {"Africa/Cairo", kJuly2026, 3 * 3600}, {"America/Mexico_City", kJuly2026, -6 * 3600},
        {"Asia/Almaty", kJuly2026, 5 * 3600},  {"America/Ciudad_Juarez", kJuly2026, -6 * 3600},
        {"Europe/London", 1711846799, 0},      {"Europe/London", 1711846800, 3600},
        {"Europe/London", 10420966800, 3600},  {"Europe/London", 10420966799, 0}};
    for (const auto& [zone, moment, offset] : cases) EXPECT_EQ(offsetOn(zone, moment), offset) << zone << " " << moment;

    // Dublin's file calls winter the exception; summer is still the summer time people mean.
    const TimeZone dublin = *TimeZone::withName("Europe/Dublin");
    EXPECT_EQ(dublin.daylightSavingTimeOffset(Date(kJuly2026)), 3600);
    EXPECT_FALSE(dublin.isDaylightSavingTime(Date(1767268800)));  // 2026-01-01

    // 01:30 on 31 March 2024 never happens in London (read as 02:30 summer time); 01:30 on
    // 27 October happens twice (the later, winter reading).
    const TimeZone london = *TimeZone::withName("Europe/London");
    EXPECT_EQ(london.secondsFromGMTForLocalTime(1711848600), 0);
    EXPECT_EQ(london.secondsFromGMTForLocalTime(1729992600), 0);
    EXPECT_EQ(london.secondsFromGMTForLocalTime(1729992600 - 7200), 3600);

    EXPECT_EQ(TimeZone::forSecondsFromGMT(19800)->name(), "GMT+05:30");
    EXPECT_EQ(TimeZone::forSecondsFromGMT(-12600)->secondsFromGMT(Date(kJuly2026)), -12600);
    EXPECT_FALSE(TimeZone::forSecondsFromGMT(19 * 3600));
}

TEST(TimeZone, PosixRulesNorthSouthAndNegative) {
    struct Case {
        const char* rule;
        int64_t moment;
        int32_t offset;
        int32_t dst;
    };
    const Case cases[] = {
        {"GMT0BST,M3.5.0/1,M10.5.0", 1711846800, 3600, 3600},      // 31 March 2024 01:00 UTC
        {"GMT0BST,M3.5.0/1,M10.5.0", 1729990800, 0, 0},            // 27 October 2024 01:00 UTC
        {"AEST-10AEDT,M10.1.0,M4.1.0/3", 1712419199, 39600, 3600},  // Sydney, the second before
        {"AEST-10AEDT,M10.1.0,M4.1.0/3", 1712419200, 36000, 0},     // 7 April 03:00 summer time
        {"IST-1GMT0,M10.5.0,M3.5.0/1", 1720000000, 3600, 3600},     // Dublin in July
        {"IST-1GMT0,M10.5.0,M3.5.0/1", 1704067200, 0, 0},           // and in January
        {"<+0330>-3:30", 1720000000, 12600, 0}, {"EST5EDT", 1720000000, -14400, 3600},  // no dates: the US rule
    };
    for (const Case& c : cases) {
        const auto rule = PosixTimeZoneRule::parse(c.rule);
        ASSERT_TRUE(rule) << c.rule;
        const ZoneTransition t = ZoneRules::fromPosix(*rule).at(c.moment);
        EXPECT_EQ(t.offset, c.offset) << c.rule << " at " << c.moment;
        EXPECT_EQ(t.dst, c.dst) << c.rule << " at " << c.moment;
    }
    for (const char* bad : {"", "EST", "5", "EST5EDT,M13.1.0,M11.1.0", "<+03-3", "EST5EDT,M3.2.0", "GMT0x"}) {
        EXPECT_FALSE(PosixTimeZoneRule::parse(bad)) << bad;
    }
}

TEST(TimeZone, NamesStayInsideTheDatabaseAndFilesMustBeZoneFiles) {
    for (const char* name : {"../../etc/passwd", "/etc/localtime", "Europe/../../../etc/hostname", "", "Europe/"}) {
        EXPECT_FALSE(TimeZone::withName(name)) << name;
    }
    const std::string london = test::readBytes("/usr/share/zoneinfo/Europe/London");
    ASSERT_TRUE(ZoneRules::fromTzif(london));
    for (size_t cut : {size_t{0}, size_t{10}, size_t{44}, london.size() / 2}) {
        EXPECT_FALSE(ZoneRules::fromTzif(std::string_view(london).substr(0, cut))) << cut;
    }

    // TZDIR names another database.
    const test::TempFolder dir;
    std::filesystem::create_directories(dir / "Test");
    std::filesystem::copy_file("/usr/share/zoneinfo/Asia/Tokyo", dir / "Test/Nine");
    ::setenv("TZDIR", dir.path().c_str(), 1);
    const auto nine = TimeZone::withName("Test/Nine");
    ::unsetenv("TZDIR");
    ASSERT_TRUE(nine);
    EXPECT_EQ(nine->secondsFromGMT(Date(1720000000)), 9 * 3600);
}

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
