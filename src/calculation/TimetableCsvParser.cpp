#include "tarvo/calculation/TimetableCsvParser.h"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <cmath>
#include <initializer_list>

#include "platform/text/Text.h"

namespace tarvo {

namespace {

// Joins pieces of a message (appending avoids a GCC 12 false -Wrestrict warning that
// "literal" + std::string triggers at -O3).
std::string concat(std::initializer_list<std::string_view> pieces) {
    std::string out;
    for (auto piece : pieces) out.append(piece);
    return out;
}

std::vector<std::string> splitFields(std::string_view line) {
    std::vector<std::string> fields;
    size_t start = 0;
    while (true) {
        const auto comma = line.find(',', start);
        fields.push_back(text::trimmed(line.substr(start, comma == std::string_view::npos ? std::string_view::npos : comma - start)));
        if (comma == std::string_view::npos) break;
        start = comma + 1;
    }
    return fields;
}

template <typename T>
std::optional<T> parseNumber(std::string_view text) {
    T value{};
    const char* end = text.data() + text.size();
    const auto [ptr, ec] = std::from_chars(text.data(), end, value);
    if (ec != std::errc() || ptr != end || text.empty()) return std::nullopt;
    return value;
}

std::string dateText(double key) {
    using namespace std::chrono;
    const year_month_day ymd{sys_days{days{static_cast<int64_t>(key / 86400)}}};
    char buf[16];
    std::snprintf(buf, sizeof buf, "%04d-%02u-%02u", static_cast<int>(ymd.year()),
                  static_cast<unsigned>(ymd.month()), static_cast<unsigned>(ymd.day()));
    return buf;
}

}  // namespace

TimetableCsvParser::TimetableCsvParser(double firstKey, double lastKey) : firstKey_(firstKey), lastKey_(lastKey) {}

std::optional<double> TimetableCsvParser::keyForDate(std::string_view date) {
    const auto civil = text::parseIsoDate(date);
    if (!civil) return std::nullopt;
    using namespace std::chrono;
    const year_month_day ymd{year{static_cast<int>(civil->year)}, month{static_cast<unsigned>(civil->month)},
                             day{static_cast<unsigned>(civil->day)}};
    return static_cast<double>(sys_days{ymd}.time_since_epoch().count()) * 86400.0;
}

Result<std::vector<TimetableRow>> TimetableCsvParser::parse(std::string_view text) const {
    static constexpr const char* kNames[] = {"Fajr", "sunrise", "Dhuhr", "Asr", "Maghrib", "Isha"};
    std::vector<TimetableRow> rows;
    size_t lineNumber = 0;
    size_t pos = 0;
    while (pos <= text.size()) {
        const auto newline = text.find('\n', pos);
        const std::string line =
            text::trimmed(text.substr(pos, newline == std::string_view::npos ? std::string_view::npos : newline - pos));
        pos = newline == std::string_view::npos ? text.size() + 1 : newline + 1;
        ++lineNumber;
        if (line.empty() || line.front() == '#' || line.starts_with("date")) continue;

        auto fail = [&](const std::string& why) {
            return Error{concat({"line ", std::to_string(lineNumber), ": ", why})};
        };
        const auto fields = splitFields(line);
        if (fields.size() != 7) {
            return fail(concat({"expected 7 columns (date and six times), found ", std::to_string(fields.size())}));
        }
        const auto key = keyForDate(fields[0]);
        if (!key) return fail(concat({"'", fields[0], "' is not a date of the form YYYY-MM-DD"}));
        if (*key < firstKey_ || *key > lastKey_) {
            return fail(concat({"date ", fields[0], " is outside the table's range ", dateText(firstKey_), " to ",
                                dateText(lastKey_)}));
        }
        TimetableRow row{*key, {}};
        for (size_t i = 0; i < 6; ++i) {
            const auto value = parseNumber<double>(fields[i + 1]);
            if (!value) return fail(concat({kNames[i], " '", fields[i + 1], "' is not a number"}));
            if (!(*value >= 0.0 && *value <= 24.0)) {
                return fail(concat({kNames[i], " ", fields[i + 1], " is outside 0 to 24 hours"}));
            }
            row.times[i] = *value;
        }
        rows.push_back(row);
    }
    std::sort(rows.begin(), rows.end(), [](const TimetableRow& a, const TimetableRow& b) { return a.key < b.key; });
    for (size_t i = 1; i < rows.size(); ++i) {
        if (rows[i].key == rows[i - 1].key) {
            return Error{concat({"date ", dateText(rows[i].key), " appears more than once"})};
        }
    }
    return rows;
}

}  // namespace tarvo
