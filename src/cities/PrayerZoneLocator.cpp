// PrayerZoneLocator: the JAKIM zone of a position, once the directory shows it is in Malaysia.
#include "tarvo/cities/PrayerZoneLocator.h"

#include <fmt/format.h>

#include "tarvo/calculation/CalculationMethod.h"
#include "tarvo/cities/CityDirectory.h"
#include "tarvo/cities/TarvoCity.h"

namespace tarvo {

namespace {

// The directory, built from Debian's GeoNames data, holds no town of Singapore, whose nearest
// directory town is then Johor Bahru across the strait. The island is told apart by its box:
// south of the Johor Strait (Woodlands' shore at about 1.445 N, Johor Bahru's centre at
// 1.4655 N) and between Tuas and Pulau Tekong, east of Johor's Tanjung Piai and west of
// Pengerang.
bool inSingapore(double latitude, double longitude) {
    return latitude > 1.15 && latitude < 1.445 && longitude > 103.6 && longitude < 104.065;
}

}  // namespace

Result<const PrayerZone*> PrayerZoneLocator::zoneAt(CityDirectory& directory, double latitude, double longitude) {
    const auto where = fmt::format("{:.4f}, {:.4f}", latitude, longitude);
    if (inSingapore(latitude, longitude)) {
        return Error{fmt::format("{} is in Singapore: JAKIM's zones cover Malaysia only", where)};
    }
    auto town = directory.nearest(latitude, longitude, kSearchKm);
    if (!town) return Error{"cannot use the city directory: " + town.error().message};
    if (!*town) {
        return Error{fmt::format("no town of the city directory lies within {:.0f} km of {}, so it cannot be told "
                                 "whether the position is in Malaysia; give the zone's code",
                                 kSearchKm, where)};
    }
    const std::string country = (*town)->countryName().value_or("");
    if (country != "Malaysia") {
        return Error{fmt::format("{} is nearest to {}, {}: JAKIM's zones cover Malaysia only", where,
                                 (*town)->cityName().value_or("?"), country.empty() ? "no country" : country)};
    }
    const PrayerZone* zone = PrayerZone::nearest(latitude, longitude);
    if (!zone) return Error{"no JAKIM zone has a reference point"};
    return zone;
}

std::shared_ptr<TarvoCity> PrayerZoneLocator::cityFor(const PrayerZone& zone) {
    if (!zone.hasReferencePoint()) return nullptr;
    auto city = std::make_shared<TarvoCity>();
    city->setIsLoadingFromDB(true);
    city->setCityName(zone.code + " " + zone.reference);
    city->setCountryName(std::string("Malaysia"));
    city->setStateName(zone.state);
    city->setLatitude(zone.latitude);
    city->setLongitude(zone.longitude);
    city->setTimeZone(std::string(PrayerZone::kTimeZone));
    city->setGMT(TarvoCity::kGMTFromTimeZone);
    city->setPrayerMethod(CalculationMethod::numberForName(PrayerZone::kMethodKey).value_or(0));
    city->setIsLoadingFromDB(false);
    return city;
}

}  // namespace tarvo
