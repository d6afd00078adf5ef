// tarvo qibla: direction of and distance to the Kaaba.
#include <memory>
#include <ostream>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "Commands.h"
#include "Options.h"
#include "Output.h"
#include "tarvo/astronomy/QiblaCalculator.h"

namespace tarvo::cli {

namespace {

struct QiblaOptions {
    double latitude = 0;
    double longitude = 0;
    bool json = false;
};

struct Qibla {
    int64_t bearing = 0;
    double nauticalMiles = 0;
    double statuteMiles = 0;
};

Qibla qiblaFrom(const QiblaOptions& o) {
    return {QiblaCalculator::getQiblaDirection(o.latitude, o.longitude),
            QiblaCalculator::CalcKabaDistance(o.latitude, o.longitude, false),
            QiblaCalculator::CalcKabaDistance(o.latitude, o.longitude, true)};
}

std::string jsonText(const Qibla& q) {
    nlohmann::ordered_json j;
    j["bearing"] = q.bearing;
    j["nauticalMiles"] = q.nauticalMiles;
    j["statuteMiles"] = q.statuteMiles;
    return dumpJson(j);
}

void writeText(std::ostream& out, const Qibla& q) {
    out << fmt::format("Qibla: {}° from true north\n", q.bearing)
        << fmt::format("Distance to the Kaaba: {:.0f} nautical miles ({:.0f} statute miles)\n", q.nauticalMiles,
                       q.statuteMiles);
}

}  // namespace

void registerQiblaCommand(CLI::App& app) {
    auto options = std::make_shared<QiblaOptions>();
    CLI::App* cmd = app.add_subcommand("qibla", "Show the direction of and distance to the Kaaba");
    addLatitudeOption(*cmd, options->latitude, true);
    addLongitudeOption(*cmd, options->longitude, true);
    cmd->add_flag("--json", options->json, "Print one JSON object instead of text");
    cmd->callback([options] { render(qiblaFrom(*options), options->json); });
}

}  // namespace tarvo::cli
