#include "platform/ArchiveFormat.h"

namespace tarvo {

nlohmann::json ArchiveFormat::wrap(const std::string& className, const nlohmann::json& values) {
    return {{"archiver", kMarker}, {"version", kVersion}, {"class", className}, {"values", values}};
}

std::optional<ArchiveFormat::Contents> ArchiveFormat::unwrap(nlohmann::json archive, std::string& error) {
    if (!archive.is_object()) {
        error = "not a keyed archive";
        return std::nullopt;
    }
    const auto marker = archive.find("archiver");
    if (marker == archive.end() || *marker != kMarker) {
        error = "not a keyed archive";
        return std::nullopt;
    }
    const auto version = archive.find("version");
    if (version == archive.end() || !version->is_number_integer() || *version != kVersion) {
        error = "unknown archive version";
        return std::nullopt;
    }
    const auto className = archive.find("class");
    const auto values = archive.find("values");
    if (className == archive.end() || !className->is_string() || values == archive.end() || !values->is_object()) {
        error = "archive without class name or values";
        return std::nullopt;
    }
    return Contents{className->get<std::string>(), std::move(*values)};
}

}  // namespace tarvo
