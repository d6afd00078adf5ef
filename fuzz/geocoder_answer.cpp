// The body a reverse-geocoding service answers with. Anything is either one place, no
// place, or an error; the text of a place is always valid UTF-8 (it reaches the user
// database and the screen).
#include <unicode/utf8.h>

#include <cstdint>
#include <string>

#include "FuzzSupport.h"
#include "tarvo/cities/WebGeocoder.h"

namespace {

bool validUtf8(const std::string& text) {
    const auto* bytes = reinterpret_cast<const uint8_t*>(text.data());
    const auto length = static_cast<int32_t>(text.size());
    for (int32_t i = 0; i < length;) {
        UChar32 c = 0;
        U8_NEXT(bytes, i, length, c);
        if (c < 0) return false;
    }
    return true;
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    tarvo::fuzz::quietLog();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const auto result = tarvo::WebGeocoder::parseAnswer(tarvo::fuzz::text(data, size));
    if (!result) {
        TARVO_FUZZ_CHECK(!result.error().message.empty(), "a refused answer says why");
        return 0;
    }
    TARVO_FUZZ_CHECK(result->size() <= 1, "one answer named more than one place");
    for (const auto& place : *result) {
        TARVO_FUZZ_CHECK(validUtf8(place.locality) && validUtf8(place.administrativeArea) &&
                             validUtf8(place.country) && validUtf8(place.formattedAddress),
                         "a place's text is not valid UTF-8");
    }
    return 0;
}
