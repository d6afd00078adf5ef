#pragma once

#include <optional>
#include <string>
#include <vector>

#include "tarvo/Export.h"

namespace tarvo {

/// Names a position: the reverse geocoders the location update asks when the directory and
/// the cache know no place there (WebGeocoder first, OfflineGeocoder as the fall-back).
///
/// reverseGeocode blocks until it has an answer (callers run it on a background queue) and
/// may be called from several threads at once. It never throws: a failure is an answer with
/// no places and an error text.
class TARVO_EXPORT Geocoder {
public:
    /// One named place, as the location update reads it.
    struct Place {
        std::string locality;            ///< city, town, village or hamlet ("" when unknown)
        std::string administrativeArea;  ///< state or region
        std::string country;
        std::string formattedAddress;  ///< the whole address on one line, for the log
    };

    /// The places found, best first, and why there are none when that is an error. No
    /// places and no error means the service answered and knows nothing there.
    struct Result {
        std::vector<Place> places;
        std::optional<std::string> error;
    };

    virtual ~Geocoder() = default;
    virtual Result reverseGeocode(double latitude, double longitude) = 0;
};

}  // namespace tarvo
