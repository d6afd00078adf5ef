#pragma once

#include <cstdint>

namespace tarvo {

/// From the moment `at` on (seconds since 1970, UTC), a zone's clocks run `offset` seconds
/// ahead of UTC (east positive), `dst` of which are summer time (0 in standard time).
struct ZoneTransition {
    int64_t at = 0;
    int32_t offset = 0;
    int32_t dst = 0;
};

}  // namespace tarvo
