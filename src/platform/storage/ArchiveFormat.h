#pragma once

#include <optional>
#include <string>

#include <nlohmann/json.hpp>

#include "tarvo/platform/Result.h"

namespace tarvo {

/// The layout of a keyed archive inside its CBOR bytes: one map holding a format marker,
/// the format version, the archived class's name and the map of encoded values.
class ArchiveFormat {
public:
    static constexpr const char* kMarker = "tarvo.keyed-archive";
    static constexpr int64_t kVersion = 1;

    struct Contents {
        std::string className;
        nlohmann::json values;
    };

    static nlohmann::json wrap(const std::string& className, const nlohmann::json& values);
    /// The class name and values of a decoded archive, or an Error when the value does not
    /// have the archive's layout.
    static Result<Contents> unwrap(nlohmann::json archive);
};

}  // namespace tarvo
