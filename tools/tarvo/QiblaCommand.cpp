// tarvo qibla: direction of and distance to the Kaaba.
#include <iostream>
#include <memory>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "Commands.h"
#include "Options.h"
#include "tarvo/astronomy/QiblaCalculator.h"

namespace tarvo::cli {

namespace {
struct QiblaOptions {
    double latitude = 0;
    double longitude = 0;
    bool json = false;
};

void run(const QiblaOptions& o) {
    const int64_t bearing = QiblaCalculator::getQiblaDirection(o.latitude, o.longitude);
    const double nautical = QiblaCalculator::CalcKabaDistance(o.latitude, o.longitude, false);
    const double statute = QiblaCalculator::CalcKabaDistance(o.latitude, o.longitude, true);
    if (o.json) {
        nlohmann::ordered_json j;
        j["bearing"] = bearing;
        j["nauticalMiles"] = nautical;
        j["statuteMiles"] = statute;
        std::cout << j.dump() << "\n";
        return;
    }
    std::cout << fmt::format("Qibla: {}° from true north\n", bearing)
              << fmt::format("Distance to the Kaaba: {:.0f} nautical miles ({:.0f} statute miles)\n", nautical,
                             statute);
}
}  // namespace

void registerQiblaCommand(CLI::App& app) {
    auto options = std::make_shared<QiblaOptions>();
    CLI::App* cmd = app.add_subcommand("qibla", "Show the direction of and distance to the Kaaba");
    addLatitudeOption(*cmd, options->latitude, true);
    addLongitudeOption(*cmd, options->longitude, true);
    cmd->add_flag("--json", options->json, "Print one JSON object instead of text");
    cmd->callback([options] { run(*options); });
}

}  // namespace tarvo::cli
