#pragma once

#include <functional>

#include "tarvo/Export.h"
#include "tarvo/platform/Date.h"

namespace tarvo {

/// The one source of "now" for the whole library.
///
/// With no source installed, now() reads the system clock. A host (or a test) may install a
/// fixed moment or a function; every reading of the clock in the library then answers from
/// it, until it is removed. Installing and reading are safe from several threads.
class TARVO_EXPORT Clock {
public:
    using Source = std::function<Date()>;

    /// The current moment: the installed source's answer, else the system clock.
    static Date now();
    /// The system clock, whatever source is installed.
    static Date systemNow();

    /// Every later now() answers `moment`.
    static void installFixed(Date moment);
    /// Every later now() calls `source` (an empty function removes the source).
    static void install(Source source);
    /// Back to the system clock.
    static void remove();
    static bool hasSource();
};

}  // namespace tarvo
