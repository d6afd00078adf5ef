#include "platform/text/SearchText.h"

#include <algorithm>
#include <memory>
#include <mutex>

#include <unicode/locid.h>
#include <unicode/translit.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>
#include <unicode/utf8.h>

#include "platform/host/LogMacros.h"
#include "platform/text/Text.h"

namespace tarvo {

namespace {

icu::UnicodeString unicode(std::string_view text) { return text::toUnicode(text); }

std::string utf8(const icu::UnicodeString& text) { return text::toUtf8(text); }

// One transliterator per thread: building it costs far more than using it, and an ICU
// transliterator must not be used by two threads at once.
icu::Transliterator* toLatinASCII() {
    static std::once_flag once;
    static std::unique_ptr<icu::Transliterator> prototype;
    std::call_once(once, [] {
        UErrorCode status = U_ZERO_ERROR;
        prototype.reset(icu::Transliterator::createInstance("Any-Latin; Latin-ASCII", UTRANS_FORWARD, status));
        if (U_FAILURE(status)) {
            TARVO_LOG_ERROR("Cannot make the Latin transliterator: {}", u_errorName(status));
            prototype.reset();
        }
    });
    if (!prototype) return nullptr;
    thread_local std::unique_ptr<icu::Transliterator> mine(prototype->clone());
    return mine.get();
}

// American Soundex digits for 'a' to 'z'; '0' marks letters that are not coded (vowels and
// y, which separate equal codes, and h and w, which do not).
constexpr std::string_view kSoundexDigits = "01230120022455012623010202";

}  // namespace

std::string SearchText::trim(std::string_view text) { return text::trimmed(text); }

std::string SearchText::lowercased(std::string_view text) { return text::lowercased(text); }

std::string SearchText::escapeForSearch(std::string_view text) {
    const icu::UnicodeString u = unicode(text);
    icu::UnicodeString term;
    size_t length = 0;
    for (int32_t i = 0; i < u.length() && length < kMaxTermLength; i = u.moveIndex32(i, 1)) {
        const UChar32 c = u.char32At(i);
        if (u_charType(c) == U_CONTROL_CHAR) continue;
        term.append(c);
        ++length;
    }
    return utf8(term);
}

std::string SearchText::SoundEx(std::string_view name) {
    // An ASCII name is its own Latin ASCII spelling: the transliterator, which costs far more
    // to build than the code does to compute, is made only for a name that needs it.
    const bool isAscii =
        std::all_of(name.begin(), name.end(), [](char c) { return static_cast<unsigned char>(c) < 0x80; });
    std::string ascii(name);
    if (!isAscii) {
        icu::UnicodeString latin = unicode(name);
        if (icu::Transliterator* transliterator = toLatinASCII()) transliterator->transliterate(latin);
        ascii = utf8(latin);
    }

    std::string code;
    char previous = 0;  // the digit of the last coded letter, '0' after a separating vowel
    for (const char raw : ascii) {
        char c = raw;
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
        if (c < 'a' || c > 'z') continue;
        const char digit = kSoundexDigits[static_cast<size_t>(c - 'a')];
        if (code.empty()) {
            code.push_back(static_cast<char>(c - 'a' + 'A'));
            previous = digit;
            continue;
        }
        if (c == 'h' || c == 'w') continue;  // neither coded nor separating
        if (digit == '0') {
            previous = '0';
            continue;
        }
        if (digit != previous) code.push_back(digit);
        previous = digit;
        if (code.size() == 4) break;
    }
    if (code.empty()) return code;
    code.resize(4, '0');
    return code;
}

}  // namespace tarvo
