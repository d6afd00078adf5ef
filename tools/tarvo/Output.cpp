// How the commands write their results: JSON, clock times and text safe for a terminal.
#include "Output.h"

#include <cmath>

#include <fmt/format.h>

#include "tarvo/platform/Bundle.h"
#include "tarvo/platform/Calendar.h"
#include "tarvo/platform/CleanText.h"
#include "tarvo/platform/TimeZone.h"

namespace tarvo::cli {

std::string dumpJson(const nlohmann::json& value) {
    return value.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

std::string dumpJson(const nlohmann::ordered_json& value) {
    return value.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace);
}

ClockTime clockTime(Date moment, const TimeZone& zone) {
    const Date minute(std::round(moment.timeIntervalSince1970() / 60.0) * 60.0);
    const DateComponents c = Calendar(zone).components(minute);
    ClockTime t;
    t.clock = fmt::format("{:02}:{:02}", c.hour, c.minute);
    t.iso = isoText(minute, zone, false);
    return t;
}

std::string isoText(Date moment, const TimeZone& zone, bool withSeconds) {
    const DateComponents c = Calendar(zone).components(moment);
    const std::string seconds = withSeconds ? fmt::format(":{:02}", c.second) : std::string();
    return fmt::format("{:04}-{:02}-{:02}T{:02}:{:02}{}{}", c.year, c.month, c.day, c.hour, c.minute, seconds,
                       offsetText(zone.secondsFromGMT(moment)));
}

std::string offsetText(int64_t seconds) {
    const int64_t minutes = (seconds < 0 ? -seconds : seconds) / 60;
    return fmt::format("{}{:02}:{:02}", seconds < 0 ? '-' : '+', minutes / 60, minutes % 60);
}

std::string printable(std::string_view stored) { return text::withoutControls(stored); }

void warn(const std::string& message) { std::cerr << "tarvo: warning: " << message << "\n"; }

std::string missingTimeText() { return Bundle::main().localizedString("\u2014"); }

}  // namespace tarvo::cli
