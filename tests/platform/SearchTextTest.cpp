// The shared text helpers of the directory search and the reverse-geocode cache.
#include <gtest/gtest.h>

#include "platform/SearchText.h"

namespace tarvo {
namespace {

TEST(SearchText, TrimRemovesUnicodeWhiteSpaceOnly) {
    EXPECT_EQ(SearchText::trim("  \t\nLondon \r\n"), "London");
    // No-break space, ideographic space, en quad: white space by Unicode's definition.
    EXPECT_EQ(SearchText::trim("\u00a0\u3000Bern\u2000"), "Bern");
    EXPECT_EQ(SearchText::trim("\u00a0 \u3000"), "");
    // Inner spaces stay; a zero-width joiner is no white space.
    EXPECT_EQ(SearchText::trim(" New  York "), "New  York");
    EXPECT_EQ(SearchText::trim("\u200dX"), "\u200dX");
}

TEST(SearchText, LowerCasingIgnoresTheProcessLocale) {
    EXPECT_EQ(SearchText::lowercased("ISTANBUL"), "istanbul");
    EXPECT_EQ(SearchText::lowercased("ÖREBRO"), "örebro");
    EXPECT_EQ(SearchText::lowercased("ΑΘΗΝΑ"), "αθηνα");
}

TEST(SearchText, EscapedTermsStaySafeInsideAQuotedLiteral) {
    EXPECT_EQ(SearchText::escapeForSearch("o'brien"), "o''brien");
    EXPECT_EQ(SearchText::escapeForSearch("''"), "''''");
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
    // Published examples of American Soundex.
    EXPECT_EQ(SearchText::SoundEx("Robert"), "R163");
    EXPECT_EQ(SearchText::SoundEx("Rupert"), "R163");
    EXPECT_EQ(SearchText::SoundEx("Rubin"), "R150");
    EXPECT_EQ(SearchText::SoundEx("Ashcraft"), "A261");  // h does not separate s and c
    EXPECT_EQ(SearchText::SoundEx("Tymczak"), "T522");   // a vowel does separate z and k
    EXPECT_EQ(SearchText::SoundEx("Pfister"), "P236");   // f has the first letter's code
    EXPECT_EQ(SearchText::SoundEx("Honeyman"), "H555");
    EXPECT_EQ(SearchText::SoundEx("Lee"), "L000");
    EXPECT_EQ(SearchText::SoundEx("Tromsø"), "T652");
    EXPECT_EQ(SearchText::SoundEx("Tromso"), "T652");
    EXPECT_EQ(SearchText::SoundEx("Москва"), SearchText::SoundEx("Moskva"));
    EXPECT_EQ(SearchText::SoundEx("Moskva"), "M210");
    EXPECT_EQ(SearchText::SoundEx("  -- 42"), "");
}

}  // namespace
}  // namespace tarvo
