#include "tarvo/platform/Date.h"

#include <chrono>
#include <cmath>

#include <fmt/chrono.h>
#include <fmt/format.h>

namespace tarvo {

Date Date::now() {
    using namespace std::chrono;
    return Date(duration<double>(system_clock::now().time_since_epoch()).count());
}

std::string Date::description() const {
    using namespace std::chrono;
    if (!std::isfinite(seconds_)) return "(invalid date)";
    const sys_seconds s{seconds(static_cast<long long>(std::floor(seconds_)))};
    return fmt::format("{:%Y-%m-%d %H:%M:%S} +0000", s);
}

}  // namespace tarvo
