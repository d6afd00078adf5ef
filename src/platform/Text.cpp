#include "platform/Text.h"

#include <chrono>
#include <limits>

#include <unicode/locid.h>

namespace tarvo::text {

icu::UnicodeString toUnicode(std::string_view utf8) {
    return icu::UnicodeString::fromUTF8(icu::StringPiece(utf8.data(), static_cast<int32_t>(utf8.size())));
}

std::string toUtf8(const icu::UnicodeString& text) {
    std::string out;
    text.toUTF8String(out);
    return out;
}

std::string lowercased(std::string_view utf8) {
    icu::UnicodeString text = toUnicode(utf8);
    text.toLower(icu::Locale::getRoot());
    return toUtf8(text);
}

std::string trimmed(std::string_view utf8) {
    icu::UnicodeString text = toUnicode(utf8);
    text.trim();
    return toUtf8(text);
}

bool equalsIgnoringCase(std::string_view a, std::string_view b) { return lowercased(a) == lowercased(b); }

int64_t integerValue(std::string_view text) {
    size_t i = 0;
    while (i < text.size() && (text[i] == ' ' || text[i] == '\t' || text[i] == '\n' || text[i] == '\r')) ++i;
    bool negative = false;
    if (i < text.size() && (text[i] == '+' || text[i] == '-')) negative = text[i++] == '-';
    int64_t value = 0;
    for (; i < text.size() && text[i] >= '0' && text[i] <= '9'; ++i) {
        if (value > (std::numeric_limits<int64_t>::max() - 9) / 10) break;
        value = value * 10 + (text[i] - '0');
    }
    return negative ? -value : value;
}

std::optional<CivilDate> parseIsoDate(std::string_view text) {
    if (text.size() != 10 || text[4] != '-' || text[7] != '-') return std::nullopt;
    for (size_t i : {0, 1, 2, 3, 5, 6, 8, 9}) {
        if (text[i] < '0' || text[i] > '9') return std::nullopt;
    }
    const auto digits = [&](size_t from, size_t count) {
        int value = 0;
        for (size_t i = from; i < from + count; ++i) value = value * 10 + (text[i] - '0');
        return value;
    };
    const CivilDate date{digits(0, 4), static_cast<unsigned>(digits(5, 2)), static_cast<unsigned>(digits(8, 2))};
    using namespace std::chrono;
    if (!year_month_day{year{date.year}, month{date.month}, day{date.day}}.ok()) return std::nullopt;
    return date;
}

}  // namespace tarvo::text
