#pragma once

#include <memory>

#include "tarvo/Export.h"
#include "tarvo/calculation/PrayerZone.h"
#include "tarvo/platform/Result.h"

namespace tarvo {

class CityDirectory;
class TarvoCity;

/// Finds the JAKIM zone of a position in Malaysia. The zones cover Malaysia only, so the
/// position must first be shown to be there: the nearest town of the city directory (within
/// kSearchKm) must be Malaysian, and the position not on Singapore island (the directory holds
/// no Singapore town, so the island is told apart by its outline's box). Among the zones, the one whose reference point is nearest
/// is taken: zone borders follow districts, which the library does not hold, so a position
/// near a border may be given the neighbouring zone.
class TARVO_EXPORT PrayerZoneLocator {
public:
    /// How far from the position a directory town may be to tell its country.
    static constexpr double kSearchKm = 150;

    /// The zone, or an error saying why there is none (not in Malaysia, no directory town
    /// near enough, the directory unusable).
    static Result<const PrayerZone*> zoneAt(CityDirectory& directory, double latitude, double longitude);

    /// The place a zone's timetable is computed for: its reference point, Malaysian time, the
    /// jakim method, named "WLY01 Kuala Lumpur" (code and reference), country Malaysia (so the
    /// automatic Asr school is Shafi, as e-Solat's Asar). Nothing for a zone without a point.
    static std::shared_ptr<TarvoCity> cityFor(const PrayerZone& zone);
};

}  // namespace tarvo
