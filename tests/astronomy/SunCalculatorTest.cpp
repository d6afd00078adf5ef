// SunCalculator's helpers, positions, moon phase and satellite geometry, against published
// figures: Meeus's worked examples, the 2019 solstice, perigee and lunar phases.
#include <cmath>

#include <map>

#include <gtest/gtest.h>

#include "tarvo/astronomy/SunCalculator.h"

using tarvo::Date;
using tarvo::SunCalculator;

namespace {
// A UT moment from a calendar date and hour.
Date utc(int64_t year, int64_t month, int64_t day, double hour) {
    return Date((SunCalculator::mjd(day, month, year, hour) - 40587.0) * 86400.0);
}
}  // namespace

TEST(SunCalculator, DayNumbersAndSiderealTime) {
    EXPECT_DOUBLE_EQ(SunCalculator::mjd(17, 11, 1858, 0), 0.0);          // the MJD epoch
    EXPECT_DOUBLE_EQ(SunCalculator::mjd(1, 1, 2000, 12), 51544.5);        // J2000
    EXPECT_NEAR(SunCalculator::mjd(4, 10, 1957, 19.44), 36115.81, 1e-9);  // Meeus 7.a, Sputnik 1
    EXPECT_DOUBLE_EQ(SunCalculator::mjd(27, 1, 333, 12), -557287.5);      // Meeus 7.b, Julian calendar
    EXPECT_DOUBLE_EQ(SunCalculator::mjd(15, 10, 1582, 0) - SunCalculator::mjd(4, 10, 1582, 0), 1.0);
    // Meeus 12.a and 12.b: 1987 April 10 at 0h UT, 13h10m46.3668s; at 19h21m, 8h34m57.0896s.
    EXPECT_NEAR(SunCalculator::lmst(SunCalculator::mjd(10, 4, 1987, 0), 0), 13 + 10 / 60.0 + 46.3668 / 3600, 2e-7);
    const double mjd = SunCalculator::mjd(10, 4, 1987, 19.35);
    EXPECT_NEAR(SunCalculator::lmst(mjd, 0), 8 + 34 / 60.0 + 57.0896 / 3600, 2e-7);
    EXPECT_NEAR(SunCalculator::lmst(mjd, -90), 2 + 34 / 60.0 + 57.0896 / 3600, 2e-7);
    EXPECT_NEAR(SunCalculator::lmst(mjd, 240), 34 / 60.0 + 57.0896 / 3600, 2e-7) << "wrapped into 0-24";
    // The day number of the orbital-elements method: 1990 April 19 is -3543 in its worked
    // example; 2019 June 15 works out by hand to 7106.
    EXPECT_DOUBLE_EQ(SunCalculator::daynumber(19, 4, 1990, 0), -3543);
    EXPECT_DOUBLE_EQ(SunCalculator::daynumber(1, 1, 2000, 12), 1.5);
    EXPECT_DOUBLE_EQ(SunCalculator::daynumber(15, 6, 2019, 0), 7106);
}

