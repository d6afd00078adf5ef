#include "tarvo/platform/Date.h"

#include "tarvo/platform/Clock.h"

#include <chrono>
#include <cmath>

#include <fmt/chrono.h>
#include <fmt/format.h>

namespace tarvo {

// Every reading of "now" goes through the clock, so an installed source answers for it.
Date Date::now() { return Clock::now(); }

std::string Date::description() const {
    using namespace std::chrono;
    if (!std::isfinite(seconds_)) return "(invalid date)";
    const sys_seconds s{seconds(static_cast<long long>(std::floor(seconds_)))};
    return fmt::format("{:%Y-%m-%d %H:%M:%S} +0000", s);
}

}  // namespace tarvo
