#pragma once

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include <nlohmann/json.hpp>


namespace tarvo {

/// Secure decoding of a KeyedArchiver archive.
class KeyedUnarchiver {
public:
    using Value = nlohmann::json;

    /// Raised by the typed object decoders when a key holds a value of another kind (the
    /// platform raises on a secure-decoding class mismatch). Callers inside the library
    /// catch it; it never leaves the library.
    class DecodingError : public std::runtime_error {
    public:
        using std::runtime_error::runtime_error;
    };

    /// An unarchiver for data archived from `expectedClass`; nothing for data of another
    /// class, truncated data or garbage. Never crashes on hostile input.
    static std::optional<KeyedUnarchiver> forReadingFromData(const std::vector<uint8_t>& data,
                                                             std::string_view expectedClass);

    const std::string& className() const { return className_; }
    bool containsValueForKey(std::string_view key) const;

    /// Scalars: a missing key or a value of another kind decodes as false / 0.
    bool decodeBool(std::string_view key) const;
    int64_t decodeInteger(std::string_view key) const;
    double decodeDouble(std::string_view key) const;

    /// The stored value as it is, or nothing when the key is missing.
    std::optional<Value> decodeObject(std::string_view key) const;
    /// A number object (integer, double or bool): nothing when missing, DecodingError when
    /// the key holds something else.
    std::optional<double> decodeNumber(std::string_view key) const;
    /// A string: nothing when missing, DecodingError when the key holds something else.
    std::optional<std::string> decodeString(std::string_view key) const;

private:
    KeyedUnarchiver(std::string className, Value values);
    std::string className_;
    Value values_;
};

}  // namespace tarvo
