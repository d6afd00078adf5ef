#pragma once

#include <string>

namespace tarvo {

/// A minimal sample class kept for hosts that link against it; nothing in the library uses it.
class SwiftClass {
public:
    SwiftClass() = default;

    /// "Some Val".
    static std::string someVal();
    /// Makes a qibla calculator, drops it unused, and answers "test".
    std::string dummyVal() const;
};

}  // namespace tarvo
