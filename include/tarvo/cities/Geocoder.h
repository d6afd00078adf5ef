#pragma once

#include <string>
#include <vector>

#include "tarvo/platform/Result.h"
#include "tarvo/Export.h"

namespace tarvo {

/// Names a position: the reverse geocoders the location update asks when the directory and
/// the cache know no place there (WebGeocoder first, OfflineGeocoder as the fall-back).
///
/// reverseGeocode blocks until it has an answer (callers run it on a background queue) and
/// may be called from several threads at once. It never throws: a failure is an answer
/// holding the Error.
class TARVO_EXPORT Geocoder {
public:
    /// One named place, as the location update reads it.
    struct Place {
        std::string locality;            ///< city, town, village or hamlet ("" when unknown)
        std::string administrativeArea;  ///< state or region
        std::string country;
        std::string formattedAddress;  ///< the whole address on one line, for the log
    };

    /// The places found, best first (none when the service answered and knows nothing
    /// there), or the Error saying why there is no answer.
    using Places = Result<std::vector<Place>>;

    virtual ~Geocoder() = default;
    virtual Places reverseGeocode(double latitude, double longitude) = 0;
};

}  // namespace tarvo
