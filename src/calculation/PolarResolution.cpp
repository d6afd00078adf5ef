#include "tarvo/calculation/PolarResolution.h"

#include <array>

namespace tarvo {

namespace {

constexpr std::array<std::string_view, 3> kNames = {"none", "nearest-day", "nearest-latitude"};

}  // namespace

int64_t storedPolarResolution(PolarResolution resolution) { return static_cast<int64_t>(resolution) + 1; }

std::optional<PolarResolution> polarResolutionFromStored(int64_t stored) {
    if (stored < 1 || stored > static_cast<int64_t>(kNames.size())) return std::nullopt;
    return static_cast<PolarResolution>(stored - 1);
}

PolarResolution resolvePolarResolution(int64_t cityChoice, int64_t preference) {
    if (const auto chosen = polarResolutionFromStored(cityChoice)) return *chosen;
    return polarResolutionFromStored(preference).value_or(PolarResolution::NearestLatitude);
}

std::string_view polarResolutionName(PolarResolution resolution) {
    const auto index = static_cast<size_t>(resolution);
    return index < kNames.size() ? kNames[index] : std::string_view("none");
}

std::optional<PolarResolution> polarResolutionNamed(std::string_view name) {
    for (size_t i = 0; i < kNames.size(); ++i) {
        if (kNames[i] == name) return static_cast<PolarResolution>(i);
    }
    return std::nullopt;
}

}  // namespace tarvo
