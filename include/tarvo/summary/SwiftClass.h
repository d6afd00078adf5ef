#pragma once

#include <string>

#include "tarvo/Export.h"

namespace tarvo {

/// A minimal sample class kept for hosts that link against it; nothing in the library uses it.
class TARVO_EXPORT SwiftClass {
public:
    SwiftClass() = default;

    /// "Some Val".
    static std::string someVal();
    /// Makes a qibla calculator, drops it unused, and answers "test".
    std::string dummyVal() const;
};

}  // namespace tarvo
