// The current locale and the two language flags the configuration derives from it; the
// internal text helpers, the search's text helpers (the directory search and the
// reverse-geocode cache), and the rules that read names, under a Turkish default locale.
#include <gtest/gtest.h>

#include "platform/text/SearchText.h"
#include "platform/text/Text.h"
#include "support/RunProcess.h"
#include "tarvo/calculation/PrayerCalculator.h"
#include "tarvo/cities/TarvoCity.h"
#include "tarvo/platform/Locale.h"
#include "platform/host/Log.h"

using tarvo::Locale;
using tarvo::PrayerCalculator;
using tarvo::SearchText;
namespace text = tarvo::text;
using Cases = std::vector<std::pair<std::string, std::string>>;

namespace {

// Puts the process's current locale back at the end of a test.
class LocaleTest : public ::testing::Test {
protected:
    ~LocaleTest() override { Locale::setCurrentLocale(saved_); }
    const std::string saved_ = Locale::currentLocale().identifier();
};

// Under Turkish rules "I" lower-cases to the dotless "ı"; the library must not follow them.
class TurkishLocale : public LocaleTest {
protected:
    TurkishLocale() { Locale::setCurrentLocale("tr_TR"); }
};

}  // namespace

TEST_F(LocaleTest, IdentifiersAndTheArabicFlagsOfTheCurrentLocale) {
    EXPECT_EQ(Locale("ar_SA@numbers=arab").countryCode(), "SA");
    // Keywords come out in alphabetical order; codes are kept as named, not corrected.
    EXPECT_EQ(Locale("ar@numbers=arab;calendar=islamic").identifier(), "ar@calendar=islamic;numbers=arab");
    EXPECT_EQ(Locale("en_UK").countryCode(), "UK");
    struct Row {
        const char* identifier;
        bool language, date;
    };
    for (const auto& [identifier, language, date] :
         {Row{"ar_SA@numbers=arab", true, true}, Row{"ar_SA", true, false},
          // Other keywords sort after "numbers", so the identifier no longer ends with it.
          Row{"ar_SA@numbers=arab;rg=aezzzz", true, false}, Row{"ar_SA@calendar=islamic;numbers=arab", true, true},
          // Arabic varieties with codes of their own count as Arabic, by design.
          Row{"arz_EG", true, false}, Row{"ary_MA@numbers=arab", true, true}, Row{"fa_IR@numbers=arab", false, false}}) {
        Locale::setCurrentLocale(identifier);
        EXPECT_EQ(Locale::currentLocale().identifier(), identifier);
        EXPECT_EQ(Locale::isLanguageArabic(), language) << identifier;
        EXPECT_EQ(Locale::isDateLanguageArabic(), date) << identifier;
    }
}

TEST(LocaleAtStartUp, ProcessTakesItsLocaleFromTheEnvironmentWithItsKeywords) {
    const std::tuple<const char*, const char*, const char*> cases[] = {
        {"LANG=ar_SA.UTF-8@numbers=arab", "LC_ALL", "ar_SA@numbers=arab ar 1 1\n"},
        {"LANG=ar_SA.UTF-8", "LC_ALL", "ar_SA ar 1 0\n"},
        {"LANG=C.UTF-8", "LC_ALL", "en_US_POSIX en 0 0\n"},
        {"LANG=sr_RS@latin", "LC_ALL", "sr_RS_LATIN sr 0 0\n"},
        {"LANG=en_GB.UTF-8", "LC_ALL=ar_EG.ISO-8859-6@numbers=arab", "ar_EG@numbers=arab ar 1 1\n"}};
    for (const auto& [lang, all, expected] : cases) {
        const auto probe = tarvo::test::runProcess(TARVO_LOCALE_PROBE_PATH, {}, {"LC_MESSAGES", all, lang});
        EXPECT_EQ(probe.status, 0) << probe.err;
        EXPECT_EQ(probe.out, expected) << lang;
    }
}

