#pragma once

#include <memory>
#include <string>

#include "tarvo/Export.h"
#include "tarvo/cities/CalculationChoices.h"

namespace tarvo {

class TarvoCity;

/// A place a user or a host describes field by field: name, country, state, position, time
/// zone and calculation choices.
struct TARVO_EXPORT CityFields {
    std::string name;
    std::string country;
    std::string state;
    double latitude = 0;
    double longitude = 0;
    std::string timeZone;
    CalculationChoices calculation;

    /// A city with these fields (the offset from the zone unless a fixed one was chosen;
    /// angles left unchosen keep the method's own), filled silently: it describes a place,
    /// not an edit of the automatic city, so nothing is mirrored into the automatic-city
    /// preferences. The fields are taken as they are; check them first (RequestChecks).
    std::shared_ptr<TarvoCity> makeCity() const;
};

}  // namespace tarvo
