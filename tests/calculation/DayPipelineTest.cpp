// The day pipeline: time zones, summer time, overrides, Qiyam, and the real world.
#include <cmath>
#include <fstream>
#include <sstream>
#include <thread>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "support/Dates.h"
#include "support/LogCapture.h"
#include "tarvo/calculation/PrayerCalculator.h"
#include "tarvo/platform/Calendar.h"

using tarvo::Calendar;
using tarvo::Date;
using tarvo::DateComponents;
using tarvo::PrayerCalculator;
using tarvo::test::noonOn;
using tarvo::TimeZone;

namespace {


double minutesOf(const std::string& hhmm) {
    return std::stoi(hhmm.substr(0, 2)) * 60.0 + std::stoi(hhmm.substr(3, 2));
}

}  // namespace

TEST(DayPipeline, MatchesPublishedTimetablesWithinTwoMinutes) {
    std::ifstream in(TARVO_SOURCE_DIR "/../shared/reference/official-timetables.json");
    if (!in) GTEST_SKIP() << "reference timetables not present beside the checkout";
    const auto places = nlohmann::json::parse(in);
    int compared = 0;
    for (const auto& place : places) {
        const std::string name = place["place"];
        // Dubai's published times come from its own timetable, and Singapore's and Kuwait's
        // authorities use conventions of their own; the Makkah office follows Umm Al-Qura.
        if (name.find("Makkah") == std::string::npos) continue;
        for (const auto& row : place["rows"]) {
            const std::string date = row["date"];
            PrayerCalculator c;
            c.setCalcMethod(place["flags"].value("method", 0));
            c.setAsrJuristic(place["flags"].value("asr", 0));
            const auto hours = c.getDatePrayerTimesAsDoubles(
                noonOn(std::stoi(date.substr(0, 4)), std::stoi(date.substr(5, 2)), std::stoi(date.substr(8, 2))),
                std::nullopt, std::nullopt, place["lat"], place["lon"], std::string(place["tz"]));
            const auto text = c.adjustTimesFormat(hours);
            const size_t entries[] = {PrayerCalculator::Fajr,    PrayerCalculator::Sunrise, PrayerCalculator::Dhuhr,
                                      PrayerCalculator::Asr,     PrayerCalculator::Maghrib, PrayerCalculator::Isha};
            for (size_t i = 0; i < 6; ++i) {
                EXPECT_LE(std::fabs(minutesOf(text[entries[i]]) - minutesOf(row["times"][i])), 2)
                    << name << " " << date << " entry " << entries[i] << ": " << text[entries[i]];
                ++compared;
            }
        }
    }
    EXPECT_EQ(compared, 72);
}

TEST(DayPipeline, MakkahDayHasTheExpectedShape) {
    PrayerCalculator c;
    c.setCalcMethod(4);
    const auto t = c.getDatePrayerTimesAsDoubles(noonOn(2016, 1, 5), std::nullopt, std::nullopt, 21.4225, 39.8262,
                                                 std::string("Asia/Riyadh"));
    ASSERT_EQ(t.size(), 10u);
    const auto text = c.adjustTimesFormat(t);
    EXPECT_EQ(text[PrayerCalculator::Fajr], "05:38");
    EXPECT_EQ(text[PrayerCalculator::Isha], "19:22");
    // Umm Al-Qura: Maghrib at sunset, Isha 90 minutes later.
    EXPECT_EQ(t[PrayerCalculator::Maghrib], t[PrayerCalculator::Sunset]);
    EXPECT_DOUBLE_EQ(t[PrayerCalculator::Isha] - t[PrayerCalculator::Maghrib], 1.5);
    // Qiyam starts the last third of the night from Maghrib to tomorrow's Fajr.
    const double night = (24 - t[PrayerCalculator::Maghrib] + t[PrayerCalculator::TomorrowFajr]) / 3;
    EXPECT_DOUBLE_EQ(t[PrayerCalculator::Qiyam], std::fmod(t[PrayerCalculator::Maghrib] + 2 * night, 24));
    EXPECT_FALSE(c.isUsingFixedTimings());
    EXPECT_EQ(c.getTimeNames()[2], "Duhr");
}

