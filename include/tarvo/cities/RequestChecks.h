#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "tarvo/Export.h"

namespace tarvo {

/// The checks of what a user or a host asks the library about, each answering the plain
/// reason a value is refused (nothing when it is fine), so that every front end says the
/// same words.
class TARVO_EXPORT RequestChecks {
public:
    /// A real position: finite, latitude -90 to 90, longitude -180 to 180
    /// ("latitude 91 is outside -90 to 90").
    static std::optional<std::string> positionProblem(double latitude, double longitude);
    /// A day of the years 1 to 9999 that exists ("2023-02-29 does not exist (2023-02 has
    /// 28 days)").
    static std::optional<std::string> dayProblem(int64_t year, int64_t month, int64_t day);
};

}  // namespace tarvo
