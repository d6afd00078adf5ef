#pragma once

#include <cstdint>

#include "tarvo/Export.h"

namespace tarvo {

/// Direction of the Kaaba and great-circle distances. Distances are central angles in
/// minutes of arc, that is nautical miles, or statute miles with the miles flag.
class TARVO_EXPORT QiblaCalculator {
public:
    /// Bearing of the Kaaba from the position, whole degrees clockwise from true north (0-359).
    static int64_t getQiblaDirection(double latitude, double longitude);
    static double getDistanceBetweenTwoLocations(double latitude, double longitude, double latitude2,
                                                 double longitude2, bool miles);
    static double CalcKabaDistance(double latitude, double longitude, bool miles);
    /// Four-quadrant arctangent in radians.
    static double myatan2(double y, double x);
};

}  // namespace tarvo
