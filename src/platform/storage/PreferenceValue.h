#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include <nlohmann/json.hpp>

namespace tarvo {

/// The platform's rules for reading a stored value as another kind, shared by the
/// preferences store and keyed unarchiving.
class PreferenceValue {
public:
    /// A number (non-zero), a bool, or text: "YES"/"true" (any letter case) or numeric text
    /// that is not zero. Anything else is false.
    static bool toBool(const nlohmann::json& value);
    /// A number (a double is truncated toward zero and clamped to the 64-bit range), a bool
    /// as 0 or 1, or numeric text ("4" is 4, " 4.7 " is 4). Anything else is 0.
    static int64_t toInteger(const nlohmann::json& value);
    /// A number, a bool as 0 or 1, or numeric text. Anything else is 0.
    static double toDouble(const nlohmann::json& value);
    /// Text as it is, a number as its text (a bool as "1" or "0"); nothing for other kinds.
    static std::optional<std::string> toText(const nlohmann::json& value);

    /// The number written in `text` (surrounding white space allowed, a leading '+' too);
    /// nothing when the text is not a finite number as a whole.
    static std::optional<double> parseNumber(const std::string& text);
    /// The whole number written in `text`, when it is one within the 64-bit range.
    static std::optional<int64_t> parseInteger(const std::string& text);
    /// A double truncated toward zero and clamped to the 64-bit range (NaN is 0).
    static int64_t clampToInteger(double value);
};

}  // namespace tarvo
