#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "tarvo/platform/Result.h"

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
    /// The value, or an Error saying why the bytes are truncated, malformed, too deeply
    /// nested or followed by more bytes.
    static Result<nlohmann::json> decode(const uint8_t* data, size_t size);
    static Result<nlohmann::json> decode(const std::vector<uint8_t>& data) { return decode(data.data(), data.size()); }
};

}  // namespace tarvo