TEST(DayPipeline, QiyamIsTheLastThirdOfTheNight) {
    PrayerCalculator c;
    std::vector<double> t(10, 0.0);
    t[PrayerCalculator::Maghrib] = 18.5;
    t[PrayerCalculator::TomorrowFajr] = 4.5;
    c.computeQiyamTime(t);
    EXPECT_NEAR(t[PrayerCalculator::Qiyam], 1.1666666666666667, 1e-12);
}

TEST(DayPipeline, TomorrowsEntriesFollowTomorrowsSummerTime) {
    // London springs forward in the night of 30 to 31 March 2024.
    PrayerCalculator before;
    before.setCalcMethod(1);
    const auto t = before.getDatePrayerTimesAsDoubles(noonOn(2024, 3, 30), std::nullopt, std::nullopt, 51.5,
                                                      -0.1167, std::string("Europe/London"));
    const double shift = t[PrayerCalculator::TomorrowSunrise] - t[PrayerCalculator::Sunrise];
    EXPECT_GT(shift, 0.9);  // an hour later on the clock, less the day's two minutes of earlier dawn
    EXPECT_LT(shift, 1.0);

    PrayerCalculator after;
    after.setCalcMethod(1);
    const auto u = after.getDatePrayerTimesAsDoubles(noonOn(2024, 3, 31), std::nullopt, std::nullopt, 51.5, -0.1167,
                                                     std::string("Europe/London"));
    EXPECT_NEAR(u[PrayerCalculator::Sunrise], t[PrayerCalculator::TomorrowSunrise], 1e-9);
    EXPECT_LT(std::fabs(u[PrayerCalculator::TomorrowSunrise] - u[PrayerCalculator::Sunrise]), 0.1);
    // Dhuhr near 13:00 in summer time, near 12:00 the day before.
    EXPECT_NEAR(u[PrayerCalculator::Dhuhr], 13.07, 0.05);
    EXPECT_NEAR(t[PrayerCalculator::Dhuhr], 12.07, 0.05);
}

TEST(DayPipeline, OffsetOverridesAndTheDaylightSavingRule) {
    PrayerCalculator c;
    c.setTimeZone(std::string("Europe/London"));
    const Date summer = noonOn(2024, 7, 1);
    const Date winter = noonOn(2024, 1, 15);
    EXPECT_EQ(c.getTimeZoneOffset(summer), 1);
    EXPECT_EQ(c.getTimeZoneOffset(winter), 0);
    c.setOverrideDST(2);  // forced off: the zone's summer hour comes off
    EXPECT_EQ(c.getTimeZoneOffset(summer), 0);
    c.setOverrideDST(1);  // forced on: winter gains an hour
    EXPECT_EQ(c.getTimeZoneOffset(winter), 1);
    EXPECT_EQ(c.getTimeZoneOffset(summer), 1);

    c.setOverrideDST(0);
    c.setOverrideTimeZoneOffset(3.5);
    EXPECT_EQ(c.getTimeZoneOffset(summer), 3.5);
    EXPECT_EQ(c.getTimeZoneOffset(winter), 3.5);
    // The zone's summer hour is taken off even from an override, as the stored cities expect.
    c.setOverrideDST(1);
    EXPECT_EQ(c.getTimeZoneOffset(summer), 3.5);
    c.setOverrideDST(7);
    EXPECT_EQ(c.getTimeZoneOffset(summer), 2.5);
    EXPECT_EQ(c.getTimezoneOffsetInHours(7200000), 3.5);
    c.setOverrideTimeZoneOffset(50.0);
    EXPECT_EQ(c.getTimezoneOffsetInHours(7200000), 2);
}

