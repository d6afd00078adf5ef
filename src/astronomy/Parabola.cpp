#include "astronomy/Parabola.h"

#include <cmath>

namespace tarvo::parabola {

ThreePoint through(double ym, double y0, double yp) {
    ThreePoint p{};
    p.a = (ym + yp) / 2.0 - y0;
    p.b = (yp - ym) / 2.0;
    p.xe = -p.b / (2.0 * p.a);
    p.ye = (p.a * p.xe + p.b) * p.xe + y0;
    const double dis = p.b * p.b - 4.0 * p.a * y0;
    if (dis > 0) {
        const double dx = std::sqrt(dis) / 2.0 / std::fabs(p.a);
        p.z1 = p.xe - dx;
        p.z2 = p.xe + dx;
        if (std::fabs(p.z1) <= 1.0) ++p.roots;
        if (std::fabs(p.z2) <= 1.0) ++p.roots;
        if (p.z1 < -1.0) p.z1 = p.z2;
    }
    return p;
}

}  // namespace tarvo::parabola
