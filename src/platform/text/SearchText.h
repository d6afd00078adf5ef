#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace tarvo {

/// The text helpers of the shared utilities library that the city directory and the
/// reverse-geocode cache use. Everything goes through ICU: white space is what Unicode calls
/// white space and lower-casing uses the root locale, never the process locale.
class SearchText {
public:
    /// Longest search term in code points: no name column holds more, so a longer term could
    /// never match, and SQLite refuses LIKE patterns past a limit of its own.
    static constexpr size_t kMaxTermLength = 200;

    /// The text without leading and trailing white space (Unicode's White_Space property,
    /// so no-break spaces count too).
    static std::string trim(std::string_view text);
    /// Lower case by the root locale ("İSTANBUL" and "Istanbul" alike whatever the process
    /// locale is).
    static std::string lowercased(std::string_view text);
    /// The term of a LIKE search, whatever the user typed: NUL and other control characters
    /// dropped, malformed UTF-8 replaced, cut to kMaxTermLength code points. Quotes stay as
    /// typed: the term is bound as a parameter, never written into the statement's text. The
    /// LIKE wildcards '%' and '_' keep their meaning (the search statement has no ESCAPE
    /// clause), which can widen a search but never changes the statement.
    static std::string escapeForSearch(std::string_view text);
    /// The 4-character American Soundex code of the name transliterated to Latin ASCII
    /// ("Tromsø" and "Tromso" both give T652); "" for a name without any Latin letter.
    static std::string SoundEx(std::string_view name);
};

}  // namespace tarvo