TEST_F(TurkishLocale, NamesLowerCaseTheSameEverywhere) {
    ASSERT_EQ(Locale::currentLocale().identifier(), "tr_TR");
    // The dotted capital İ keeps its dot as a mark. The search lower-cases the same way.
    for (const auto& [name, lower] : Cases{{"INDIA", "india"}, {"India", "india"}, {"\u0130stanbul", "i\u0307stanbul"},
                                           {"\u00C7AD", "\u00E7ad"}, {"ÖREBRO", "örebro"}, {"ΑΘΗΝΑ", "αθηνα"}}) {
        EXPECT_EQ(text::lowercased(name), lower);
        EXPECT_EQ(SearchText::lowercased(name), lower);
    }
    EXPECT_TRUE(text::equalsIgnoringCase("SAUDI ARABIA", "saudi arabia"));
    EXPECT_FALSE(text::equalsIgnoringCase("Oman", "Yemen"));
    // The search's folding: case, marks (a hamza on alef) and direction marks go, other letters stay.
    for (const auto& [name, folded] :
         Cases{{"S\u00C3O PAULO", "sao paulo"}, {"\u0130STANBUL", "istanbul"}, {"Stra\u00DFe", "strasse"},
               {"\u0623\u0628\u0647\u0627", "\u0627\u0628\u0647\u0627"}, {"Troms\u00F8", "troms\u00F8"},
               {"\u0637\u0631\u064A\u0641\u200E\n", "\u0637\u0631\u064A\u0641"}}) {
        EXPECT_EQ(text::folded(name), folded);
    }

    for (const auto& [country, asr] : std::vector<std::pair<std::string, int>>{{"India", 2}, {"PAKISTAN", 2}, {"Indonesia", 1}}) {
        EXPECT_EQ(PrayerCalculator::getAutoAsrMethodFromCountry(country), asr) << country;
    }
    EXPECT_EQ(std::pair(PrayerCalculator::time12ToHour("11:05 PM"), PrayerCalculator::time12ToMinute("11:05 PM")),
              (std::pair<int64_t, int64_t>{11, 5}));
    EXPECT_EQ(tarvo::Log::levelFromName("INFO"), tarvo::Log::Level::info);

    tarvo::TarvoCity city;
    city.setIsLoadingFromDB(true);  // no tracking, no preference mirroring
    city.setCountryName(std::string("SAUDI ARABIA"));
    EXPECT_TRUE(city.isCountrySaudiArabia());
}

TEST(Text, TrimsReadsIntegersAndDates) {
    // Em, ideographic, en quad and no-break spaces are white space too; inner spaces stay and a
    // zero-width joiner is no white space. The search trims the same way.
    for (const auto& [raw, trimmed] : Cases{{"  \t05:30 \r\n", "05:30"}, {"\u2003x  y\u3000", "x  y"},
                                            {"\u00A0Mecca\u2000", "Mecca"}, {" \t\u00a0", ""}, {"\u200dX", "\u200dX"}}) {
        EXPECT_EQ(text::trimmed(raw), trimmed);
        EXPECT_EQ(SearchText::trim(raw), trimmed);
    }
    // Reading stops before overflowing.
    for (const auto& [raw, value] : std::vector<std::pair<std::string, int64_t>>{
             {"  42abc", 42}, {"-7:30", -7}, {"+12", 12}, {"abc", 0}, {"", 0}, {"99999999999999999999", 999999999999999999}}) {
        EXPECT_EQ(text::integerValue(raw), value) << raw;
    }
    const auto leap = text::parseIsoDate("2024-02-29");
    ASSERT_TRUE(leap);
    EXPECT_EQ(std::tuple(leap->year, leap->month, leap->day), std::tuple(int64_t{2024}, int64_t{2}, int64_t{29}));
    for (const char* bad : {"2023-02-29", "2024-13-01", "2024-00-10", "2024-1-10", "24-01-10x", "2024/01/10",
                            "-123-01-01", "2024-01-1a", ""}) {
        EXPECT_FALSE(text::parseIsoDate(bad)) << bad;
    }
}

TEST(SearchText, SearchTermsAreCleanedAndCut) {
    EXPECT_EQ(SearchText::escapeForSearch("o'brien"), "o'brien") << "bound, so quotes stay as typed";
    EXPECT_EQ(SearchText::escapeForSearch(std::string("a\0b\x01\x7f", 5) + "c"), "abc");
    EXPECT_EQ(SearchText::escapeForSearch("50%_\\x"), "50%_\\x") << "wildcards and backslashes are harmless";
    EXPECT_EQ(SearchText::escapeForSearch("\xff\xfe"), "\ufffd\ufffd") << "malformed UTF-8 is replaced";
    EXPECT_EQ(SearchText::escapeForSearch("مكة"), "مكة");
    const std::string longTerm(5000, 'x');
    EXPECT_EQ(SearchText::escapeForSearch(longTerm).size(), SearchText::kMaxTermLength);
    // The cut counts characters, not bytes: each "\u00e9" is two bytes.
    std::string accents;
    for (int i = 0; i < 300; ++i) accents += "\u00e9";
    EXPECT_EQ(SearchText::escapeForSearch(accents).size(), 2 * SearchText::kMaxTermLength);
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
