// The day pipeline: the published Makkah timetable, summer time, offset overrides, and
// answers that do not depend on what the thread asked before.
#include <cmath>
#include <cstring>
#include <thread>

#include <gtest/gtest.h>

#include "calculation/CalculatorSetup.h"
#include "support/PublishedTimetable.h"

using tarvo::PrayerCalculator;
using tarvo::test::dayAt;
using tarvo::test::noonOn;
using tarvo::test::Place;

namespace {
const Place kLondon{51.5, -0.1167, "Europe/London"};
}  // namespace

TEST(DayPipeline, MatchesThePublishedMakkahTimetableWithinTwoMinutes) {
    // The Umm al-Qura calendar office's printed times for 2016, one day a month.
    const auto a = tarvo::test::compareWithPublished(TARVO_SOURCE_DIR "/tests/data/makkah-timetable.csv", 4);
    EXPECT_EQ(a.compared, 72);
    EXPECT_LE(a.worst, 2) << testing::PrintToString(a.differing);
}

TEST(DayPipeline, TomorrowsEntriesFollowTomorrowsSummerTimeOnTheChangeDay) {
    // London springs forward in the night of 30 to 31 March 2024.
    PrayerCalculator before = tarvo::test::configured({.method = 1});
    const auto t = dayAt(before, noonOn(2024, 3, 30), kLondon);
    const double shift = t[PrayerCalculator::TomorrowSunrise] - t[PrayerCalculator::Sunrise];
    EXPECT_GT(shift, 0.9);  // an hour later on the clock, less the day's earlier dawn
    EXPECT_LT(shift, 1.0);
    const auto u = dayAt(before, noonOn(2024, 3, 31), kLondon);
    EXPECT_NEAR(u[PrayerCalculator::Sunrise], t[PrayerCalculator::TomorrowSunrise], 1e-9);
    EXPECT_NEAR(u[PrayerCalculator::Dhuhr], t[PrayerCalculator::Dhuhr] + 1, 0.01);
}

TEST(DayPipeline, OffsetOverridesAndTheDaylightSavingRule) {
    PrayerCalculator c;
    c.setTimeZone(std::string("Europe/London"));
    const auto summer = noonOn(2024, 7, 1);
    const auto winter = noonOn(2024, 1, 15);
    EXPECT_EQ(c.getTimeZoneOffset(summer), 1);
    c.setOverrideDST(2);  // forced off: the zone's summer hour comes off
    EXPECT_EQ(c.getTimeZoneOffset(summer), 0);
    c.setOverrideDST(1);  // forced on: winter gains an hour
    EXPECT_EQ(c.getTimeZoneOffset(winter), 1);
    // With an override the zone's summer hour still comes off, as the stored cities expect.
    c.setOverrideTimeZoneOffset(3.5);
    EXPECT_EQ(c.getTimeZoneOffset(summer), 3.5);
    c.setOverrideDST(7);
    EXPECT_EQ(c.getTimeZoneOffset(summer), 2.5);
    c.setOverrideTimeZoneOffset(50.0);  // the marker for "from the zone"
    EXPECT_EQ(c.getTimezoneOffsetInHours(7200000), 2);
}

TEST(DayPipeline, AnswersDoNotDependOnWhatTheThreadAskedBefore) {
    // The engine keeps recent sun positions and event times per thread. A day computed on a
    // fresh thread (nothing kept) must match, bit for bit, the same day computed after many
    // others, among them places on the same meridian (the same Julian dates) at other
    // latitudes and the same place on the neighbouring days.
    auto london = [] {
        PrayerCalculator c;
        return dayAt(c, noonOn(2024, 6, 21), kLondon);
    };
    std::vector<double> cold;
    std::thread([&] { cold = london(); }).join();

    PrayerCalculator other;
    for (double lat = -50; lat <= 60; lat += 10) {
        const auto t = dayAt(other, noonOn(2024, 6, 21), {lat, kLondon.longitude, kLondon.zone});
        if (lat == 50) {
            EXPECT_GT(std::fabs(t[PrayerCalculator::Sunrise] - cold[PrayerCalculator::Sunrise]), 0.05);
        }
    }
    for (int day = 15; day <= 27; ++day) dayAt(other, noonOn(2024, 6, day), kLondon);
    const auto warm = london();
    ASSERT_EQ(warm.size(), cold.size());
    EXPECT_EQ(std::memcmp(warm.data(), cold.data(), warm.size() * sizeof(double)), 0);
    // And the day itself, as the Royal Observatory tables give London's solstice: sunrise
    // 04:43 BST, sunset 21:21 BST.
    EXPECT_NEAR(warm[PrayerCalculator::Sunrise], 4 + 43 / 60.0, 2 / 60.0);
    EXPECT_NEAR(warm[PrayerCalculator::Sunset], 21 + 21 / 60.0, 2 / 60.0);
}
