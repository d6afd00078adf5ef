#pragma once

#include <memory>

#include "tarvo/Export.h"
#include "tarvo/cities/Geocoder.h"

namespace tarvo {

class CityDirectory;

/// The geocoder that needs no network: the nearest city of the directory within 100 km, as
/// one place (locality = city, administrative area = its state, country), else no places.
class TARVO_EXPORT OfflineGeocoder : public Geocoder {
public:
    /// How far a directory city may be from the position and still name it, in km.
    static constexpr double kThresholdKm = 100.0;

    /// Without a directory every answer is an error.
    explicit OfflineGeocoder(std::shared_ptr<CityDirectory> directory);

    Places reverseGeocode(double latitude, double longitude) override;

private:
    std::shared_ptr<CityDirectory> directory_;
};

}  // namespace tarvo
