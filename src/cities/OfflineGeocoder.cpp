#include "tarvo/cities/OfflineGeocoder.h"

#include <fmt/format.h>

#include "tarvo/cities/CityDirectory.h"
#include "tarvo/cities/TarvoCity.h"

namespace tarvo {

OfflineGeocoder::OfflineGeocoder(std::shared_ptr<CityDirectory> directory) : directory_(std::move(directory)) {}

Geocoder::Places OfflineGeocoder::reverseGeocode(double latitude, double longitude) {
    if (!directory_) return Error{"no city directory"};
    std::vector<Place> places;
    const auto city = directory_->nearestCity(latitude, longitude, kThresholdKm);
    if (!city) return places;
    Place place;
    place.locality = city->cityName().value_or("");
    place.administrativeArea = directory_->stateName(*city);
    place.country = city->countryName().value_or("");
    place.formattedAddress = place.administrativeArea.empty()
                                 ? fmt::format("{}, {}", place.locality, place.country)
                                 : fmt::format("{}, {}, {}", place.locality, place.administrativeArea, place.country);
    places.push_back(std::move(place));
    return places;
}

}  // namespace tarvo