TEST(DayPipeline, UnknownZoneFallsBackToGMTAndLogsOnlyWhenNamed) {
    tarvo::test::LogCapture log;
    PrayerCalculator c;
    c.setTimeZone(std::string("Mars/Olympus_Mons"));
    EXPECT_EQ(c.timeZoneObj()->name(), "GMT");
    EXPECT_EQ(log.count("Timezone Could Not Be Found: Mars/Olympus_Mons"), 1u);
    c.setTimeZone(std::nullopt);
    EXPECT_EQ(c.timeZoneObj()->name(), "GMT");
    EXPECT_EQ(log.lines().size(), 1u);

    PrayerCalculator gmt;
    PrayerCalculator unknown;
    const auto a = gmt.getDatePrayerTimesAsDoubles(noonOn(2020, 5, 1), std::nullopt, std::nullopt, 30, 0,
                                                   std::string("GMT"));
    const auto b = unknown.getDatePrayerTimesAsDoubles(noonOn(2020, 5, 1), std::nullopt, std::nullopt, 30, 0,
                                                       std::string("Nowhere/Special"));
    EXPECT_EQ(a, b);
}

TEST(DayPipeline, DhuhrMinutesAndMinuteRulesApplyAfterTheShift) {
    PrayerCalculator base;
    base.setCalcMethod(7);
    const auto t = base.getDatePrayerTimesAsDoubles(noonOn(2021, 6, 1), std::nullopt, std::nullopt, 24.45, 54.37,
                                                    std::string("Asia/Dubai"));
    // UAE: Maghrib two minutes after sunset, Isha ninety after Maghrib.
    EXPECT_NEAR(t[PrayerCalculator::Maghrib] - t[PrayerCalculator::Sunset], 2.0 / 60, 1e-12);
    EXPECT_NEAR(t[PrayerCalculator::Isha] - t[PrayerCalculator::Maghrib], 1.5, 1e-12);

    PrayerCalculator later;
    later.setCalcMethod(7);
    later.setDhuhrMinutes(3);
    const auto u = later.getDatePrayerTimesAsDoubles(noonOn(2021, 6, 1), std::nullopt, std::nullopt, 24.45, 54.37,
                                                     std::string("Asia/Dubai"));
    EXPECT_NEAR(u[PrayerCalculator::Dhuhr] - t[PrayerCalculator::Dhuhr], 0.05, 1e-12);

    PrayerCalculator minutes;
    minutes.setLat(24.45);
    minutes.setLng(54.37);
    minutes.setFajrMinutes(100);
    const auto v = minutes.getDatePrayerTimesAsDoubles(noonOn(2021, 6, 1), std::nullopt, std::nullopt, 24.45, 54.37,
                                                       std::string("Asia/Dubai"));
    EXPECT_NEAR(v[PrayerCalculator::Sunrise] - v[PrayerCalculator::Fajr], 100.0 / 60, 1e-12);
    EXPECT_NEAR(v[PrayerCalculator::TomorrowSunrise] - v[PrayerCalculator::TomorrowFajr], 100.0 / 60, 1e-12);
}

TEST(DayPipeline, ConcurrentCalculatorsAgreeWithASingleThread) {
    const char* zones[] = {"Europe/London", "Asia/Riyadh", "America/New_York", "Asia/Kolkata"};
    const double places[][2] = {{51.5, -0.1}, {21.4, 39.8}, {40.7, -74.0}, {28.6, 77.2}};
    auto year = [&](size_t i) {
        std::vector<double> all;
        PrayerCalculator c;
        for (int day = 1; day <= 60; ++day) {
            auto t = c.getDatePrayerTimesAsDoubles(noonOn(2024, 3, day), std::nullopt, std::nullopt, places[i][0],
                                                   places[i][1], std::string(zones[i]));
            all.insert(all.end(), t.begin(), t.end());
        }
        return all;
    };
    std::vector<std::vector<double>> expected;
    for (size_t i = 0; i < 4; ++i) expected.push_back(year(i));
    std::vector<std::vector<double>> got(4);
    std::vector<std::thread> threads;
    for (size_t i = 0; i < 4; ++i) threads.emplace_back([&, i] { got[i] = year(i); });
    for (auto& t : threads) t.join();
    for (size_t i = 0; i < 4; ++i) {
        ASSERT_EQ(got[i].size(), expected[i].size());
        for (size_t k = 0; k < got[i].size(); ++k) {
            if (std::isnan(expected[i][k])) {
                EXPECT_TRUE(std::isnan(got[i][k]));
            } else {
                EXPECT_EQ(got[i][k], expected[i][k]) << zones[i] << " value " << k;
            }
        }
    }
}
