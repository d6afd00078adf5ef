// tarvo dish: pointing a dish at a geostationary satellite, or finding the satellite that
// lies along the sun's or the moon's azimuth (to align a dish by the sun or the moon).
#include <cmath>
#include <iostream>
#include <memory>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "Commands.h"
#include "Options.h"
#include "Output.h"
#include "tarvo/astronomy/SunCalculator.h"
#include "tarvo/platform/TimeZone.h"

namespace tarvo::cli {

namespace {

using ordered_json = nlohmann::ordered_json;

struct DishOptions {
    double latitude = 0;
    double longitude = 0;
    std::optional<double> satelliteLongitude;
    std::optional<std::string> along;
    double height = 0;
    std::string at;
    bool json = false;
};

ordered_json number(double value) { return std::isfinite(value) ? ordered_json(value) : ordered_json(nullptr); }

void pointAt(const DishOptions& o, double satellite) {
    const double geometric = SunCalculator::Elevation2(satellite, o.latitude, o.longitude, o.height);
    const double elevation = SunCalculator::ElevationRefraction(geometric);
    const double azimuth = SunCalculator::satelliteAzimuth(satellite, o.latitude, o.longitude);
    if (o.json) {
        ordered_json j;
        j["satelliteLongitude"] = satellite;
        j["elevation"] = elevation;
        j["geometricElevation"] = geometric;
        j["azimuth"] = azimuth;
        j["visible"] = geometric > 0;
        std::cout << j.dump() << "\n";
        return;
    }
    std::cout << fmt::format("Satellite at {:.2f}° from {:.4f}, {:.4f} ({:.0f} m)\n", satellite, o.latitude,
                             o.longitude, o.height)
              << fmt::format("  Elevation  {:.2f}° (with refraction; {:.2f}° geometric)\n", elevation, geometric)
              << fmt::format("  Azimuth    {:.2f}° from true north\n", azimuth);
    if (geometric <= 0) std::cout << "  The satellite is below the horizon.\n";
}

void alongBody(const DishOptions& o) {
    const Date moment = momentOrNow(o.at, "--at");
    SunCalculator calculator;
    calculator.calculateSunAndMoonAngles(moment, o.latitude, o.longitude);
    const bool sun = *o.along == "sun";
    const std::vector<double>& angles = sun ? calculator.output_sun_angles() : calculator.output_moon_angles();
    const double azimuth = angles[1];
    const double satellite = calculator.getsatelliteposition(azimuth);
    const std::string when = clockTime(moment, TimeZone::gmt()).iso;
    if (o.json) {
        ordered_json j;
        j["at"] = when;
        j["along"] = *o.along;
        j["azimuth"] = azimuth;
        j["altitude"] = angles[0];
        j["satelliteLongitude"] = number(satellite);
        j["satelliteElevation"] = std::isfinite(satellite)
                                      ? number(SunCalculator::ElevationRefraction(SunCalculator::Elevation2(
                                            satellite, o.latitude, o.longitude, o.height)))
                                      : ordered_json(nullptr);
        std::cout << j.dump() << "\n";
        return;
    }
    std::cout << fmt::format("The {} at {} (UTC) from {:.4f}, {:.4f}: azimuth {:.2f}°, altitude {:.2f}°\n",
                             *o.along, when, o.latitude, o.longitude, azimuth, angles[0]);
    if (!std::isfinite(satellite)) {
        std::cout << "  No geostationary satellite is above the horizon along that azimuth.\n";
        return;
    }
    const double elevation =
        SunCalculator::ElevationRefraction(SunCalculator::Elevation2(satellite, o.latitude, o.longitude, o.height));
    std::cout << fmt::format("  Satellite along it: {:.2f}° (elevation {:.2f}°)\n", satellite, elevation);
}

}  // namespace

void registerDishCommand(CLI::App& app) {
    auto options = std::make_shared<DishOptions>();
    CLI::App* cmd = app.add_subcommand("dish", "Point a dish at a geostationary satellite, or find the satellite "
                                               "along the sun's or the moon's azimuth");
    addLatitudeOption(*cmd, options->latitude, true);
    addLongitudeOption(*cmd, options->longitude, true);
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
    cmd->callback([options] {
        if (!options->satelliteLongitude && !options->along) throw UsageError("give --sat-lon or --along");
        if (options->satelliteLongitude) {
            pointAt(*options, *options->satelliteLongitude);
        } else {
            alongBody(*options);
        }
    });
}

}  // namespace tarvo::cli
