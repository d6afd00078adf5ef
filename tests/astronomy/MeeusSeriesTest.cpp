// The sun and moon series against the worked examples of Meeus, "Astronomical Algorithms"
// (2nd ed.): example 25.a (the sun, 1992 October 13, 0h TD), 25.b (the same moment from the
// full VSOP87 theory) and 47.a (the moon, 1992 April 12, 0h TD).
#include <gtest/gtest.h>

#include "astronomy/MeeusMoon.h"
#include "astronomy/MeeusSun.h"
#include "astronomy/Nutation.h"
#include "astronomy/TimeScale.h"

using namespace tarvo;

namespace {
double hms(double h, double m, double s) { return (h + m / 60 + s / 3600) * 15; }
double dms(double d, double m, double s) { return d < 0 ? d - m / 60 - s / 3600 : d + m / 60 + s / 3600; }
}  // namespace

TEST(MeeusSeries, SunOf1992October13) {
    const EquatorialPosition sun = MeeusSun::position(2448908.5);
    // The book's low-accuracy results: apparent longitude 199.90895, alpha 13h13m31.4s,
    // delta -7 deg 47' 06", R 0.99766 AU.
    EXPECT_NEAR(sun.longitude, 199.90895, 2e-5);
    EXPECT_NEAR(sun.rightAscension, hms(13, 13, 31.4), 0.0005);
    EXPECT_NEAR(sun.declination, dms(-7, 47, 6), 0.0003);
    EXPECT_NEAR(sun.distanceKm / MeeusSun::kKilometresPerAU, 0.99766, 1e-5);
    // The full theory (example 25.b): alpha 13h13m30.749s, delta -7 deg 47' 01.74".
    EXPECT_NEAR(sun.rightAscension, hms(13, 13, 30.749), 0.01);
    EXPECT_NEAR(sun.declination, dms(-7, 47, 1.74), 0.01);
}

TEST(MeeusSeries, MoonOf1992April12) {
    const double jde = 2448724.5;
    EXPECT_NEAR(TimeScale::centuries(jde), -0.077221081451, 1e-12);
    const MeeusMoon::Terms s = MeeusMoon::terms(jde);
    EXPECT_NEAR(s.meanLongitude, 134.290182, 1e-6);
    EXPECT_NEAR(s.elongation, 113.842304, 1e-6);
    EXPECT_NEAR(s.sunAnomaly, 97.643514, 1e-6);
    EXPECT_NEAR(s.moonAnomaly, 5.150833, 1e-6);
    EXPECT_NEAR(s.argumentOfLatitude, 219.889721, 1e-6);
    // The sums pin every coefficient of the tables to within a unit or two.
    EXPECT_NEAR(s.sumLongitude, -1127527, 1.5);
    EXPECT_NEAR(s.sumLatitude, -3229126, 1.5);
    EXPECT_NEAR(s.sumDistance, -16590875, 1.5);

    const EquatorialPosition moon = MeeusMoon::position(jde);
    EXPECT_NEAR(moon.latitude, -3.229126, 1e-6);
    EXPECT_NEAR(moon.distanceKm, 368409.7, 0.05);
    // Apparent longitude 133.167265 with the full nutation; the short series differs by < 0.5".
    EXPECT_NEAR(moon.longitude, 133.167265, 0.00015);
    EXPECT_NEAR(moon.rightAscension, 134.688470, 0.0002);
    EXPECT_NEAR(moon.declination, 13.768368, 0.0002);
}

TEST(MeeusSeries, NutationAndTimeScales) {
    // Example 22.a, 1987 April 10, 0h TD: delta psi -3.788", delta epsilon +9.443",
    // mean obliquity 23 deg 26' 27.407".
    const Nutation n(TimeScale::centuries(2446895.5));
    EXPECT_NEAR(n.longitude() * 3600, -3.788, 0.5);
    EXPECT_NEAR(n.obliquity() * 3600, 9.443, 0.1);
    EXPECT_NEAR(n.meanObliquity(), dms(23, 26, 27.407), 2e-6);
    // 1970-01-01 00:00 UT is Julian day 2440587.5; TT ran about 40.2 s ahead then, 63.8 s
    // in 2000 and 69.2 s in 2019 (IERS).
    EXPECT_DOUBLE_EQ(TimeScale::julianDay(Date(0)), 2440587.5);
    EXPECT_NEAR(TimeScale::deltaT(1970.0), 40.2, 1.0);
    EXPECT_NEAR(TimeScale::deltaT(2000.0), 63.8, 0.5);
    EXPECT_NEAR(TimeScale::deltaT(2019.0), 69.2, 2.0);
    EXPECT_NEAR(TimeScale::deltaT(1900.0), -2.7, 1.0);
}
