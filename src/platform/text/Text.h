#pragma once

// Text handling shared by the whole library: UTF-8 to and from ICU strings, lower-casing
// and trimming the platform's way, reading the integer at the start of a text, and the
// "YYYY-MM-DD" date form.
//
// Lower-casing uses ICU's root locale, never the process's: under a Turkish or Azeri
// locale the default rules turn "I" into a dotless "ı", so "India" would stop matching
// "india" and settings read from names would change with the device's language.
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "tarvo/platform/CleanText.h"
#include "tarvo/platform/DateComponents.h"

#include <unicode/unistr.h>

namespace tarvo::text {

/// The UTF-8 text as an ICU string (malformed bytes become U+FFFD).
icu::UnicodeString toUnicode(std::string_view utf8);
/// The ICU string as UTF-8.
std::string toUtf8(const icu::UnicodeString& text);

/// Lower case by Unicode's locale-independent rules ("İ" and "I" both give "i").
std::string lowercased(std::string_view utf8);
/// The text without leading and trailing white space (Unicode white space, not only ASCII).
std::string trimmed(std::string_view utf8);
/// The text as the city search compares it: letter case and accents folded away (decomposed,
/// nonspacing marks removed, Unicode case folding, composed again), so "São Paulo",
/// "SAO PAULO" and "sao paulo" are one text, as are "أ" and "ا". Control characters and
/// invisible format characters (direction marks) are dropped too. Letters that are not a base
/// letter with a mark stay themselves ("ø" is not "o").
std::string folded(std::string_view utf8);
/// True when the two texts are equal after lower-casing both (locale-independent).
bool equalsIgnoringCase(std::string_view a, std::string_view b);

/// The integer written at the start of `text`, read as the platform reads it: leading
/// blanks, an optional sign, then digits up to the first non-digit. No digits gives 0; a
/// number too long for 64 bits stops growing at the digit that would overflow.
int64_t integerValue(std::string_view text);

/// The year, month and day of a "YYYY-MM-DD" text (exactly ten characters, digits where
/// digits belong; the other fields 0), or nothing when the text has another form or names no
/// real calendar day.
std::optional<DateComponents> parseIsoDate(std::string_view text);

}  // namespace tarvo::text
