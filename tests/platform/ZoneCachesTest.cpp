// The shortcuts behind the zone and calendar answers (per-thread caches, fixed-offset zones,
// the shared device zone) give the same answers as the plain path, on any thread.
#include <gtest/gtest.h>

#include <array>
#include <string>
#include <thread>
#include <vector>

#include "tarvo/platform/Calendar.h"

using tarvo::Calendar;
using tarvo::Date;
using tarvo::DateComponents;
using tarvo::TimeZone;

namespace {

constexpr std::array<const char*, 8> kZones = {"Europe/London", "Asia/Kolkata", "America/New_York", "UTC",
                                               "Etc/GMT-3",     "Asia/Dubai",   "Australia/Sydney", "GMT"};

// Moments around the 2024 summer-time changes of London, New York and Sydney, and far off.
std::vector<Date> moments() {
    std::vector<Date> out;
    for (double day = 19'800; day < 19'800 + 400; day += 0.5) out.emplace_back(day * 86'400.0);
    out.emplace_back(-2.0e9);
    out.emplace_back(4.0e9);
    return out;
}

}  // namespace

TEST(ZoneCaches, FixedOffsetZonesAnswerTheSameAtEveryMoment) {
    const auto utc = TimeZone::withName("UTC");
    const auto plus3 = TimeZone::withName("Etc/GMT-3");  // POSIX sign: three hours east
    ASSERT_TRUE(utc);
    ASSERT_TRUE(plus3);
    for (const Date d : moments()) {
        EXPECT_EQ(utc->secondsFromGMT(d), 0);
        EXPECT_EQ(plus3->secondsFromGMT(d), 3 * 3600);
        EXPECT_EQ(plus3->daylightSavingTimeOffset(d), 0.0);
        EXPECT_FALSE(plus3->isDaylightSavingTime(d));
        EXPECT_EQ(plus3->secondsFromGMTForLocalTime(d.timeIntervalSince1970()), 3 * 3600);
    }
    const Calendar calendar(*plus3);
    const DateComponents c = calendar.components(Date(1719835200));  // 2024-07-01 12:00 UTC
    EXPECT_EQ(c.hour, 15);
    EXPECT_EQ(calendar.dateFromComponents(c), Date(1719835200));
}

TEST(ZoneCaches, AlternatingLookUpsGiveEachNameItsZone) {
    for (int round = 0; round < 3; ++round) {
        for (const char* name : kZones) {
            const auto zone = TimeZone::withName(name);
            ASSERT_TRUE(zone) << name;
            EXPECT_EQ(zone->name(), name);
            EXPECT_FALSE(TimeZone::withName("Not/AZone"));
            EXPECT_EQ(TimeZone::withName(name)->name(), name);
        }
    }
}

TEST(ZoneCaches, AddingDaysToComponentsIsAddingDaysToTheMoment) {
    for (const char* name : kZones) {
        const Calendar calendar(*TimeZone::withName(name));
        for (const Date d : moments()) {
            for (const int64_t days : {-1, 1, 30}) {
                EXPECT_EQ(calendar.dateByAddingDays(days, calendar.components(d)), calendar.dateByAddingDays(days, d))
                    << name << " " << d.description() << " " << days;
            }
        }
    }
}

TEST(ZoneCaches, TheDeviceZoneCanBeReplacedAndRestored) {
    const TimeZone device = TimeZone::systemDefault();
    TimeZone::setSystemDefault(*TimeZone::withName("Asia/Tokyo"));
    EXPECT_EQ(TimeZone::systemDefault().name(), "Asia/Tokyo");
    EXPECT_EQ(Calendar().components(Date(0)).hour, 9);
    TimeZone::setSystemDefault(device);
    EXPECT_EQ(TimeZone::systemDefault(), device);
}

TEST(ZoneCaches, ConcurrentQuestionsGetTheAnswersOfASingleThread) {
    const std::vector<Date> ds = moments();
    std::vector<int64_t> expected;
    for (const char* name : kZones) {
        const auto zone = TimeZone::withName(name);
        for (const Date d : ds) expected.push_back(zone->secondsFromGMT(d));
    }

    std::vector<std::vector<int64_t>> got(4);
    std::vector<std::thread> threads;
    for (size_t t = 0; t < got.size(); ++t) {
        threads.emplace_back([&, t] {
            // Each thread walks the zones in its own order, so the per-thread caches differ.
            for (int round = 0; round < 3; ++round) {
                got[t].assign(expected.size(), 0);
                for (size_t k = 0; k < kZones.size(); ++k) {
                    const size_t z = (k + t) % kZones.size();
                    const auto zone = TimeZone::withName(kZones[z]);
                    for (size_t i = 0; i < ds.size(); ++i) got[t][z * ds.size() + i] = zone->secondsFromGMT(ds[i]);
                }
            }
        });
    }
    for (auto& thread : threads) thread.join();
    for (const auto& g : got) EXPECT_EQ(g, expected);
}
