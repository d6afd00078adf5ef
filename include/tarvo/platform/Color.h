#pragma once

#include "tarvo/Export.h"

namespace tarvo {

/// An RGBA colour, each component a fraction from 0 to 1.
struct TARVO_EXPORT Color {
    double red = 0.0;
    double green = 0.0;
    double blue = 0.0;
    double alpha = 1.0;

    /// The platform's standard white: all components 1.
    static constexpr Color white() { return {1.0, 1.0, 1.0, 1.0}; }
    /// A colour from 0-255 components, each divided by 255, with alpha 1.
    static constexpr Color fromRGB255(double red, double green, double blue) {
        return {red / 255.0, green / 255.0, blue / 255.0, 1.0};
    }

    bool operator==(const Color&) const = default;
};

}  // namespace tarvo
