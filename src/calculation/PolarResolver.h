#pragma once

#include <optional>
#include <vector>

#include "calculation/DayEngine.h"

namespace tarvo {

/// Fills the times a polar day or night leaves missing, by the day's PolarResolution.
///
///   Given:    the day's ten times as the pipeline has them after the high-latitude repair
///             (local clock hours, NaN where the sun gives no moment), and the engine
///             that computed them, for the day and place.
///   Returned: the same times with every NaN entry filled, or unchanged when the resolution
///             is None or no day or latitude with a sunrise and a sunset is found.
///   Notes:    the filling days and latitudes are computed with the engine's inputs, its
///             automatic choices (method, high-latitude rule) fixed as the place resolved
///             them, up to the same step of the pipeline, so the minute rules, Dhuhr minutes
///             and Qiyam that follow apply to the filled times as to any other.
class PolarResolver {
public:
    explicit PolarResolver(const DayEngine& engine);

    void fill(std::vector<double>& times);

private:
    /// The times, through the high-latitude repair, on `date` at the place (or at `latitude`
    /// on its longitude).
    std::vector<double> timesOn(Date date, std::optional<double> latitude = std::nullopt);
    static bool complete(const std::vector<double>& times);
    /// The stage times of the nearest date to `date` with a sunrise and a sunset (the earlier
    /// of two equally near), or nothing within half a year.
    std::optional<std::vector<double>> nearestDay(Date date);
    /// The stage times of `date` at the nearest latitude toward the equator with a sunrise and
    /// a sunset, found by bisection.
    std::optional<std::vector<double>> nearestLatitude(Date date);
    std::optional<std::vector<double>> sourceFor(Date date);
    /// `times` (the stage times of a day) with what is missing taken from `from`: as clock
    /// times, or kept at their distance from noon.
    std::vector<double> filledFrom(const std::vector<double>& times, const std::vector<double>& from,
                                   bool keepDistanceFromNoon);
    /// The day's stage times made whole, or nothing when no source is found.
    std::optional<std::vector<double>> filledDay(const std::vector<double>& times, Date date);
    /// Fajr <= sunrise <= Dhuhr <= Asr <= sunset <= Isha <= tomorrow's Fajr <= tomorrow's
    /// sunrise, where the method measures them by angle.
    bool inDayOrder(const std::vector<double>& times) const;

    const DayEngine& engine_;
    /// The engine's method with its automatic choices fixed, and no polar resolution.
    MethodParameters probeMethod_;
};

}  // namespace tarvo
