#pragma once

// Text helpers inside the library: case changes through ICU's root locale, so the process
// locale (a Turkish dotless i, say) never changes the result.
#include <string>
#include <string_view>

namespace tarvo::text {

/// The UTF-8 text in lower case.
std::string lowercased(std::string_view text);

}  // namespace tarvo::text
