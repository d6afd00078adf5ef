// The night-fraction caps on Fajr, Isha and Maghrib, and polar days and nights.
#include <cmath>

#include <gtest/gtest.h>

#include "support/Dates.h"
#include "tarvo/calculation/PrayerCalculator.h"

using tarvo::PrayerCalculator;

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

// The times after the high-latitude repair, for a night from `sunset` to `sunrise`.
std::vector<double> adjusted(int64_t method, int64_t rule, double sunset, double sunrise, double fajr, double isha,
                             double maghrib, double maghribAngle = -1) {
    PrayerCalculator c;
    c.setCalcMethod(method);
    c.setAdjustHighLats(rule);
    if (maghribAngle >= 0) c.setMaghribAngle(maghribAngle);
    std::vector<double> t(10, 0.0);
    t[PrayerCalculator::Sunrise] = t[PrayerCalculator::TomorrowSunrise] = sunrise;
    t[PrayerCalculator::Fajr] = t[PrayerCalculator::TomorrowFajr] = fajr;
    t[PrayerCalculator::Sunset] = sunset;
    t[PrayerCalculator::Isha] = isha;
    t[PrayerCalculator::Maghrib] = maghrib;
    c.adjustHighLatTimes(t);
    return t;
}

}  // namespace

TEST(HighLatitude, EachRuleCapsTimesThatLieTooFarIntoTheNight) {
    constexpr double kSeventh = 0.14286;  // the product's 1/7, not the exact fraction
    // Rule 3, 9-hour night: the cap is 2.7 h, a Fajr 2 h before sunrise stays.
    EXPECT_EQ(adjusted(1, 3, 20, 5, 3, 21, 20)[PrayerCalculator::Fajr], 3);
    // Rule 1 applies at any latitude: a 9.5-hour night caps Fajr and Isha at a seventh.
    const auto t = adjusted(1, 1, 19.5, 5, 3.2, 21, 19.5);
    EXPECT_NEAR(t[PrayerCalculator::Fajr], 5 - kSeventh * 9.5, 1e-12);
    EXPECT_NEAR(t[PrayerCalculator::TomorrowFajr], 5 - kSeventh * 9.5, 1e-12);
    EXPECT_NEAR(t[PrayerCalculator::Isha], 19.5 + kSeventh * 9.5, 1e-12);

    // Rule 2, 6-hour night: the mean of the seventh and the angle's share; Maghrib, even
    // with an angle, deliberately gets the plain seventh.
    const double share = kSeventh * 6;
    const auto m = adjusted(1, 2, 22, 4, kNaN, kNaN, 23.5, 18);
    EXPECT_NEAR(4 - m[PrayerCalculator::Fajr], share + (1.8 - share) * 0.5, 1e-12);
    EXPECT_NEAR(m[PrayerCalculator::Isha] - 22, share + (6 * 17.0 / 60 - share) * 0.5, 1e-12);
    EXPECT_NEAR(m[PrayerCalculator::Maghrib], 22 + share, 1e-12);

    // Rule 4 repairs missing times from half the night, without wrapping.
    const auto h = adjusted(1, 4, 21, 2, kNaN, kNaN, kNaN);
    EXPECT_DOUBLE_EQ(h[PrayerCalculator::Fajr], -0.5);
    EXPECT_DOUBLE_EQ(h[PrayerCalculator::Isha], 23.5);
    EXPECT_DOUBLE_EQ(h[PrayerCalculator::Maghrib], 23.5);
    // An unknown stored rule gives portion 0: everything collapses onto sunrise and sunset.
    const auto z = adjusted(1, 5, 20, 5, 3, 21.5, 20.2);
    EXPECT_EQ(z[PrayerCalculator::Fajr], 5);
    EXPECT_EQ(z[PrayerCalculator::Isha], 20);
    EXPECT_EQ(z[PrayerCalculator::Maghrib], 20);
    // Umm Al-Qura's Isha is minutes after Maghrib: its cap is skipped.
    EXPECT_TRUE(std::isnan(adjusted(4, 1, 20, 5, 3, kNaN, 20)[PrayerCalculator::Isha]));
}

TEST(HighLatitude, PolarDayAndNightGiveNotAvailableWithoutCrashing) {
    for (int month : {6, 12}) {
        PrayerCalculator c;
        c.setCalcMethod(1);
        const auto t = c.getDatePrayerTimesAsDoubles(tarvo::test::noonOn(2024, month, 21), std::nullopt,
                                                     std::nullopt, 78.22, 15.65, std::string("Arctic/Longyearbyen"));
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
