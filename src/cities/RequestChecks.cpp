#include "tarvo/cities/RequestChecks.h"

#include <chrono>
#include <cmath>

#include <fmt/format.h>

namespace tarvo {

std::optional<std::string> RequestChecks::positionProblem(double latitude, double longitude) {
    if (!std::isfinite(latitude) || latitude < -90 || latitude > 90) {
        return fmt::format("latitude {} is outside -90 to 90", latitude);
    }
    if (!std::isfinite(longitude) || longitude < -180 || longitude > 180) {
        return fmt::format("longitude {} is outside -180 to 180", longitude);
    }
    return std::nullopt;
}

std::optional<std::string> RequestChecks::dayProblem(int64_t year, int64_t month, int64_t day) {
    if (year < 1 || year > 9999) return fmt::format("year {} is outside 1 to 9999", year);
    if (month < 1 || month > 12) return fmt::format("{:04} has no month {:02}", year, month);
    using namespace std::chrono;
    const auto y = std::chrono::year(static_cast<int>(year));
    const auto m = std::chrono::month(static_cast<unsigned>(month));
    if (year_month_day{y, m, std::chrono::day(static_cast<unsigned>(day < 1 || day > 31 ? 0 : day))}.ok()) {
        return std::nullopt;
    }
    const auto length = static_cast<unsigned>((y / m / last).day());
    return fmt::format("{:04}-{:02}-{:02} does not exist ({:04}-{:02} has {} days)", year, month, day, year, month,
                       length);
}

}  // namespace tarvo
