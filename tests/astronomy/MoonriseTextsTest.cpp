// The compatible moonrise and moonset texts: the parabola, the time
// text, and the shapes of the answer.
#include <cmath>

#include <gtest/gtest.h>

#include "tarvo/astronomy/SunCalculator.h"

using tarvo::SunCalculator;
using Texts = std::vector<std::string>;

namespace {
// A calculator whose stored moon has right ascension 0 and the given declination.
SunCalculator storedMoon(double declination) {
    SunCalculator c;
    c.setOutput_moon_angles({0, 0, declination, 0, 0, 0, 0, 0});
    return c;
}
}  // namespace

TEST(MoonriseTexts, Parabola) {
    const SunCalculator c;
    // y = x^2 - 0.25: roots -0.5 and 0.5, minimum -0.25 at 0.
    EXPECT_EQ(c.quad(0.75, -0.25, 0.75), (std::vector<double>{2, -0.5, 0.5, 0, -0.25}));
    // y = x^2 + 2x - 0.25: roots -2.118 (outside) and 0.118; the first root takes the second's value.
    auto one = c.quad(0.75 - 2, -0.25, 0.75 + 2);
    EXPECT_EQ(one[0], 1);
    EXPECT_NEAR(one[1], -1 + std::sqrt(1.25), 1e-12);
    EXPECT_EQ(one[1], one[2]);
    EXPECT_EQ(one[3], -1);
    // y = x^2 + 1: no root; root fields zero, the extreme still given.
    EXPECT_EQ(c.quad(2, 1, 2), (std::vector<double>{0, 0, 0, 0, 1}));
    // Zero curvature (a straight line through 0): the extreme is at -infinity, the root
    // arithmetic gives -inf and NaN, so no root is counted.
    auto line = c.quad(-1, 0, 1);
    EXPECT_EQ(line[0], 0);
    EXPECT_TRUE(std::isnan(line[1]));
    EXPECT_TRUE(std::isnan(line[2]));
    EXPECT_EQ(line[3], -INFINITY);
    EXPECT_TRUE(std::isnan(line[4]));
    auto flat = c.quad(1, 1, 1);
    EXPECT_EQ(flat[0], 0);
    EXPECT_TRUE(std::isnan(flat[3]));
}

TEST(MoonriseTexts, TimeTextIsHoursTimesAHundred) {
    const SunCalculator c;
    EXPECT_EQ(c.hrsmin(5.5), "500 : 30");
    EXPECT_EQ(c.hrsmin(0.25), "00 : 15");
    EXPECT_EQ(c.hrsmin(23.999), "2400 : 00");
    EXPECT_EQ(c.hrsmin(0), "00 : 00");
    EXPECT_EQ(c.hrsmin(13 + 59.6 / 60), "1400 : 00");
    EXPECT_EQ(c.hrsmin(9 + 7.4 / 60), "900 : 07");
    EXPECT_EQ(c.hrsmin(NAN), "-");
}

TEST(MoonriseTexts, AnswerShapes) {
    // Equator, 2000 January 1, GMT: cos(LST) falls through sin(8') at LST 5.9911 h and rises
    // through it at 18.0089 h; sidereal time is 6.664520 h at 0h and gains 1.0027379 h an
    // hour, so the rise is at 11.3134 h and the set at 23.2629 h.
    const SunCalculator equator = storedMoon(0);
    EXPECT_EQ(equator.find_moonrise_set(51544, 0, 0, 0), (Texts{"1100 : 19", "2300 : 16"}));
    // In a zone one hour east the rise reads an hour later, 12:19, and the set past the end of
    // the local day is replaced by the one a sidereal day earlier: 23.2629 - 23.9345 + 1 =
    // 0.328 h, 00:19.7, which the parabola through samples two hours apart reads as 00:19.
    EXPECT_EQ(equator.find_moonrise_set(51544, 1, 0, 0), (Texts{"1200 : 19", "00 : 19"}));
    // Near the pole the value never reaches sin(8'): one "-" alone.
    EXPECT_EQ(equator.find_moonrise_set(51544, 0, 0, 89.99), (Texts{"-"}));

    // At 88.25 N with the stored declination -90 the body is up under two hours a day. A
    // visit that falls inside one two-hour window gives two roots there, recorded but never
    // marked found; only the next day's rise or set, caught alone in the last window, shows.
    const SunCalculator south = storedMoon(-90);
    EXPECT_EQ(south.find_moonrise_set(51544, 0, -177, 88.25), (Texts{"-"}));
    EXPECT_EQ(south.find_moonrise_set(51544, 0, -114, 88.25), (Texts{"2400 : 00", "-"}));
    EXPECT_EQ(south.find_moonrise_set(51544, 0, -87, 88.25), (Texts{"-", "2300 : 57"}));
}
