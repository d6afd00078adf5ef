// The day pipeline: the published Makkah timetable, summer time, offset overrides, and
// several calculators at once.
#include <bit>
#include <cmath>
#include <cstring>
#include <fstream>
#include <thread>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "support/Dates.h"
#include "tarvo/calculation/PrayerCalculator.h"

using tarvo::PrayerCalculator;
using tarvo::test::noonOn;

namespace {

std::vector<double> dayAt(PrayerCalculator& c, tarvo::Date date, double lat, double lng, const char* zone) {
    return c.getDatePrayerTimesAsDoubles(date, std::nullopt, std::nullopt, lat, lng, std::string(zone));
}

double minutesOf(const std::string& hhmm) { return std::stoi(hhmm.substr(0, 2)) * 60.0 + std::stoi(hhmm.substr(3, 2)); }

}  // namespace

TEST(DayPipeline, MatchesThePublishedMakkahTimetableWithinTwoMinutes) {
    // The Umm al-Qura calendar office's printed times for 2016, one day a month.
    std::ifstream in(TARVO_SOURCE_DIR "/tests/data/makkah-timetable.json");
    ASSERT_TRUE(in) << "tests/data/makkah-timetable.json is missing";
    const auto place = nlohmann::json::parse(in).at(0);
    int compared = 0;
    for (const auto& row : place["rows"]) {
        const std::string date = row["date"];
        PrayerCalculator c;
        c.setCalcMethod(place["flags"]["method"].get<int64_t>());
        c.setAsrJuristic(place["flags"]["asr"].get<int64_t>());
        const auto text = c.adjustTimesFormat(dayAt(
            c, noonOn(std::stoi(date.substr(0, 4)), std::stoi(date.substr(5, 2)), std::stoi(date.substr(8, 2))),
            place["lat"], place["lon"], place["tz"].get<std::string>().c_str()));
        const size_t entries[] = {PrayerCalculator::Fajr, PrayerCalculator::Sunrise, PrayerCalculator::Dhuhr,
                                  PrayerCalculator::Asr,  PrayerCalculator::Maghrib, PrayerCalculator::Isha};
        for (size_t i = 0; i < 6; ++i, ++compared) {
            EXPECT_LE(std::fabs(minutesOf(text[entries[i]]) - minutesOf(row["times"][i])), 2)
                << date << " entry " << entries[i] << ": " << text[entries[i]];
        }
    }
    EXPECT_EQ(compared, 72);
}

