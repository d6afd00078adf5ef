// The shared solar kernel against published values: Meeus's Julian dates and almanac sun
// positions (declination to about a minute of arc, equation of time to a few seconds).
#include <cmath>

#include <gtest/gtest.h>

#include "astronomy/SolarKernel.h"

namespace solar = tarvo::solar;

TEST(SolarKernel, JulianDatesAndAngleArithmetic) {
    EXPECT_EQ(solar::julianDate(2000, 1, 1), 2451544.5);
    EXPECT_EQ(solar::julianDate(1988, 1, 27), 2447187.5);   // Meeus table 7.a
    EXPECT_EQ(solar::julianDate(1600, 12, 31), 2305812.5);  // Meeus table 7.a
    EXPECT_EQ(solar::julianDate(2024, 2, 29), 2460369.5);   // February counts as month 14 of 2023
    EXPECT_EQ(solar::julianDate(2000, 3, 1) - solar::julianDate(2000, 2, 28), 2);  // 2000 is a leap year
    EXPECT_EQ(solar::julianDate(1900, 3, 1) - solar::julianDate(1900, 2, 28), 1);  // 1900 is not

    // Angle arithmetic, tested here once for the calculators that wrap it.
    EXPECT_EQ(solar::fixHour(-1), 23);
    EXPECT_EQ(solar::fixHour(24), 0);
    EXPECT_EQ(solar::fixHour(49.5), 1.5);
    EXPECT_EQ(solar::fixAngle(-30), 330);
    EXPECT_EQ(solar::fixAngle(720), 0);
    EXPECT_TRUE(std::isnan(solar::fixHour(std::nan(""))));

    // The arc cotangent stays between 0 and 180: not atan(1/x), a negative argument is obtuse.
    EXPECT_EQ(solar::arcCotDeg(0), 90);
    EXPECT_NEAR(solar::arcCotDeg(-1), 135, 1e-12);
    EXPECT_NEAR(solar::arcCotDeg(1), 45, 1e-12);
    EXPECT_NEAR(solar::arcTan2Deg(-1, -1), -135, 1e-12);
    EXPECT_TRUE(std::isnan(solar::arcCosDeg(1.5)));  // the sun never reaches the angle
}

TEST(SolarKernel, SunPositionMatchesTheAlmanac) {
    // 2000-01-01 12h: declination -23 deg 02 min, equation of time -3 min 14 s (sun late).
    const auto jan = solar::sunPosition(2451545.0);
    EXPECT_NEAR(jan.declination, -23.03, 0.02);
    EXPECT_NEAR(jan.equationOfTime * 60, -3.23, 0.1);
    // 2000-06-21 12h, the June solstice: declination +23 deg 26 min, equation of time -1 min 43 s.
    const auto june = solar::sunPosition(solar::julianDate(2000, 6, 21) + 0.5);
    EXPECT_NEAR(june.declination, 23.44, 0.02);
    EXPECT_NEAR(june.equationOfTime * 60, -1.7, 0.15);
    // 2000-11-03 12h, near the largest equation of time of the year: +16 min 26 s, declination -15 deg 13 min.
    const auto nov = solar::sunPosition(solar::julianDate(2000, 11, 3) + 0.5);
    EXPECT_NEAR(nov.equationOfTime * 60, 16.43, 0.1);
    EXPECT_NEAR(nov.declination, -15.22, 0.05);
}
