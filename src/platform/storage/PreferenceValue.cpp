#include "platform/storage/PreferenceValue.h"

#include <charconv>
#include <cmath>
#include <limits>

#include <fmt/format.h>
#include <unicode/uchar.h>

#include "platform/text/Text.h"

namespace tarvo {

namespace {

// White space trimmed the Unicode way, and a leading '+' dropped (from_chars takes only '-').
std::string numericCore(const std::string& text) {
    std::string trimmed = text::trimmed(text);
    if (trimmed.size() > 1 && trimmed[0] == '+' && trimmed[1] != '-') trimmed.erase(0, 1);
    return trimmed;
}

bool equalsIgnoringCase(const std::string& text, const char* word) {
    icu::UnicodeString trimmed = text::toUnicode(text);
    trimmed.trim();
    return trimmed.caseCompare(icu::UnicodeString(word, -1, US_INV), U_FOLD_CASE_DEFAULT) == 0;
}

}  // namespace

int64_t PreferenceValue::clampToInteger(double value) {
    if (std::isnan(value)) return 0;
    // 2^63 is exactly representable; anything at or beyond it does not fit.
    constexpr double kLimit = 9223372036854775808.0;
    if (value >= kLimit) return std::numeric_limits<int64_t>::max();
    if (value <= -kLimit) return std::numeric_limits<int64_t>::min();
    return static_cast<int64_t>(value);
}

std::optional<int64_t> PreferenceValue::parseInteger(const std::string& text) {
    const std::string core = numericCore(text);
    int64_t result = 0;
    const char* end = core.data() + core.size();
    const auto [ptr, ec] = std::from_chars(core.data(), end, result);
    if (ec != std::errc() || ptr != end || core.empty()) return std::nullopt;
    return result;
}

std::optional<double> PreferenceValue::parseNumber(const std::string& text) {
    const std::string core = numericCore(text);
    double result = 0;
    const char* end = core.data() + core.size();
    const auto [ptr, ec] = std::from_chars(core.data(), end, result);
    if (ec != std::errc() || ptr != end || core.empty() || !std::isfinite(result)) return std::nullopt;
    return result;
}

bool PreferenceValue::toBool(const nlohmann::json& value) {
    if (value.is_boolean()) return value.get<bool>();
    if (value.is_number()) return toDouble(value) != 0.0;
    if (!value.is_string()) return false;
    const auto& text = value.get_ref<const std::string&>();
    if (equalsIgnoringCase(text, "yes") || equalsIgnoringCase(text, "true")) return true;
    const auto number = parseNumber(text);
    return number && *number != 0.0;
}

int64_t PreferenceValue::toInteger(const nlohmann::json& value) {
    if (value.is_number_integer() && !value.is_number_unsigned()) return value.get<int64_t>();
    if (value.is_number_unsigned()) {
        const auto u = value.get<uint64_t>();
        return u > static_cast<uint64_t>(std::numeric_limits<int64_t>::max()) ? std::numeric_limits<int64_t>::max()
                                                                               : static_cast<int64_t>(u);
    }
    if (value.is_number_float()) return clampToInteger(value.get<double>());
    if (value.is_boolean()) return value.get<bool>() ? 1 : 0;
    if (value.is_string()) {
        const auto& text = value.get_ref<const std::string&>();
        if (auto whole = parseInteger(text)) return *whole;
        if (auto number = parseNumber(text)) return clampToInteger(*number);
    }
    return 0;
}

double PreferenceValue::toDouble(const nlohmann::json& value) {
    if (value.is_number_float()) return value.get<double>();
    if (value.is_number_unsigned()) return static_cast<double>(value.get<uint64_t>());
    if (value.is_number_integer()) return static_cast<double>(value.get<int64_t>());
    if (value.is_boolean()) return value.get<bool>() ? 1.0 : 0.0;
    if (value.is_string()) return parseNumber(value.get_ref<const std::string&>()).value_or(0.0);
    return 0.0;
}

std::optional<std::string> PreferenceValue::toText(const nlohmann::json& value) {
    if (value.is_string()) return value.get<std::string>();
    if (value.is_boolean()) return std::string(value.get<bool>() ? "1" : "0");
    if (value.is_number_unsigned()) return std::to_string(value.get<uint64_t>());
    if (value.is_number_integer()) return std::to_string(value.get<int64_t>());
    // Shortest text that reads back as the same double: 2.5 is "2.5", 50.0 is "50".
    if (value.is_number_float()) return fmt::format("{}", value.get<double>());
    return std::nullopt;
}

}  // namespace tarvo
