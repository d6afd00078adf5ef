#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tarvo/Export.h"

namespace tarvo {

/// One of JAKIM's e-Solat prayer-time zones of Malaysia. JAKIM publishes one timetable per
/// zone, not per position; computing the zone's times at its reference point with the jakim
/// method gives the times its mosques follow. The zones are data (data/zones/jakim_zones.csv)
/// compiled into the library.
class TARVO_EXPORT PrayerZone {
public:
    /// Where the reference point's position comes from.
    enum class PositionSource {
        Directory,    ///< the principal town's GeoNames position, as the city directory holds it
        Approximate,  ///< a town or landmark the directory lacks, read off a map to about 0.01 degree
        None,         ///< no position known: the zone is listed but cannot be computed
    };

    /// "WLY01"
    std::string code;
    /// "Wilayah Persekutuan"
    std::string state;
    /// The districts e-Solat lists for the zone, in its order.
    std::vector<std::string> districts;
    /// The place taken as the reference point ("Kuala Lumpur").
    std::string reference;
    double latitude = 0;
    double longitude = 0;
    PositionSource source = PositionSource::None;

    /// The zones' clock: every zone keeps Malaysian time.
    static constexpr std::string_view kTimeZone = "Asia/Kuala_Lumpur";
    /// The calculation method of the zones' timetables (its key in CalculationMethod).
    static constexpr std::string_view kMethodKey = "jakim";

    bool hasReferencePoint() const { return source != PositionSource::None; }
    /// "Kuala Lumpur, Putrajaya"
    std::string districtList() const;

    /// Whether a zone as a user types it asks for the zone of a position: "auto" in any letter case.
    static bool meansAutomatic(std::string_view text);

    /// Every zone, in code order.
    static const std::vector<PrayerZone>& all();
    /// The zone with this code, in any letter case and with surrounding spaces; nullptr when
    /// there is none.
    static const PrayerZone* withCode(std::string_view code);
    /// The `count` codes nearest to a mistyped one (fewest single-character edits first,
    /// then code order), for a message that suggests them.
    static std::vector<std::string> closestCodes(std::string_view code, size_t count = 3);
    /// The zone whose reference point is nearest the position (great-circle distance); nullptr
    /// only when no zone has one. It does not check that the position is in Malaysia.
    static const PrayerZone* nearest(double latitude, double longitude);
};

}  // namespace tarvo
