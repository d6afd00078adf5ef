#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include <nlohmann/json.hpp>


namespace tarvo {

/// Keyed archiving: values by key plus the archived class's name, stored as CBOR.
class KeyedArchiver {
public:
    using Value = nlohmann::json;

    explicit KeyedArchiver(std::string className);

    void encodeBool(bool value, std::string_view key);
    void encodeInteger(int64_t value, std::string_view key);
    void encodeDouble(double value, std::string_view key);
    /// Any value (a number object, a string, data, an array, a dictionary); null removes the key.
    void encodeObject(const Value& value, std::string_view key);

    /// The archive bytes.
    std::vector<uint8_t> encodedData() const;

private:
    std::string className_;
    Value values_;
};

}  // namespace tarvo
