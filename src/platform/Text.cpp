#include "platform/Text.h"

#include <unicode/locid.h>
#include <unicode/unistr.h>

namespace tarvo::text {

std::string lowercased(std::string_view text) {
    icu::UnicodeString unicode = icu::UnicodeString::fromUTF8(icu::StringPiece(text.data(), static_cast<int32_t>(text.size())));
    unicode.toLower(icu::Locale::getRoot());
    std::string out;
    unicode.toUTF8String(out);
    return out;
}

}  // namespace tarvo::text