TEST(SunCalculator, SunAndMoonPositions) {
    // June solstice 2019, 21 June 15:54 UTC: apparent longitude 90, declination the true
    // obliquity (23 deg 26' 10"); the sun is overhead where the equation of time
    // (-1.7 min) puts it, 58.07 W.
    const auto sun = SunCalculator::sunPosition(utc(2019, 6, 21, 15.9), 23.4361, -58.07);
    EXPECT_NEAR(sun.eclipticLongitude, 90.0, 0.005);
    EXPECT_NEAR(sun.declination, 23.4361, 0.003);
    EXPECT_GT(sun.altitude, 89.9);
    EXPECT_NEAR(sun.hourAngle, 0, 0.1);
    // Two hours of longitude further west it is still morning: hour angle -30, sun in the east.
    const auto morning = SunCalculator::sunPosition(utc(2019, 6, 21, 15.9), 0, -88.07);
    EXPECT_NEAR(morning.hourAngle, -30, 0.1);
    EXPECT_LT(morning.azimuth, 90);
    // On the equator sin(altitude) = cos 23.4361 cos 30 = 0.79458: 52.62 degrees.
    EXPECT_NEAR(morning.altitude, 52.62, 0.1);

    // Meeus 47.a through the public path (the series itself: MeeusSeriesTest): 1992 April 12
    // at 0h TD is 58.3 s earlier in UT.
    const Date moment(((2448724.5 - 2440587.5) * 86400.0) - 58.3);
    const auto moon = SunCalculator::moonPosition(moment, 0, 0);
    EXPECT_NEAR(moon.rightAscension, 134.688470, 0.001);
    // Perigee of 21 January 2019 at 19:59 UTC: 357,342 km.
    EXPECT_NEAR(SunCalculator::moonPosition(utc(2019, 1, 21, 19 + 59 / 60.0), 0, 0).distanceKm, 357342, 10);

    // The site's angles carry the same geocentric moon: right ascension in slot 4,
    // declination in 2, distance in 5.
    SunCalculator c;
    c.calculateSunAndMoonAngles(moment, 40, -74);
    const auto& m = c.output_moon_angles();
    ASSERT_EQ(m.size(), 8u);
    EXPECT_NEAR(m[4], 134.688470, 0.001);
    EXPECT_NEAR(m[2], 13.768368, 0.001);
    EXPECT_NEAR(m[5], 368409.7, 1);
    EXPECT_EQ(c.output_sun_angles().size(), 8u);
}

TEST(SunCalculator, MoonPhases) {
    // January 2019: new moon on the 6th at 01:28, first quarter on the 14th at 06:45, full
    // moon (a total eclipse) on the 21st at 05:16, last quarter on the 27th at 21:10 UTC.
    const auto full = SunCalculator::moonPhase(utc(2019, 1, 21, 5 + 16 / 60.0));
    EXPECT_EQ(full.name, "full");
    EXPECT_GT(full.illuminatedFraction, 0.9999);
    EXPECT_NEAR(full.elongation, 180, 0.02);
    EXPECT_NEAR(full.ageDays, 15 + (3 + 48 / 60.0) / 24, 0.005);
    const auto first = SunCalculator::moonPhase(utc(2019, 1, 14, 6.75));
    EXPECT_EQ(first.name, "first quarter");
    EXPECT_NEAR(first.illuminatedFraction, 0.5, 0.005);
    EXPECT_NEAR(first.phaseAngle, 90, 0.5);
    EXPECT_NEAR(first.ageDays, 8 + (5 + 17 / 60.0) / 24, 0.005);
    EXPECT_EQ(SunCalculator::moonPhase(utc(2019, 1, 27, 21 + 10 / 60.0)).name, "last quarter");
    const auto young = SunCalculator::moonPhase(utc(2019, 1, 7, 13.47));
    EXPECT_EQ(young.name, "waxing crescent");
    EXPECT_NEAR(young.ageDays, 1.5, 0.005);
    EXPECT_LT(young.illuminatedFraction, 0.05);

    // Named for a whole local day: the full moon falls on the 21st in New York, the new moon
    // (01:28 UTC on the 6th) on the evening of the 5th there but on the 6th in Tokyo.
    const auto newYork = *tarvo::TimeZone::withName("America/New_York");
    const auto tokyo = *tarvo::TimeZone::withName("Asia/Tokyo");
    EXPECT_EQ(SunCalculator::moonPhaseForDay(21, 1, 2019, newYork).name, "full");
    EXPECT_EQ(SunCalculator::moonPhaseForDay(5, 1, 2019, newYork).name, "new");
    EXPECT_EQ(SunCalculator::moonPhaseForDay(6, 1, 2019, newYork).name, "waxing crescent");
    EXPECT_EQ(SunCalculator::moonPhaseForDay(6, 1, 2019, tokyo).name, "new");
    EXPECT_NEAR(SunCalculator::moonPhaseForDay(21, 1, 2019, newYork).ageDays, 15 + (15 + 32 / 60.0) / 24, 0.005);
    // January 1977 in Chicago: first quarter about an hour before midnight on the 26th. Only
    // that day carries the name; every principal phase is named on exactly one day.
    const auto chicago = *tarvo::TimeZone::withName("America/Chicago");
    std::map<std::string, int> named;
    for (int day = 1; day <= 31; ++day) named[SunCalculator::moonPhaseForDay(day, 1, 1977, chicago).name]++;
    for (const char* principal : {"new", "first quarter", "full", "last quarter"}) EXPECT_EQ(named[principal], 1) << principal;
    EXPECT_EQ(SunCalculator::moonPhaseForDay(26, 1, 1977, chicago).name, "first quarter");
    EXPECT_EQ(SunCalculator::moonPhaseForDay(27, 1, 1977, chicago).name, "waxing gibbous");
}

