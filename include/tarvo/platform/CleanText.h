#pragma once

// Text from outside (a web service's answer, a stored row) made safe to store and to show.

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "tarvo/Export.h"

namespace tarvo::text {

/// The text safe to store and to show: control characters (C0, DEL, C1) and the bidi
/// embedding, override and isolate characters (U+202A to U+202E, U+2066 to U+2069) removed,
/// malformed UTF-8 replaced by U+FFFD, then cut to at most `maxLength` code points. Such
/// characters in a place name could rewrite a terminal or reorder the text around it.
TARVO_EXPORT std::string withoutControls(std::string_view utf8, size_t maxLength = SIZE_MAX);

}  // namespace tarvo::text
