// tarvo zones: JAKIM's e-Solat prayer-time zones with their districts and the reference point
// each zone's timetable is computed at (--zone CODE in times, day, now and month).
#include <iostream>
#include <memory>
#include <string>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "Commands.h"
#include "Output.h"
#include "tarvo/calculation/PrayerZone.h"

namespace tarvo::cli {

namespace {

using nlohmann::ordered_json;

const char* sourceName(PrayerZone::PositionSource s) {
    switch (s) {
        case PrayerZone::PositionSource::Directory: return "directory";
        case PrayerZone::PositionSource::Approximate: return "approximate";
        default: return "none";
    }
}

struct ZoneList {
    const std::vector<PrayerZone>& zones;
};

std::string jsonText(const ZoneList& list) {
    ordered_json out = ordered_json::array();
    for (const auto& z : list.zones) {
        out.push_back(ordered_json{{"code", z.code},
                                   {"state", z.state},
                                   {"districts", z.districts},
                                   {"reference", z.reference},
                                   {"latitude", z.hasReferencePoint() ? ordered_json(z.latitude) : ordered_json(nullptr)},
                                   {"longitude", z.hasReferencePoint() ? ordered_json(z.longitude) : ordered_json(nullptr)},
                                   {"position", sourceName(z.source)}});
    }
    return dumpJson(out);
}

void writeText(std::ostream& out, const ZoneList& list) {
    for (const auto& z : list.zones) {
        const std::string point = z.hasReferencePoint()
                                      ? fmt::format("{} ({:.4f}, {:.4f}; {})", z.reference, z.latitude, z.longitude,
                                                    sourceName(z.source))
                                      : z.reference + " (no known position)";
        out << z.code << "  " << printable(z.state) << ": " << printable(z.districtList()) << "\n       at "
            << printable(point) << "\n";
    }
}

}  // namespace

void registerZonesCommand(CLI::App& app) {
    auto json = std::make_shared<bool>(false);
    CLI::App* cmd = app.add_subcommand("zones", "List JAKIM's e-Solat prayer-time zones of Malaysia");
    cmd->add_flag("--json", *json,
                  "Print one JSON array: code, state, districts, reference, latitude, longitude, position "
                  "(directory, approximate or none)");
    cmd->footer("Use a zone with --zone CODE in times, day, now and month, or --zone auto with --lat/--lon or a "
                "place to find it. The reference point is the zone's principal town: JAKIM publishes none "
                "(docs/methods.md).");
    cmd->callback([json] { render(ZoneList{PrayerZone::all()}, *json); });
}

}  // namespace tarvo::cli
