#pragma once

#include <memory>
#include <optional>
#include <string>

#include <CLI/CLI.hpp>

#include "Options.h"
#include "tarvo/platform/Date.h"
#include "tarvo/platform/TimeZone.h"

namespace tarvo {
class TarvoCity;
}

namespace tarvo::cli {

/// A place as the facade commands take it: the selected saved city (--saved), or a position
/// with its zone and calculation settings, made into a city the way the app keeps one.
struct PlaceOptions {
    bool saved = false;
    double latitude = 0;
    double longitude = 0;
    std::string timeZone;
    CalculationOptions calculation;
    std::optional<std::string> city;
    std::optional<std::string> country;
};

/// A resolved place: the city, and the zone that was made the device's zone for the run.
struct Place {
    std::shared_ptr<TarvoCity> city;
    TimeZone zone;

    /// "2024-03-15T05:01:00+03:00": the moment on the place's clock, to the second.
    std::string iso(Date moment) const;
    /// "05:01" on the place's clock.
    std::string clock(Date moment) const;
    /// "2024-03-15" on the place's clock.
    std::string day(Date moment) const;
    /// The same in the locale's digits, for text tables ("٢٠٢٤-٠٣-١٥" with Arabic digits), so
    /// that a line never mixes two digit systems.
    std::string dayText(Date moment) const;
    /// Noon of a YYYY-MM-DD date on the place's clock (today when empty).
    Date noonOf(const std::string& date, std::string_view option) const;
};

/// The fields of a city the user gives on the command line.
struct CityFields {
    std::string name;
    std::string country;
    std::string state;
    double latitude = 0;
    double longitude = 0;
    std::string timeZone;
    CalculationOptions calculation;
};
/// A city with those fields (offset from the zone unless --gmt was given), filled silently:
/// it describes a place the user named, not an edit of the automatic city, so nothing is
/// mirrored into the automatic-city preferences.
std::shared_ptr<TarvoCity> cityFromFields(const CityFields& fields);

/// Adds --saved, --lat, --lon, --tz (described by `zoneHelp`), the calculation options,
/// --city, --country and the custom angles.
void addPlaceOptions(CLI::App& command, PlaceOptions& options,
                     const std::string& zoneHelp = "Time zone of the place, e.g. Asia/Riyadh (the run uses its clock)");
/// Checks the combination (one line and exit status 2 when it is wrong) and builds the city:
/// the selected saved city with --saved, else one from the options.
std::shared_ptr<TarvoCity> placeCity(const CLI::App& command, const PlaceOptions& options);
/// Checks the combination (one line and exit status 2 when it is wrong), registers the host
/// defaults, builds the city and makes its zone the device's zone.
Place resolvePlace(const CLI::App& command, const PlaceOptions& options);

}  // namespace tarvo::cli
