#pragma once

#include <memory>
#include <optional>
#include <string>

#include <CLI/CLI.hpp>

#include "Options.h"
#include "tarvo/cities/CityFields.h"
#include "tarvo/cities/PlaceResolver.h"
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
    std::optional<std::string> place;        ///< the positional PLACE
    std::optional<std::string> placeOption;  ///< --place
    double latitude = 0;
    double longitude = 0;
    std::string timeZone;
    CalculationOptions calculation;
    std::optional<std::string> city;
    std::optional<std::string> country;
    std::optional<std::string> zone;  ///< --zone: a JAKIM zone code, or "auto" for the position's
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
using CityFields = tarvo::CityFields;

/// A place the user named (PLACE or --place, narrowed by --country), resolved in the city
/// directory. When the name fits several cities, the one chosen and the others are named on
/// standard error. A name the directory does not know fails (exit status 1) with the closest
/// names; an unusable directory is a usage error.
ResolvedPlace namedPlace(const std::string& name, const std::optional<std::string>& country);
/// The positional PLACE and --place of a command.
void addPlaceNameOptions(CLI::App& command, std::optional<std::string>& place, std::optional<std::string>& placeOption);
/// The place name given as PLACE or --place (a usage error when both are given).
std::optional<std::string> placeName(const std::optional<std::string>& place,
                                     const std::optional<std::string>& placeOption);

/// The position of the commands that need only a place's position (and zone): a named place
/// or --lat and --lon (and --tz).
struct PositionOptions {
    std::optional<std::string> place;
    std::optional<std::string> placeOption;
    std::optional<std::string> country;
    double latitude = 0;
    double longitude = 0;
    std::string timeZone;
};
/// Adds PLACE, --place, --country, --lat, --lon and, when `zoneHelp` is not empty, --tz.
void addPositionOptions(CLI::App& command, PositionOptions& options, const std::string& zoneHelp = "");
/// Fills the position (and zone) from the named place where the options do not give them;
/// without a place, --lat and --lon (and --tz) are required. Answers whether any was given.
bool resolvePosition(const CLI::App& command, PositionOptions& options);

/// Adds PLACE, --place, --saved, --lat, --lon, --tz (described by `zoneHelp`), the calculation
/// options, --city, --country and the custom angles.
void addPlaceOptions(CLI::App& command, PlaceOptions& options,
                     const std::string& zoneHelp = "Time zone of the place, e.g. Asia/Riyadh (the run uses its clock)");
/// Checks the combination (one line and exit status 2 when it is wrong) and builds the city:
/// the named place (its position and zone unless --lat, --lon or --tz say otherwise), or the
/// one at --lat/--lon/--tz, or the selected saved city (with --saved, and when no place is
/// given at all: then calculation options given override its own).
std::shared_ptr<TarvoCity> placeCity(const CLI::App& command, const PlaceOptions& options);
/// Checks the combination (one line and exit status 2 when it is wrong), registers the host
/// defaults, builds the city and makes its zone the device's zone.
Place resolvePlace(const CLI::App& command, const PlaceOptions& options);
/// Whether the options lead to the selected saved city (--saved, or no place given).
bool usesSavedCity(const CLI::App& command, const PlaceOptions& options);

}  // namespace tarvo::cli
