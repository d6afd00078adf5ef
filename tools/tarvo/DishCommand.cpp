// tarvo dish: pointing a dish at a geostationary satellite, or finding the satellite that
// lies along the sun's or the moon's azimuth (to align a dish by the sun or the moon).
#include <cmath>
#include <memory>
#include <optional>
#include <ostream>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "Commands.h"
#include "Options.h"
#include "Output.h"
#include "Place.h"
#include "tarvo/astronomy/SunCalculator.h"
#include "tarvo/platform/TimeZone.h"

namespace tarvo::cli {

namespace {

using ordered_json = nlohmann::ordered_json;

struct DishOptions {
    PositionOptions position;
    double latitude = 0;  ///< the position's, once resolved
    double longitude = 0;
    std::optional<double> satelliteLongitude;
    std::optional<std::string> along;
    double height = 0;
    std::string at;
    bool json = false;
};

// Where to point a dish at a given satellite.
struct Pointing {
    double latitude = 0;
    double longitude = 0;
    double height = 0;
    double satellite = 0;
    double elevation = 0;  ///< with refraction
    double geometricElevation = 0;
    double azimuth = 0;
};

// The satellite along the sun's or the moon's azimuth.
struct AlongBody {
    double latitude = 0;
    double longitude = 0;
    std::string at;  ///< the moment in ISO 8601, UTC
    std::string body;
    double azimuth = 0;
    double altitude = 0;
    double satellite = 0;                 ///< not finite when none is above the horizon
    std::optional<double> satelliteElevation;  ///< with refraction, when there is a satellite
};

double elevationWithRefraction(const DishOptions& o, double satellite) {
    return SunCalculator::ElevationRefraction(SunCalculator::Elevation2(satellite, o.latitude, o.longitude, o.height));
}

Pointing pointingAt(const DishOptions& o, double satellite) {
    Pointing p;
    p.latitude = o.latitude;
    p.longitude = o.longitude;
    p.height = o.height;
    p.satellite = satellite;
    p.geometricElevation = SunCalculator::Elevation2(satellite, o.latitude, o.longitude, o.height);
    p.elevation = SunCalculator::ElevationRefraction(p.geometricElevation);
    p.azimuth = SunCalculator::satelliteAzimuth(satellite, o.latitude, o.longitude);
    return p;
}

AlongBody alongBody(const DishOptions& o) {
    const Date moment = momentOrNow(o.at, "--at");
    SunCalculator calculator;
    calculator.calculateSunAndMoonAngles(moment, o.latitude, o.longitude);
    const std::vector<double>& angles =
        *o.along == "sun" ? calculator.output_sun_angles() : calculator.output_moon_angles();
    AlongBody a;
    a.latitude = o.latitude;
    a.longitude = o.longitude;
    a.at = clockTime(moment, TimeZone::gmt()).iso;
    a.body = *o.along;
    a.azimuth = angles[1];
    a.altitude = angles[0];
    a.satellite = calculator.getsatelliteposition(a.azimuth);
    if (std::isfinite(a.satellite)) a.satelliteElevation = elevationWithRefraction(o, a.satellite);
    return a;
}

ordered_json number(double value) { return std::isfinite(value) ? ordered_json(value) : ordered_json(nullptr); }

std::string jsonText(const Pointing& p) {
    ordered_json j;
    j["satelliteLongitude"] = p.satellite;
    j["elevation"] = p.elevation;
    j["geometricElevation"] = p.geometricElevation;
    j["azimuth"] = p.azimuth;
    j["visible"] = p.geometricElevation > 0;
    return dumpJson(j);
}

void writeText(std::ostream& out, const Pointing& p) {
    out << fmt::format("Satellite at {:.2f}° from {:.4f}, {:.4f} ({:.0f} m)\n", p.satellite, p.latitude, p.longitude,
                       p.height)
        << fmt::format("  Elevation  {:.2f}° (with refraction; {:.2f}° geometric)\n", p.elevation, p.geometricElevation)
        << fmt::format("  Azimuth    {:.2f}° from true north\n", p.azimuth);
    if (p.geometricElevation <= 0) out << "  The satellite is below the horizon.\n";
}

std::string jsonText(const AlongBody& a) {
    ordered_json j;
    j["at"] = a.at;
    j["along"] = a.body;
    j["azimuth"] = a.azimuth;
    j["altitude"] = a.altitude;
    j["satelliteLongitude"] = number(a.satellite);
    j["satelliteElevation"] = a.satelliteElevation ? number(*a.satelliteElevation) : ordered_json(nullptr);
    return dumpJson(j);
}

void writeText(std::ostream& out, const AlongBody& a) {
    out << fmt::format("The {} at {} (UTC) from {:.4f}, {:.4f}: azimuth {:.2f}°, altitude {:.2f}°\n", a.body, a.at,
                       a.latitude, a.longitude, a.azimuth, a.altitude);
    if (!a.satelliteElevation) {
        out << "  No geostationary satellite is above the horizon along that azimuth.\n";
        return;
    }
    out << fmt::format("  Satellite along it: {:.2f}° (elevation {:.2f}°)\n", a.satellite, *a.satelliteElevation);
}

}  // namespace

void registerDishCommand(CLI::App& app) {
    auto options = std::make_shared<DishOptions>();
    CLI::App* cmd = app.add_subcommand("dish", "Point a dish at a geostationary satellite, or find the satellite "
                                               "along the sun's or the moon's azimuth");
    addPositionOptions(*cmd, options->position);
    auto* sat = cmd->add_option("--sat-lon", options->satelliteLongitude,
                                "Longitude of the satellite in degrees, east positive")
                    ->check(numberBetween(-180, 180));
    auto* along = cmd->add_option("--along", options->along, "The satellite along this body's azimuth now (or --at)")
                      ->check(CLI::IsMember({"sun", "moon"}));
    sat->excludes(along);
    cmd->add_option("--height", options->height, "Height of the site above sea level in metres (default 0)")
        ->check(numberBetween(-500, 9000));
    cmd->add_option("--at", options->at, "With --along: moment as YYYY-MM-DDTHH:MM in the device's zone (TZ)");
    cmd->add_flag("--json", options->json, "Print one JSON object instead of text");
    cmd->footer("Give exactly one of --sat-lon and --along. A spherical Earth (6378.137 km) and the "
                "geostationary radius 42164.17 km; refraction by Saemundsson's formula.");
    cmd->callback([options, cmd] {
        if (!resolvePosition(*cmd, options->position)) throw UsageError("name a place, or give --lat and --lon");
        options->latitude = options->position.latitude;
        options->longitude = options->position.longitude;
        if (!options->satelliteLongitude && !options->along) throw UsageError("give --sat-lon or --along");
        if (options->satelliteLongitude) {
            render(pointingAt(*options, *options->satelliteLongitude), options->json);
        } else {
            render(alongBody(*options), options->json);
        }
    });
}

}  // namespace tarvo::cli
