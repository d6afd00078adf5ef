#pragma once

namespace tarvo {

/// Nutation and the obliquity of the ecliptic for a moment (Meeus, "Astronomical Algorithms",
/// chapter 22): the four-term short series, good to 0.5" in longitude and 0.1" in obliquity,
/// which is well inside what the sun and moon series themselves reach.
class Nutation {
public:
    /// `t`: Julian centuries of TT since J2000.
    explicit Nutation(double t);

    double longitude() const { return deltaPsi_; }          ///< nutation in longitude, degrees
    double obliquity() const { return deltaEpsilon_; }      ///< nutation in obliquity, degrees
    double meanObliquity() const { return epsilon0_; }      ///< degrees
    double trueObliquity() const { return epsilon0_ + deltaEpsilon_; }

private:
    double deltaPsi_;
    double deltaEpsilon_;
    double epsilon0_;
};

}  // namespace tarvo
