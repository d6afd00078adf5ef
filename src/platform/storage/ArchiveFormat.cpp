#include "platform/storage/ArchiveFormat.h"

namespace tarvo {

nlohmann::json ArchiveFormat::wrap(const std::string& className, const nlohmann::json& values) {
    return {{"archiver", kMarker}, {"version", kVersion}, {"class", className}, {"values", values}};
}

Result<ArchiveFormat::Contents> ArchiveFormat::unwrap(nlohmann::json archive) {
    if (!archive.is_object()) {
        return Error{"not a keyed archive"};
    }
    const auto marker = archive.find("archiver");
    if (marker == archive.end() || *marker != kMarker) {
        return Error{"not a keyed archive"};
    }
    const auto version = archive.find("version");
    if (version == archive.end() || !version->is_number_integer() || *version != kVersion) {
        return Error{"unknown archive version"};
    }
    const auto className = archive.find("class");
    const auto values = archive.find("values");
    if (className == archive.end() || !className->is_string() || values == archive.end() || !values->is_object()) {
        return Error{"archive without class name or values"};
    }
    return Contents{className->get<std::string>(), std::move(*values)};
}

}  // namespace tarvo
