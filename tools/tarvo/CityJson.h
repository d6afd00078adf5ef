#pragma once

#include <nlohmann/json.hpp>

namespace tarvo {
class TarvoCity;
}

namespace tarvo::cli {

/// A city as a JSON object keyed by the city's field names.
nlohmann::ordered_json cityJson(const TarvoCity& city);

}  // namespace tarvo::cli
