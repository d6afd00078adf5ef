// tarvo qibla: direction of and distance to the Kaaba.
#include <memory>
#include <optional>
#include <ostream>
#include <string>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "Commands.h"
#include "Options.h"
#include "OpenUserDatabase.h"
#include "Output.h"
#include "Place.h"
#include "tarvo/cities/TarvoCity.h"
#include "tarvo/cities/UserDatabase.h"
#include "tarvo/astronomy/QiblaCalculator.h"

namespace tarvo::cli {

namespace {

struct QiblaOptions {
    PositionOptions position;
    bool json = false;
};

struct Qibla {
    int64_t bearing = 0;
    double nauticalMiles = 0;
    double statuteMiles = 0;
};

Qibla qiblaFrom(const CLI::App& cmd, QiblaOptions& o) {
    PositionOptions& p = o.position;
    if (!resolvePosition(cmd, p)) {
        // No place: the selected saved city's.
        auto user = openUserDatabase();
        const auto city = TarvoCity::initWithCurrentSelectionUsingDB(*user);
        p.latitude = city->latitude();
        p.longitude = city->longitude();
    }
    return {QiblaCalculator::getQiblaDirection(p.latitude, p.longitude),
            QiblaCalculator::CalcKabaDistance(p.latitude, p.longitude, false),
            QiblaCalculator::CalcKabaDistance(p.latitude, p.longitude, true)};
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
    addPositionOptions(*cmd, options->position);
    cmd->add_flag("--json", options->json, "Print one JSON object instead of text");
    cmd->footer("Name a place (PLACE or --place) or give --lat and --lon; with neither, the selected saved city.");
    cmd->callback([options, cmd] { render(qiblaFrom(*cmd, *options), options->json); });
}

}  // namespace tarvo::cli