TEST(DayPipeline, TomorrowsEntriesFollowTomorrowsSummerTimeOnTheChangeDay) {
    // London springs forward in the night of 30 to 31 March 2024.
    PrayerCalculator before;
    before.setCalcMethod(1);
    const auto t = dayAt(before, noonOn(2024, 3, 30), 51.5, -0.1167, "Europe/London");
    const double shift = t[PrayerCalculator::TomorrowSunrise] - t[PrayerCalculator::Sunrise];
    EXPECT_GT(shift, 0.9);  // an hour later on the clock, less the day's earlier dawn
    EXPECT_LT(shift, 1.0);
    const auto u = dayAt(before, noonOn(2024, 3, 31), 51.5, -0.1167, "Europe/London");
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

TEST(DayPipeline, ConcurrentCalculatorsAgreeWithASingleThread) {
    const char* zones[] = {"Europe/London", "Asia/Riyadh", "America/New_York", "Asia/Kolkata"};
    const double places[][2] = {{51.5, -0.1}, {21.4, 39.8}, {40.7, -74.0}, {28.6, 77.2}};
    auto days = [&](size_t i) {
        std::vector<double> all;
        PrayerCalculator c;
        for (int day = 1; day <= 60; ++day) {
            const auto t = dayAt(c, noonOn(2024, 3, day), places[i][0], places[i][1], zones[i]);
            all.insert(all.end(), t.begin(), t.end());
        }
        return all;
    };
    std::vector<std::vector<double>> expected;
    for (size_t i = 0; i < 4; ++i) expected.push_back(days(i));
    std::vector<std::vector<double>> got(4);
    std::vector<std::thread> threads;
    for (size_t i = 0; i < 4; ++i) threads.emplace_back([&, i] { got[i] = days(i); });
    for (auto& t : threads) t.join();
    for (size_t i = 0; i < 4; ++i) {  // bit for bit, so that NaN equals NaN
        ASSERT_EQ(got[i].size(), expected[i].size());
        EXPECT_EQ(std::memcmp(got[i].data(), expected[i].data(), got[i].size() * sizeof(double)), 0) << zones[i];
    }
}

TEST(DayPipeline, AnswersDoNotDependOnWhatTheThreadAskedBefore) {
    // The engine keeps recent sun positions and event times per thread. A day computed on a
    // fresh thread (nothing kept) must match, bit for bit, the same day computed after many
    // others, among them places on the same meridian (the same Julian dates) at other
    // latitudes and the same place on the neighbouring days.
    auto london = [] {
        PrayerCalculator c;
        return dayAt(c, noonOn(2024, 6, 21), 51.5, -0.1167, "Europe/London");
    };
    std::vector<double> cold;
    std::thread([&] { cold = london(); }).join();

    PrayerCalculator other;
    for (double lat = -50; lat <= 60; lat += 10) {
        const auto t = dayAt(other, noonOn(2024, 6, 21), lat, -0.1167, "Europe/London");
        if (lat == 50) {
            EXPECT_GT(std::fabs(t[PrayerCalculator::Sunrise] - cold[PrayerCalculator::Sunrise]), 0.05);
        }
    }
    for (int day = 15; day <= 27; ++day) dayAt(other, noonOn(2024, 6, day), 51.5, -0.1167, "Europe/London");
    const auto warm = london();
    ASSERT_EQ(warm.size(), cold.size());
    EXPECT_EQ(std::memcmp(warm.data(), cold.data(), warm.size() * sizeof(double)), 0);
    // And the day itself, as the Royal Observatory tables give London's solstice: sunrise
    // 04:43 BST, sunset 21:21 BST.
    EXPECT_NEAR(warm[PrayerCalculator::Sunrise], 4 + 43 / 60.0, 2 / 60.0);
    EXPECT_NEAR(warm[PrayerCalculator::Sunset], 21 + 21 / 60.0, 2 / 60.0);
}

TEST(DayPipeline, FajrAndSunriseAloneAreTheWholeDaysToTheBit) {
    // The next day's Fajr and sunrise are computed on their own (a day's list needs nothing
    // else of it). They must be the whole day's first two entries, bit for bit, wherever a
    // later step of the day could reach them: the high-latitude share (every rule, places up
    // to the polar circle and beyond), Fajr in minutes, an authority's safety minutes,
    // rounding and seasonal twilight, the Dubai and Kuala Lumpur timetables, the polar
    // resolutions (Tromso's midnight sun and polar night), and the nights the clocks change.
    using tarvo::PolarResolution;
    struct Setup {
        int64_t method;
        int64_t highLatitudeRule;
        double fajrMinutes;  // 0: the method's own Fajr
        PolarResolution polar;
    };
    const Setup setups[] = {{1, 0, 0, PolarResolution::None},
                            {2, 1, 0, PolarResolution::NearestLatitude},
                            {3, 2, 0, PolarResolution::NearestDay},
                            {4, 3, 0, PolarResolution::None},
                            {5, 4, 0, PolarResolution::NearestLatitude},
                            {7, 0, 0, PolarResolution::None},
                            {1, 3, 90, PolarResolution::NearestLatitude},
                            {8, 0, 0, PolarResolution::NearestDay},
                            {10, 1, 0, PolarResolution::None},
                            {11, 0, 0, PolarResolution::NearestLatitude},
                            {19, 0, 0, PolarResolution::None},
                            {21, 2, 0, PolarResolution::NearestLatitude}};
    struct Place {
        double latitude, longitude;
        const char* zone;
        const char* city;
    };
    const Place places[] = {{51.5, -0.1167, "Europe/London", "London"},
                            {64.15, -21.94, "Atlantic/Reykjavik", "Reykjavik"},
                            {69.65, 18.96, "Europe/Oslo", "Tromso"},
                            {-33.9, 151.2, "Australia/Sydney", "Sydney"},
                            {25.2, 55.27, "Asia/Dubai", "Dubai"},
                            {3.14, 101.69, "Asia/Kuala_Lumpur", "Kuala Lumpur"},
                            {40.7, -74.0, "America/New_York", "New York"},
                            {21.42, 39.83, "Asia/Riyadh", "Makkah"}};
    const int64_t dates[][3] = {{2024, 1, 1}, {2024, 3, 30}, {2024, 3, 31}, {2024, 6, 21}, {2024, 10, 6},
                                {2024, 10, 27}, {2024, 11, 3}, {2024, 12, 21}, {2016, 5, 1}, {2016, 12, 31}};
    const auto bitsOf = [](double x) { return std::bit_cast<uint64_t>(x); };
    int compared = 0;
    int fixed = 0;
    int repaired = 0;
    int filled = 0;
    for (const Setup& setup : setups) {
        for (const Place& place : places) {
            for (const auto& d : dates) {
                const auto configured = [&] {
                    PrayerCalculator c;
                    c.setCalcMethod(setup.method);
                    c.setAdjustHighLats(setup.highLatitudeRule);
                    c.setPolarResolution(setup.polar);
                    if (setup.fajrMinutes != 0) c.setFajrMinutes(setup.fajrMinutes);
                    return c;
                };
                PrayerCalculator whole = configured();
                PrayerCalculator morning = configured();
                const tarvo::Date date = noonOn(d[0], d[1], d[2]);
                const auto day = whole.getDatePrayerTimes(date, std::string(place.city), std::nullopt, place.latitude,
                                                          place.longitude, std::string(place.zone));
                const auto early = morning.getDateFajrAndSunrise(date, std::string(place.city), std::nullopt,
                                                                 place.latitude, place.longitude,
                                                                 std::string(place.zone));
                EXPECT_EQ(bitsOf(early[0]), bitsOf(day[PrayerCalculator::Fajr]))
                    << place.city << " method " << setup.method << " " << d[0] << "-" << d[1] << "-" << d[2];
                EXPECT_EQ(bitsOf(early[1]), bitsOf(day[PrayerCalculator::Sunrise]))
                    << place.city << " method " << setup.method << " " << d[0] << "-" << d[1] << "-" << d[2];
                EXPECT_EQ(morning.isUsingFixedTimings(), whole.isUsingFixedTimings()) << place.city;
                ++compared;
                fixed += whole.isUsingFixedTimings() ? 1 : 0;

                // The high-latitude share moved Fajr: the day's sun alone would put it elsewhere.
                PrayerCalculator raw = configured();
                raw.getDatePrayerTimes(date, std::string(place.city), std::nullopt, place.latitude, place.longitude,
                                       std::string(place.zone));
                std::vector<double> guesses{5, 6, 12, 13, 18, 18, 19, 23, 5, 6};
                const auto sun = raw.computeTimes(guesses);
                filled += setup.polar != PolarResolution::None && !std::isfinite(sun[PrayerCalculator::Sunrise]) &&
                                  std::isfinite(day[PrayerCalculator::Sunrise])
                              ? 1
                              : 0;
                repaired += setup.fajrMinutes == 0 && setup.method < 8 && !whole.isUsingFixedTimings() &&
                                    !(std::fabs(sun[PrayerCalculator::Fajr] + raw.getTimeZoneOffset(date) -
                                                place.longitude / 15.0 - day[PrayerCalculator::Fajr]) < 1e-9)
                                ? 1
                                : 0;
            }
        }
    }
    EXPECT_EQ(compared, 12 * 8 * 10);
    // The cases the comparison must include, not just allow: official timetables, and days
    // whose Fajr the high-latitude share set.
    EXPECT_GT(fixed, 20);
    EXPECT_GT(repaired, 20);
    EXPECT_GT(filled, 3);
}
