// The night-fraction caps on Fajr, Isha and Maghrib, and polar days and nights.
#include <cmath>

#include <gtest/gtest.h>

#include "calculation/CalculatorSetup.h"

using tarvo::PrayerCalculator;

TEST(HighLatitude, EachRuleCapsTimesThatLieTooFarIntoTheNight) {
    constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
    // Expected times worked out by hand with the library's 1/7 of 0.14286 (not the exact fraction).
    struct Case {
        const char* what;
        int64_t method, rule;
        double sunset, sunrise, fajr, isha, maghrib;  // before the repair
        double fajrAfter, ishaAfter, maghribAfter;
    };
    const Case cases[] = {
        {"rule 3, 9 h night: a Fajr 2 h before sunrise stays", 1, 3, 20, 5, 3, 21, 20, 3, 21, 20},
        // 9.5 h night: a seventh is 1.35717 h.
        {"rule 1 caps at a seventh at any latitude", 1, 1, 19.5, 5, 3.2, 21, 19.5, 3.64283, 20.85717, 19.5},
        // The mean of the seventh and the angle's share; Maghrib deliberately gets the plain seventh.
        // 6 h night: a seventh is 0.85716 h; Fajr's 18 degrees give 1.8 h, the mean 1.32858 h;
        // Isha's 17 degrees give 1.7 h, the mean 1.27858 h.
        {"rule 2 takes the mean of both shares", 1, 2, 22, 4, kNaN, kNaN, 23.5, 2.67142, 23.27858, 22.85716},
        {"rule 4 repairs from half the night without wrapping", 1, 4, 21, 2, kNaN, kNaN, kNaN, -0.5, 23.5, 23.5},
        {"an unknown stored rule collapses onto sunrise and sunset", 1, 5, 20, 5, 3, 21.5, 20.2, 5, 20, 20},
        {"Umm Al-Qura's Isha cap is skipped", 4, 1, 20, 5, 3, kNaN, 20, 3.71426, kNaN, 20},  // 9 h: 1.28574 h
    };
    for (const auto& c : cases) {
        PrayerCalculator calculator;
        calculator.setCalcMethod(c.method);
        calculator.setAdjustHighLats(c.rule);
        if (c.rule == 2) calculator.setMaghribAngle(18);
        std::vector<double> t(10, 0.0);
        t[PrayerCalculator::Sunrise] = t[PrayerCalculator::TomorrowSunrise] = c.sunrise;
        t[PrayerCalculator::Fajr] = t[PrayerCalculator::TomorrowFajr] = c.fajr;
        t[PrayerCalculator::Sunset] = c.sunset;
        t[PrayerCalculator::Isha] = c.isha;
        t[PrayerCalculator::Maghrib] = c.maghrib;
        calculator.adjustHighLatTimes(t);
        const auto near = [](double got, double expected) {
            return std::isnan(expected) ? std::isnan(got) : std::fabs(got - expected) < 1e-12;
        };
        EXPECT_TRUE(near(t[PrayerCalculator::Fajr], c.fajrAfter)) << c.what << ": Fajr " << t[PrayerCalculator::Fajr];
        EXPECT_TRUE(near(t[PrayerCalculator::TomorrowFajr], c.fajrAfter)) << c.what;
        EXPECT_TRUE(near(t[PrayerCalculator::Isha], c.ishaAfter)) << c.what << ": Isha " << t[PrayerCalculator::Isha];
        EXPECT_TRUE(near(t[PrayerCalculator::Maghrib], c.maghribAfter)) << c.what << ": Maghrib " << t[PrayerCalculator::Maghrib];
    }
}

TEST(HighLatitude, PolarDayAndNightGiveNotAvailableWithoutCrashing) {
    for (int month : {6, 12}) {
        PrayerCalculator c = tarvo::test::configured({.method = 1});
        const auto t =
            tarvo::test::dayAt(c, tarvo::test::noonOn(2024, month, 21), {78.22, 15.65, "Arctic/Longyearbyen"});
        ASSERT_EQ(t.size(), 10u);
        const auto text = c.adjustTimesFormat(t);
        EXPECT_EQ(text[PrayerCalculator::Sunrise], "N/A") << month;
        EXPECT_EQ(text[PrayerCalculator::Sunset], "N/A") << month;
        EXPECT_FALSE(std::isnan(t[PrayerCalculator::Dhuhr])) << month;
        // Midsummer has no dawn and no night to repair one from; in midwinter the sun still
        // reaches 18 degrees below the horizon, so Fajr exists.
        EXPECT_EQ(std::isnan(t[PrayerCalculator::Fajr]), month == 6);
    }
}
