#include "astronomy/Nutation.h"

#include "astronomy/DegreeMath.h"

namespace tarvo {

namespace {
constexpr double kArcsecond = 1.0 / 3600.0;
}

Nutation::Nutation(double t) {
    const double omega = 125.04452 - 1934.136261 * t;  // the moon's ascending node
    const double sunLongitude = 280.4665 + 36000.7698 * t;
    const double moonLongitude = 218.3165 + 481267.8813 * t;
    deltaPsi_ = (-17.20 * degmath::sin(omega) - 1.32 * degmath::sin(2 * sunLongitude) -
                 0.23 * degmath::sin(2 * moonLongitude) + 0.21 * degmath::sin(2 * omega)) *
                kArcsecond;
    deltaEpsilon_ = (9.20 * degmath::cos(omega) + 0.57 * degmath::cos(2 * sunLongitude) +
                     0.10 * degmath::cos(2 * moonLongitude) - 0.09 * degmath::cos(2 * omega)) *
                    kArcsecond;
    // 23 deg 26' 21.448" and its secular change.
    epsilon0_ = 23.0 + 26.0 / 60.0 + (21.448 - t * (46.8150 + t * (0.00059 - 0.001813 * t))) * kArcsecond;
}

}  // namespace tarvo
