#pragma once

#include <string>

#include "tarvo/Export.h"

namespace tarvo {

/// A typeface by name and size in points. The system font has no name of its own: it is
/// written as kSystemFontName or kBoldSystemFontName, for the host to map to its own.
struct TARVO_EXPORT Font {
    static constexpr const char* kSystemFontName = ".SystemFont";
    static constexpr const char* kBoldSystemFontName = ".SystemFont-Bold";

    std::string name;
    double pointSize = 0.0;

    static Font fontWithName(std::string name, double size) { return {std::move(name), size}; }
    static Font systemFontOfSize(double size) { return {kSystemFontName, size}; }
    static Font boldSystemFontOfSize(double size) { return {kBoldSystemFontName, size}; }

    bool operator==(const Font&) const = default;
};

}  // namespace tarvo
