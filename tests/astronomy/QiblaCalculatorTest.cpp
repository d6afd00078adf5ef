// Qibla bearing and great-circle distances.
#include <gtest/gtest.h>

#include "tarvo/astronomy/QiblaCalculator.h"

using tarvo::QiblaCalculator;

TEST(QiblaCalculator, BearingsAlongTheKaabasMeridianAndFromKnownCities) {
    EXPECT_EQ(QiblaCalculator::getQiblaDirection(40, 39.8262), 180);  // due north of it
    EXPECT_EQ(QiblaCalculator::getQiblaDirection(0, 39.8262), 0);     // due south
    EXPECT_EQ(QiblaCalculator::getQiblaDirection(51.5, -0.1167), 118);  // London, about 118.99: truncated
    EXPECT_EQ(QiblaCalculator::getQiblaDirection(40.7, -74.0), 58);     // New York
}

TEST(QiblaCalculator, NegativeBearingsTruncateBeforeWrapping) {
    // Just west of due south the raw angle is slightly negative: -0.x reads as 0, not 359.
    const int64_t slightly = QiblaCalculator::getQiblaDirection(0, 39.8262 + 0.05);
    EXPECT_EQ(slightly, 0);
    // About -1.7 degrees: truncated to -1, then wrapped to 359.
    const int64_t more = QiblaCalculator::getQiblaDirection(0, 39.8262 + 0.667);
    EXPECT_EQ(more, 359);
}

TEST(QiblaCalculator, FourQuadrantArctangent) {
    EXPECT_EQ(QiblaCalculator::myatan2(0, 0), 0);
    EXPECT_DOUBLE_EQ(QiblaCalculator::myatan2(1, 0), 3.141592653589793 / 2);
    EXPECT_DOUBLE_EQ(QiblaCalculator::myatan2(-1, 0), -3.141592653589793 / 2);
    EXPECT_DOUBLE_EQ(QiblaCalculator::myatan2(1, -1), 3 * 3.141592653589793 / 4);
    EXPECT_DOUBLE_EQ(QiblaCalculator::myatan2(-1, -1), -3 * 3.141592653589793 / 4);
    EXPECT_DOUBLE_EQ(QiblaCalculator::myatan2(1, 1), 3.141592653589793 / 4);
}

TEST(QiblaCalculator, DistancesAreArcMinutesWithTheProductsMileFactor) {
    EXPECT_NEAR(QiblaCalculator::CalcKabaDistance(21.4225, 39.8262, false), 0, 1e-3);
    // One degree of latitude is sixty nautical miles.
    EXPECT_NEAR(QiblaCalculator::getDistanceBetweenTwoLocations(10, 20, 11, 20, false), 60, 1e-9);
    const double london = QiblaCalculator::CalcKabaDistance(51.5, -0.1167, false);
    EXPECT_NEAR(london, 2586, 3);  // about 4,790 km
    EXPECT_DOUBLE_EQ(QiblaCalculator::CalcKabaDistance(51.5, -0.1167, true), london * 1.1515);
    EXPECT_NEAR(QiblaCalculator::getDistanceBetweenTwoLocations(51.5, -0.1167, 21.4225, 39.8262, false), london, 1e-6);
    EXPECT_DOUBLE_EQ(QiblaCalculator::getDistanceBetweenTwoLocations(1, 2, 30, 40, true),
                     QiblaCalculator::getDistanceBetweenTwoLocations(30, 40, 1, 2, true));
    EXPECT_EQ(QiblaCalculator::getDistanceBetweenTwoLocations(5, 5, 5, 5, false), 0);
}
