#pragma once

#include <cstdint>
#include <iostream>
#include <stdexcept>
#include <string>
#include <string_view>

#include <nlohmann/json.hpp>

#include "tarvo/platform/Date.h"

namespace tarvo {
class TimeZone;
}

namespace tarvo::cli {

/// Shows a command's result, computed in full beforehand, in the form the user asked for:
/// one line of JSON (`jsonText(result)`) or text for a person (`writeText(out, result)`),
/// both found beside the command's result type.
template <typename Result>
void render(const Result& result, bool json) {
    if (json) {
        std::cout << jsonText(result) << "\n";
    } else {
        writeText(std::cout, result);
    }
}

/// Shows the result, then fails (exit 1) with `failure` when it is not empty: a script
/// reading the JSON still gets a value ([] or null) when nothing was found.
template <typename Result>
void render(const Result& result, bool json, const std::string& failure) {
    render(result, json);
    if (!failure.empty()) throw std::runtime_error(failure);
}

/// JSON on one line; text that may hold bytes that are not UTF-8 (a stored name) is still
/// written, with replacement characters.
std::string dumpJson(const nlohmann::json& value);
std::string dumpJson(const nlohmann::ordered_json& value);

/// A moment rounded to the minute as a zone's clock shows it: "HH:MM" and ISO 8601 with the
/// zone's offset ("2019-01-21T18:40-05:00").
struct ClockTime {
    std::string clock;
    std::string iso;
};
ClockTime clockTime(Date moment, const TimeZone& zone);
/// An offset from UTC as ISO 8601 writes it: "+03:00", "-09:30".
std::string offsetText(int64_t seconds);
/// A moment as ISO 8601 writes it with the zone's offset: "2019-01-21T18:40:05-05:00", or
/// without the seconds "2019-01-21T18:40-05:00" (the seconds are then dropped, not rounded).
std::string isoText(Date moment, const TimeZone& zone, bool withSeconds);

/// Stored text as the tool shows it in plain output: without control characters (a name
/// holding an escape sequence could rewrite the terminal) or bidi overrides. JSON output
/// keeps the text as stored, escaped by the JSON rules.
std::string printable(std::string_view stored);

/// What text output shows for a time the day does not have (the sun does not rise, set or
/// reach the angle): "—", or the host's translation of it. Machine output writes null or an
/// empty field instead.
std::string missingTimeText();

/// A warning line on standard error ("tarvo: warning: ...").
void warn(const std::string& message);

}  // namespace tarvo::cli
