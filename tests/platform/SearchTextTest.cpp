// The shared text helpers of the directory search and the reverse-geocode cache.
#include <gtest/gtest.h>

#include "platform/SearchText.h"

namespace tarvo {
namespace {

using Cases = std::vector<std::pair<std::string, std::string>>;

TEST(SearchText, TrimRemovesUnicodeWhiteSpaceOnlyAndLowerCasingIgnoresTheProcessLocale) {
    // No-break space, ideographic space, en quad: white space by Unicode's definition. Inner
    // spaces stay; a zero-width joiner is no white space.
    for (const auto& [text, trimmed] : Cases{{"  \t\nLondon \r\n", "London"}, {"\u00a0\u3000Bern\u2000", "Bern"},
                                             {"\u00a0 \u3000", ""}, {" New  York ", "New  York"}, {"\u200dX", "\u200dX"}}) {
        EXPECT_EQ(SearchText::trim(text), trimmed);
    }
    for (const auto& [text, lower] : Cases{{"ISTANBUL", "istanbul"}, {"ÖREBRO", "örebro"}, {"ΑΘΗΝΑ", "αθηνα"}}) {
        EXPECT_EQ(SearchText::lowercased(text), lower);
    }
}

TEST(SearchText, EscapedTermsStaySafeInsideAQuotedLiteral) {
    EXPECT_EQ(SearchText::escapeForSearch("o'brien"), "o''brien");
    EXPECT_EQ(SearchText::escapeForSearch(std::string("a\0b\x01\x7f", 5) + "c"), "abc");
    EXPECT_EQ(SearchText::escapeForSearch("50%_\\x"), "50%_\\x") << "wildcards and backslashes are harmless";
    EXPECT_EQ(SearchText::escapeForSearch("\xff\xfe"), "\ufffd\ufffd") << "malformed UTF-8 is replaced";
    EXPECT_EQ(SearchText::escapeForSearch("مكة"), "مكة");
    const std::string longTerm(5000, 'x');
    EXPECT_EQ(SearchText::escapeForSearch(longTerm).size(), SearchText::kMaxTermLength);
    // The cut counts characters, not bytes, and never splits a doubled quote.
    EXPECT_EQ(SearchText::escapeForSearch(std::string(300, '\'')).size(), 2 * SearchText::kMaxTermLength);
}

TEST(SearchText, SoundExGivesAmericanSoundexOfTheLatinName) {
    // Published examples of American Soundex: h does not separate s and c (Ashcraft), a vowel
    // does separate z and k (Tymczak), f has the first letter's code (Pfister).
    for (const auto& [name, code] :
         Cases{{"Robert", "R163"}, {"Rupert", "R163"}, {"Rubin", "R150"}, {"Ashcraft", "A261"}, {"Tymczak", "T522"},
               {"Pfister", "P236"}, {"Honeyman", "H555"}, {"Lee", "L000"}, {"Tromsø", "T652"}, {"Tromso", "T652"},
               {"Москва", "M210"}, {"Moskva", "M210"}, {"  -- 42", ""}}) {
        EXPECT_EQ(SearchText::SoundEx(name), code) << name;
    }
}

}  // namespace
}  // namespace tarvo
