// tarvo sky: where the sun and the moon stand at a moment, seen from a place.
#include <cmath>
#include <memory>
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

struct SkyOptions {
    PositionOptions position;
    std::string at;
    bool json = false;
};

struct Sky {
    double latitude = 0;
    double longitude = 0;
    std::string at;  ///< the moment in ISO 8601, UTC
    SunCalculator::Position sun;
    SunCalculator::Position moon;
};

Sky skyFrom(const CLI::App& cmd, SkyOptions& options) {
    if (!resolvePosition(cmd, options.position)) throw UsageError("name a place, or give --lat and --lon");
    const PositionOptions& o = options.position;
    const Date moment = momentOrNow(options.at, "--at");
    return {o.latitude, o.longitude, clockTime(moment, TimeZone::gmt()).iso,
            SunCalculator::sunPosition(moment, o.latitude, o.longitude),
            SunCalculator::moonPosition(moment, o.latitude, o.longitude)};
}

ordered_json bodyJson(const SunCalculator::Position& p) {
    ordered_json j;
    j["altitude"] = p.altitude;
    j["azimuth"] = p.azimuth;
    j["rightAscension"] = p.rightAscension;
    j["declination"] = p.declination;
    j["distanceKm"] = std::round(p.distanceKm);
    return j;
}

std::string jsonText(const Sky& sky) {
    ordered_json j;
    j["at"] = sky.at;
    j["sun"] = bodyJson(sky.sun);
    j["moon"] = bodyJson(sky.moon);
    return dumpJson(j);
}

// Right ascension as hours, minutes and seconds.
std::string hms(double degrees) {
    const double seconds = std::round(degrees / 15.0 * 3600.0);
    const auto total = static_cast<int64_t>(seconds) % 86400;
    return fmt::format("{:02}h{:02}m{:02}s", total / 3600, total / 60 % 60, total % 60);
}

std::string bodyLine(const char* name, const SunCalculator::Position& p) {
    return fmt::format("  {:<5} {:>9.3f}° {:>9.3f}°  {} ({:7.3f}°) {:>+9.3f}°\n", name, p.altitude, p.azimuth,
                       hms(p.rightAscension), p.rightAscension, p.declination);
}

void writeText(std::ostream& out, const Sky& sky) {
    out << fmt::format("The sky at {:.4f}, {:.4f} on {} (UTC)\n\n", sky.latitude, sky.longitude, sky.at);
    out << fmt::format("  {:<5} {:>10} {:>10}  {:<22} {:>10}\n", "", "altitude", "azimuth", "right ascension",
                       "declination");
    out << bodyLine("Sun", sky.sun) << bodyLine("Moon", sky.moon);
    out << "\nAltitude without refraction, seen from the place; azimuth from north through east; right\n"
           "ascension and declination apparent, of date, from the Earth's centre.\n";
}

}  // namespace

void registerSkyCommand(CLI::App& app) {
    auto options = std::make_shared<SkyOptions>();
    CLI::App* cmd = app.add_subcommand("sky", "Show the sun's and the moon's position at a moment");
    addPositionOptions(*cmd, options->position);
    cmd->add_option("--at", options->at, "Moment as YYYY-MM-DDTHH:MM in the device's zone (TZ) (default: now)");
    cmd->add_flag("--json", options->json, "Print one JSON object instead of text");
    cmd->callback([options, cmd] { render(skyFrom(*cmd, *options), options->json); });
}

}  // namespace tarvo::cli
