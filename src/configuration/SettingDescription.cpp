#include "tarvo/configuration/SettingDescription.h"

#include <charconv>
#include <cmath>

#include <fmt/format.h>

#include "platform/text/Text.h"

namespace tarvo {

std::string_view SettingDescription::typeName() const {
    switch (type) {
        case Type::boolean: return "bool";
        case Type::integer: return "int";
        case Type::number: return "double";
    }
    return "";
}

std::optional<SettingDescription::Value> SettingDescription::valueFromText(std::string_view text,
                                                                          std::string& why) const {
    if (type == Type::boolean) {
        const std::string word = text::lowercased(text);
        const bool yes = word == "true" || word == "yes" || word == "on" || word == "1";
        const bool no = word == "false" || word == "no" || word == "off" || word == "0";
        if (!yes && !no) {
            why = fmt::format("{} is a bool: give true or false (yes/no, on/off, 1/0), not '{}'", key, text);
            return std::nullopt;
        }
        if (storedAsInteger) return Value(int64_t{yes ? 1 : 0});
        return Value(yes);
    }
    double value = 0;
    const char* end = text.data() + text.size();
    bool whole = true;
    if (type == Type::integer) {
        int64_t integer = 0;
        const auto [ptr, ec] = std::from_chars(text.data(), end, integer);
        whole = !text.empty() && ec == std::errc() && ptr == end;
        value = static_cast<double>(integer);
    } else {
        const auto [ptr, ec] = std::from_chars(text.data(), end, value);
        whole = !text.empty() && ec == std::errc() && ptr == end && std::isfinite(value);
    }
    if (!whole) {
        why = fmt::format("{} is {}: '{}' is not a {}", key, type == Type::integer ? "a whole number" : "a number",
                          text, type == Type::integer ? "whole number" : "number");
        return std::nullopt;
    }
    if (value < minimum || value > maximum) {
        why = fmt::format("{} must be from {} to {}, not {}", key, minimum, maximum, text);
        return std::nullopt;
    }
    if (type == Type::integer) return Value(static_cast<int64_t>(value));
    return Value(value);
}

}  // namespace tarvo
