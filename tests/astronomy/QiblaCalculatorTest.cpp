// Qibla bearing and great-circle distances.
#include <gtest/gtest.h>

#include "tarvo/astronomy/QiblaCalculator.h"

using tarvo::QiblaCalculator;

TEST(QiblaCalculator, BearingsTruncateBeforeWrapping) {
    EXPECT_EQ(QiblaCalculator::getQiblaDirection(40, 39.8262), 180);    // due north of the Kaaba
    EXPECT_EQ(QiblaCalculator::getQiblaDirection(0, 39.8262), 0);       // due south
    EXPECT_EQ(QiblaCalculator::getQiblaDirection(51.5, -0.1167), 118);  // London, about 118.99
    EXPECT_EQ(QiblaCalculator::getQiblaDirection(40.7, -74.0), 58);     // New York
    // Just west of due south the raw angle is -0.x: it reads as 0, not 359; -1.7 reads as 359.
    EXPECT_EQ(QiblaCalculator::getQiblaDirection(0, 39.8262 + 0.05), 0);
    EXPECT_EQ(QiblaCalculator::getQiblaDirection(0, 39.8262 + 0.667), 359);
}

TEST(QiblaCalculator, DistancesAreArcMinutesWithTheLibrarysMileFactor) {
    EXPECT_NEAR(QiblaCalculator::CalcKabaDistance(21.4225, 39.8262, false), 0, 1e-3);
    EXPECT_NEAR(QiblaCalculator::getDistanceBetweenTwoLocations(10, 20, 11, 20, false), 60, 1e-9);
    const double london = QiblaCalculator::CalcKabaDistance(51.5, -0.1167, false);
    EXPECT_NEAR(london, 2586, 3);  // about 4,790 km
    // 2,586 arc minutes times the library's 1.1515 is 2,977.8 miles (not the usual 2,976).
    EXPECT_NEAR(QiblaCalculator::CalcKabaDistance(51.5, -0.1167, true), 2978, 3.5);
}
