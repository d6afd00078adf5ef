// PrayerZone: JAKIM's e-Solat zones, read once from the zone list compiled into the library.
//
//   Given:    a zone code as a user types it, or a position.
//   Returned: the zone (code, state, districts, reference point), or the closest codes.
//   Notes:    the list is data/zones/jakim_zones.csv; a malformed row is a build-time fault,
//             caught by the tests, and is skipped here rather than stopping the library.
#include "tarvo/calculation/PrayerZone.h"

#include <algorithm>
#include <limits>
#include <sstream>

#include "tarvo/platform/EditDistance.h"
#include "platform/host/LogMacros.h"
#include "platform/text/Text.h"
#include "tarvo/astronomy/QiblaCalculator.h"

namespace tarvo::generated {
extern const char* const kJakimZonesCsv;
}

namespace tarvo {

namespace {

std::vector<std::string> split(const std::string& text, char separator) {
    std::vector<std::string> out;
    std::stringstream in(text);
    for (std::string field; std::getline(in, field, separator);) out.push_back(text::trimmed(field));
    if (!text.empty() && text.back() == separator) out.emplace_back();
    return out;
}

std::optional<PrayerZone> zoneFromRow(const std::vector<std::string>& f) {
    if (f.size() != 7 || f[0].size() != 5) return std::nullopt;
    PrayerZone zone;
    zone.code = f[0];
    zone.state = f[1];
    zone.districts = split(f[2], ';');
    zone.reference = f[3];
    if (f[6] == "none") return zone;
    zone.source = f[6] == "directory" ? PrayerZone::PositionSource::Directory : PrayerZone::PositionSource::Approximate;
    if (f[6] != "directory" && f[6] != "approximate") return std::nullopt;
    try {
        zone.latitude = std::stod(f[4]);
        zone.longitude = std::stod(f[5]);
    } catch (const std::exception&) {
        return std::nullopt;
    }
    return zone;
}

std::vector<PrayerZone> readZones() {
    std::vector<PrayerZone> zones;
    std::stringstream in(generated::kJakimZonesCsv);
    bool header = true;
    for (std::string line; std::getline(in, line);) {
        if (line.empty() || line[0] == '#') continue;
        if (header) {  // the column names
            header = false;
            continue;
        }
        if (auto zone = zoneFromRow(split(line, ','))) {
            zones.push_back(std::move(*zone));
        } else {
            TARVO_LOG_ERROR("PrayerZone: skipping a malformed zone row: {}", line);
        }
    }
    std::sort(zones.begin(), zones.end(), [](const auto& a, const auto& b) { return a.code < b.code; });
    return zones;
}

using text::editDistance;

}  // namespace

std::string PrayerZone::districtList() const {
    std::string out;
    for (const auto& d : districts) out += (out.empty() ? "" : ", ") + d;
    return out;
}

bool PrayerZone::meansAutomatic(std::string_view text) { return text::lowercased(text::trimmed(text)) == "auto"; }

const std::vector<PrayerZone>& PrayerZone::all() {
    static const std::vector<PrayerZone> zones = readZones();
    return zones;
}

const PrayerZone* PrayerZone::withCode(std::string_view code) {
    const std::string wanted = text::lowercased(text::trimmed(code));
    for (const auto& zone : all()) {
        if (text::lowercased(zone.code) == wanted) return &zone;
    }
    return nullptr;
}

std::vector<std::string> PrayerZone::closestCodes(std::string_view code, size_t count) {
    const std::string wanted = text::lowercased(text::trimmed(code));
    std::vector<std::pair<size_t, std::string>> ranked;
    for (const auto& zone : all()) ranked.emplace_back(editDistance(wanted, text::lowercased(zone.code)), zone.code);
    std::stable_sort(ranked.begin(), ranked.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
    std::vector<std::string> out;
    for (size_t i = 0; i < ranked.size() && i < count; ++i) out.push_back(ranked[i].second);
    return out;
}

const PrayerZone* PrayerZone::nearest(double latitude, double longitude) {
    const PrayerZone* best = nullptr;
    double bestDistance = std::numeric_limits<double>::infinity();
    for (const auto& zone : all()) {
        if (!zone.hasReferencePoint()) continue;
        const double d =
            QiblaCalculator::getDistanceBetweenTwoLocations(latitude, longitude, zone.latitude, zone.longitude, false);
        if (d < bestDistance) {
            bestDistance = d;
            best = &zone;
        }
    }
    return best;
}

}  // namespace tarvo
