// PrayerCalculator, time values and formats: rounding a fractional hour to the minute,
// 24-hour and 12-hour clock text, reading "h:mm" text back, splitting seconds into hours,
// minutes and seconds, and formatting a whole day by the calculator's timeFormat.
//
//   Given:    times of day as fractional hours (6.5 = 06:30, not wrapped; NaN for none).
//   Returned: whole hours and minutes, or text; NaN and infinities give InvalidTime.
//   Notes:    a time is rounded by adding half a minute and cutting down, after wrapping
//             into 0-24; integers are read from text the platform's way (leading blanks,
//             sign, digits up to the first non-digit).
#include "tarvo/calculation/PrayerCalculator.h"

#include <charconv>
#include <cmath>

#include <fmt/format.h>

#include "calculation/ClockReading.h"
#include "platform/text/Text.h"

namespace tarvo {

namespace {

// Half a minute in hours, added before cutting a time down to its minute.
constexpr double kHalfMinute = 0.008333333333333333;

std::string removingAll(std::string text, std::string_view what) {
    for (auto pos = text.find(what); pos != std::string::npos; pos = text.find(what, pos)) text.erase(pos, what.size());
    return text;
}

// Shared first half of time12ToHour:/time12ToMinute:: the lower-cased text without its
// suffix, and where the first ':' stood in the text as given.
struct Time12Parts {
    std::string before;
    std::string after;
};
std::optional<Time12Parts> splitTime12(std::string_view text) {
    const auto colon = text.find(':');
    if (colon == std::string_view::npos) return std::nullopt;
    std::string cleaned = text::trimmed(removingAll(text::lowercased(text), "pm"));
    cleaned = text::trimmed(removingAll(cleaned, "am"));
    // The split uses the colon's place in the original text, not in the cleaned one, so
    // leading blanks shift it; kept so because stored settings were read this way.
    Time12Parts parts;
    parts.before = cleaned.substr(0, std::min(colon, cleaned.size()));
    if (colon + 1 <= cleaned.size()) parts.after = cleaned.substr(colon + 1);
    return parts;
}

std::string twoDigits(int64_t hour, int64_t minute) {
    // The four layouts "0%ld:0%ld", "%ld:0%ld", "%ld:%ld", "0%ld:%ld" are zero padding to two digits.
    return fmt::format("{:02}:{:02}", hour, minute);
}

struct HourMinute {
    int64_t hour;
    int64_t minute;
};
HourMinute roundedToMinute(double hours) {
    const double v = PrayerCalculator::fixhour(hours + kHalfMinute);
    const double hour = std::floor(v);
    return {static_cast<int64_t>(hour), static_cast<int64_t>(std::floor((v - hour) * 60))};
}

}  // namespace

ClockReading ClockReading::of(double hours) {
    if (std::isnan(hours) || std::isinf(hours)) return {};
    const auto [hour, minute] = roundedToMinute(hours);
    return {hour, minute};
}

int64_t PrayerCalculator::floatToHour(double hours) { return ClockReading::of(hours).hour; }

int64_t PrayerCalculator::floatToMin(double hours) { return ClockReading::of(hours).minute; }

std::string PrayerCalculator::floatToTime24(double hours) const {
    if (!std::isfinite(hours)) return InvalidTime_;
    const auto [hour, minute] = roundedToMinute(hours);
    return twoDigits(hour, minute);
}

std::string PrayerCalculator::floatToTime12(double hours, bool noSuffix) const {
    if (!std::isfinite(hours)) return InvalidTime_;
    const auto [hour, minute] = roundedToMinute(hours);
    const int64_t h12 = ((hour + 11) % 12) + 1;
    // Single-digit hours keep their leading zero in 12-hour text too ("05:07 am"), so that
    // both clocks give texts of one width.
    std::string text = twoDigits(h12, minute);
    if (!noSuffix) text += hour < 12 ? " am" : " pm";
    return text;
}

std::string PrayerCalculator::floatToTime12NS(double hours) const { return floatToTime12(hours, true); }

int64_t PrayerCalculator::time24ToHour(std::string_view text) {
    const auto colon = text.find(':');
    if (colon == std::string_view::npos) return 0;
    return text::integerValue(text.substr(0, colon));
}

int64_t PrayerCalculator::time24ToMinute(std::string_view text) {
    const auto colon = text.find(':');
    if (colon == std::string_view::npos) return 0;
    return text::integerValue(text.substr(colon + 1));
}

int64_t PrayerCalculator::time12ToHour(std::string_view text) {
    const auto parts = splitTime12(text);
    return parts ? text::integerValue(parts->before) : 0;
}

int64_t PrayerCalculator::time12ToMinute(std::string_view text) {
    const auto parts = splitTime12(text);
    return parts ? text::integerValue(parts->after) : 0;
}

std::array<int64_t, 3> PrayerCalculator::splitToComponentTimes(int64_t seconds) {
    const int64_t hours = seconds / 3600;
    const int64_t rest = seconds - 3600 * hours;
    const int64_t minutes = rest / 60;
    return {hours, minutes, rest - 60 * minutes};
}

std::vector<std::string> PrayerCalculator::adjustTimesFormat(const std::vector<double>& times) const {
    std::vector<std::string> out;
    out.reserve(times.size());
    for (double t : times) {
        switch (timeFormat_) {
            case 3: {
                // The number's own text: the shortest form that reads back as the same double.
                if (std::isnan(t)) {
                    out.emplace_back("nan");
                    break;
                }
                char buf[32];
                const auto result = std::to_chars(buf, buf + sizeof buf, t);
                out.emplace_back(buf, result.ptr);
                break;
            }
            case 1: out.push_back(floatToTime12(t, false)); break;
            case 2: out.push_back(floatToTime12(t, true)); break;
            default: out.push_back(floatToTime24(t)); break;
        }
    }
    return out;
}

}  // namespace tarvo
