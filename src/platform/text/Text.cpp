#include "platform/text/Text.h"

#include <chrono>
#include <limits>

#include <unicode/locid.h>
#include <unicode/normalizer2.h>
#include <unicode/uchar.h>

namespace tarvo::text {

icu::UnicodeString toUnicode(std::string_view utf8) {
    return icu::UnicodeString::fromUTF8(icu::StringPiece(utf8.data(), static_cast<int32_t>(utf8.size())));
}

std::string toUtf8(const icu::UnicodeString& text) {
    std::string out;
    text.toUTF8String(out);
    return out;
}

std::string lowercased(std::string_view utf8) {
    icu::UnicodeString text = toUnicode(utf8);
    text.toLower(icu::Locale::getRoot());
    return toUtf8(text);
}

std::string trimmed(std::string_view utf8) {
    // White space as Unicode defines it (the White_Space property, so no-break spaces
    // count too), from both ends.
    const icu::UnicodeString text = toUnicode(utf8);
    const auto isWhiteSpace = [](UChar32 c) { return u_hasBinaryProperty(c, UCHAR_WHITE_SPACE) != 0; };
    int32_t start = 0;
    int32_t end = text.length();
    while (start < end && isWhiteSpace(text.char32At(start))) start = text.moveIndex32(start, 1);
    while (end > start) {
        const int32_t previous = text.moveIndex32(end, -1);
        if (!isWhiteSpace(text.char32At(previous))) break;
        end = previous;
    }
    return toUtf8(text.tempSubStringBetween(start, end));
}

std::string folded(std::string_view utf8) {
    UErrorCode status = U_ZERO_ERROR;
    const icu::Normalizer2* decompose = icu::Normalizer2::getNFDInstance(status);
    const icu::Normalizer2* compose = icu::Normalizer2::getNFCInstance(status);
    if (U_FAILURE(status)) {
        icu::UnicodeString text = toUnicode(utf8);
        return toUtf8(text.foldCase());
    }
    const icu::UnicodeString decomposed = decompose->normalize(toUnicode(utf8), status);
    icu::UnicodeString bare;
    for (int32_t i = 0; i < decomposed.length(); i = decomposed.moveIndex32(i, 1)) {
        const UChar32 c = decomposed.char32At(i);
        const int8_t type = u_charType(c);
        if (type != U_NON_SPACING_MARK && type != U_CONTROL_CHAR && type != U_FORMAT_CHAR) bare.append(c);
    }
    bare.foldCase();
    return toUtf8(compose->normalize(bare, status));
}

bool equalsIgnoringCase(std::string_view a, std::string_view b) { return lowercased(a) == lowercased(b); }

std::string withoutControls(std::string_view utf8, size_t maxLength) {
    const icu::UnicodeString text = toUnicode(utf8);
    const auto isBidiControl = [](UChar32 c) { return (c >= 0x202A && c <= 0x202E) || (c >= 0x2066 && c <= 0x2069); };
    icu::UnicodeString kept;
    size_t length = 0;
    for (int32_t i = 0; i < text.length() && length < maxLength; i = text.moveIndex32(i, 1)) {
        const UChar32 c = text.char32At(i);
        if (u_charType(c) == U_CONTROL_CHAR || isBidiControl(c)) continue;
        kept.append(c);
        ++length;
    }
    return toUtf8(kept);
}

int64_t integerValue(std::string_view text) {
    size_t i = 0;
    while (i < text.size() && (text[i] == ' ' || text[i] == '\t' || text[i] == '\n' || text[i] == '\r')) ++i;
    bool negative = false;
    if (i < text.size() && (text[i] == '+' || text[i] == '-')) negative = text[i++] == '-';
    int64_t value = 0;
    for (; i < text.size() && text[i] >= '0' && text[i] <= '9'; ++i) {
        if (value > (std::numeric_limits<int64_t>::max() - 9) / 10) break;
        value = value * 10 + (text[i] - '0');
    }
    return negative ? -value : value;
}

std::optional<DateComponents> parseIsoDate(std::string_view text) {
    if (text.size() != 10 || text[4] != '-' || text[7] != '-') return std::nullopt;
    for (size_t i : {0, 1, 2, 3, 5, 6, 8, 9}) {
        if (text[i] < '0' || text[i] > '9') return std::nullopt;
    }
    const auto digits = [&](size_t from, size_t count) {
        int value = 0;
        for (size_t i = from; i < from + count; ++i) value = value * 10 + (text[i] - '0');
        return value;
    };
    using namespace std::chrono;
    const year_month_day ymd{year{digits(0, 4)}, month{static_cast<unsigned>(digits(5, 2))},
                             day{static_cast<unsigned>(digits(8, 2))}};
    if (!ymd.ok()) return std::nullopt;
    DateComponents date;
    date.year = digits(0, 4);
    date.month = digits(5, 2);
    date.day = digits(8, 2);
    return date;
}

}  // namespace tarvo::text
