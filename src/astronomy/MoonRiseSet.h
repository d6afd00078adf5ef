#pragma once

#include "astronomy/Observer.h"
#include "tarvo/astronomy/SunCalculator.h"

namespace tarvo {

/// Moonrise and moonset as they happen: the moon's place is recomputed for every moment the
/// search looks at and seen from the site (parallax included), and an event is the moment
/// when the upper limb touches the horizon lowered by the standard refraction of 34'.
///
/// The search samples the height every hour, finds crossings with a parabola through three
/// samples two hours wide (Montenbruck and Pfleger's scheme), and refines each crossing on
/// the real height by the secant method to under a second.
class MoonRiseSet {
public:
    MoonRiseSet(double latitude, double longitude);

    /// The events in [from, to), in time order.
    SunCalculator::MoonDay events(Date from, Date to) const;
    /// Degrees by which the upper limb stands above the refracted horizon (negative below).
    double heightAboveHorizon(Date moment) const;

private:
    Date refine(Date estimate) const;

    Observer observer_;
};

}  // namespace tarvo
