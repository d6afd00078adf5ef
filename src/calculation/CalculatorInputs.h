#pragma once

#include <optional>
#include <string>

#include "calculation/DayEngine.h"
#include "tarvo/calculation/PrayerCalculator.h"

namespace tarvo {

/// A calculator's settings as the day engine's inputs: the method parameters its setters
/// gathered and the place of a request, with the engine over them for the day it was last
/// asked about.
///
///   Given:    a calculator (and, for forRequest, the place a request names).
///   Returned: the inputs by value; the engine reads them and the calculator's calendar,
///             so the calculator must outlive it.
struct CalculatorInputs {
    /// The calculator's settings and the place and day of its last computation.
    explicit CalculatorInputs(const PrayerCalculator& calculator);
    /// The calculator's settings and the place a request names (the zone looked up by name,
    /// GMT when unknown), for a day yet to be asked.
    CalculatorInputs(const PrayerCalculator& calculator, const std::optional<std::string>& cityName,
                     const std::optional<std::string>& countryName, double latitude, double longitude,
                     const std::optional<std::string>& timeZoneName);

    // The engine refers to the two members above: a copy would refer to the original's.
    CalculatorInputs(const CalculatorInputs&) = delete;
    CalculatorInputs& operator=(const CalculatorInputs&) = delete;

    MethodParameters method;
    Place place;
    DayEngine engine;
};

}  // namespace tarvo
