// The current locale and the two language flags the configuration derives from it.
#include <gtest/gtest.h>

#include "support/RunProcess.h"
#include "tarvo/platform/Locale.h"

using tarvo::Locale;

namespace {

// Puts the process's current locale back at the end of a test.
class LocaleTest : public ::testing::Test {
protected:
    ~LocaleTest() override { Locale::setCurrentLocale(saved_); }
    const std::string saved_ = Locale::currentLocale().identifier();
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
