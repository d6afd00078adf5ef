#pragma once

// The parabola through three equally spaced samples, the root finder of the hourly rise and
// set searches (Montenbruck and Pfleger's QUAD).

namespace tarvo::parabola {

/// The parabola y = a*x^2 + b*x + y0 through (-1, ym), (0, y0) and (+1, yp).
struct ThreePoint {
    double a;   ///< (ym + yp)/2 - y0
    double b;   ///< (yp - ym)/2
    double xe;  ///< abscissa of the extreme, -b/(2a) (follows the floating-point rules when a is 0)
    double ye;  ///< value at the extreme
    int roots;  ///< how many of the two roots lie in [-1, 1] (0 when the parabola has none)
    double z1;  ///< the first root; the second one's value when the first lies below -1
    double z2;  ///< the second root
};

/// Given:    ym, y0, yp   double   samples at -1, 0 and +1
/// Returned:              ThreePoint
/// Notes:    with discriminant b^2 - 4*a*y0 > 0 the roots are xe -/+ sqrt(dis)/2/|a|;
///           otherwise roots, z1 and z2 are 0.
ThreePoint through(double ym, double y0, double yp);

}  // namespace tarvo::parabola
