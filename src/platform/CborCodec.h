#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

namespace tarvo {

/// CBOR bytes to and from JSON values, for the stored preference values and keyed
/// archives. Decoding is meant for bytes from anywhere: it bounds the nesting depth (the
/// decoder recurses once per level, so a few kilobytes of nested array headers would
/// otherwise exhaust the stack) and never throws.
class CborCodec {
public:
    /// Deepest nesting of arrays and maps that decode() accepts.
    static constexpr size_t kMaxDepth = 128;

    static std::vector<uint8_t> encode(const nlohmann::json& value);
    /// The value, or nothing for truncated, malformed, too deeply nested or trailing bytes;
    /// `error` (when given) then says why.
    static std::optional<nlohmann::json> decode(const uint8_t* data, size_t size, std::string* error = nullptr);
    static std::optional<nlohmann::json> decode(const std::vector<uint8_t>& data, std::string* error = nullptr) {
        return decode(data.data(), data.size(), error);
    }
};

}  // namespace tarvo