TEST(SunCalculator, GeostationarySatellites) {
    // On the equator under the satellite: overhead; 81.3 degrees of longitude away, where
    // cos(g) = 6378.137 / 42164.17: on the horizon.
    EXPECT_NEAR(SunCalculator::Elevation2(0, 0, 0, 0), 90, 1e-9);
    EXPECT_NEAR(SunCalculator::Elevation2(81.3, 0, 0, 0), 0, 0.01);
    EXPECT_LT(SunCalculator::Elevation2(100, 0, 0, 0), -10);
    // Munich (48.14 N, 11.58 E) to Astra at 19.2 E, by hand: cos g = cos 48.14 cos 7.62 =
    // 0.66142, elevation atan((0.66142 - 0.15127) / 0.75002) = 34.22, azimuth
    // 180 - atan(sin 7.62 / (sin 48.14 cos 7.62)) = 169.82.
    EXPECT_NEAR(SunCalculator::Elevation2(19.2, 48.14, 11.58, 0), 34.22, 0.01);
    EXPECT_NEAR(SunCalculator::satelliteAzimuth(19.2, 48.14, 11.58), 169.82, 0.01);
    // From 3000 m the site is farther out: cos g - r / R = 0.151261 - 6381.137 / 42164.17 =
    // -0.0000786, over sin g 0.98849: 0.0046 degree below the horizontal.
    EXPECT_NEAR(SunCalculator::Elevation2(81.3, 0, 0, 3000), -0.0046, 0.0002);

    // Saemundsson's refraction: 29' at the horizon, none at the zenith, nothing added far below.
    EXPECT_NEAR(SunCalculator::ElevationRefraction(0), 0.483, 0.001);
    EXPECT_NEAR(SunCalculator::ElevationRefraction(90), 90, 1e-6);
    EXPECT_NEAR(SunCalculator::ElevationRefraction(10), 10 + 5.3 / 60, 0.2 / 60);
    EXPECT_DOUBLE_EQ(SunCalculator::ElevationRefraction(-5), -5);

    SunCalculator munich;
    // Local solar noon: 11.58 E is 46.3 min ahead of Greenwich, the sundial 3.4 min slow.
    munich.calculateSunAndMoonAngles(utc(2019, 1, 1, 11 + 17.1 / 60), 48.14, 11.58);
    EXPECT_NEAR(munich.getsatelliteposition(169.82), 19.2, 0.01);
    EXPECT_NEAR(munich.getsatelliteposition(180), 11.58, 1e-9);  // on the meridian
    EXPECT_TRUE(std::isnan(munich.getsatelliteposition(0)));    // the orbit is in the south
    EXPECT_TRUE(std::isnan(munich.getsatelliteposition(90)));   // due east it is below the horizon
    // The sun's azimuth at noon in Munich points at the satellite on the site's meridian.
    EXPECT_NEAR(munich.output_sun_angles()[1], 180, 0.1);
    EXPECT_NEAR(munich.getsatelliteposition(munich.output_sun_angles()[1]), 11.58, 0.2);

    SunCalculator sydney;  // in the south the orbit is due north
    sydney.calculateSunAndMoonAngles(utc(2019, 1, 1, 0), -33.87, 151.21);
    EXPECT_NEAR(sydney.getsatelliteposition(0), 151.21, 1e-9);
}
