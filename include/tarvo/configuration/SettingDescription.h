#pragma once

#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

#include "tarvo/Export.h"

namespace tarvo {

/// A preference the library reads from the shared preferences: its key, the type it is
/// read as, the values that make sense and what it means, so that a host (or `tarvo config`)
/// can show it, check a value a person typed and store it the way the library reads it.
struct TARVO_EXPORT SettingDescription {
    enum class Type { boolean, integer, number };
    /// A value as it is stored: a bool, an integer or a number.
    using Value = std::variant<bool, int64_t, double>;

    std::string_view key;
    Type type = Type::boolean;
    /// A boolean the library reads as an integer (1 or not): stored as 1 or 0.
    bool storedAsInteger = false;
    /// Inclusive bounds of an integer or a number.
    double minimum = -std::numeric_limits<double>::infinity();
    double maximum = std::numeric_limits<double>::infinity();
    std::string_view meaning;

    /// "bool", "int" or "double".
    std::string_view typeName() const;
    /// The value to store for `text`: a boolean from true/false, yes/no, on/off or 1/0 (any
    /// case); an integer or a number within the bounds. Nothing, with `why` set to one line
    /// saying what is wrong, when the text is not such a value.
    std::optional<Value> valueFromText(std::string_view text, std::string& why) const;
};

}  // namespace tarvo
