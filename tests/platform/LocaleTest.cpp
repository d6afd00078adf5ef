// The current locale and the two language flags the configuration derives from it.
#include <gtest/gtest.h>

#include "support/DataFolder.h"
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
         {Row{"ar_SA@numbers=arab", true, true}, Row{"ar@numbers=arab", true, true}, Row{"ar_SA", true, false},
          Row{"ar_EG@numbers=latn", true, false},
          // Other keywords sort after "numbers", so the identifier no longer ends with it.
          Row{"ar_SA@numbers=arab;rg=aezzzz", true, false}, Row{"ar_SA@calendar=islamic;numbers=arab", true, true},
          // Arabic varieties with codes of their own count as Arabic, by design.
          Row{"arz_EG", true, false}, Row{"ary_MA@numbers=arab", true, true}, Row{"en_US@numbers=arab", false, false},
          Row{"fa_IR@numbers=arab", false, false}, Row{"ur_PK", false, false}}) {
        Locale::setCurrentLocale(identifier);
        EXPECT_EQ(Locale::currentLocale().identifier(), identifier);
        EXPECT_EQ(Locale::isLanguageArabic(), language) << identifier;
        EXPECT_EQ(Locale::isDateLanguageArabic(), date) << identifier;
    }
}

TEST_F(LocaleTest, EnvironmentNamesTheLocaleWithItsKeywords) {
    tarvo::test::ScopedEnvironment environment;
    environment.unset("LC_ALL");
    environment.unset("LC_MESSAGES");
    const std::pair<const char*, const char*> cases[] = {
        {"ar_SA.UTF-8@numbers=arab", "ar_SA@numbers=arab"}, {"ar_SA.UTF-8", "ar_SA"}, {"en_GB.ISO-8859-1", "en_GB"},
        {"C.UTF-8", "en_US_POSIX"}, {"", "en_US_POSIX"}, {"sr_RS@latin", "sr_RS_LATIN"}};
    for (const auto& [lang, identifier] : cases) {
        environment.set("LANG", lang);
        EXPECT_EQ(Locale::environmentLocale().identifier(), identifier) << "LANG=" << lang;
    }
    environment.set("LC_MESSAGES", "fr_FR.UTF-8");
    EXPECT_EQ(Locale::environmentLocale().identifier(), "fr_FR");
    environment.set("LC_ALL", "ar_EG.UTF-8@numbers=arab");
    // An empty identifier makes the environment's locale current again.
    Locale::setCurrentLocale("");
    EXPECT_EQ(Locale::currentLocale().identifier(), "ar_EG@numbers=arab");
    EXPECT_TRUE(Locale::isDateLanguageArabic());
}

TEST(LocaleAtStartUp, ProcessTakesItsLocaleFromTheEnvironment) {
    const std::pair<const char*, const char*> cases[] = {{"ar@numbers=arab", "ar@numbers=arab ar 1 1\n"},
                                                         {"ar_SA.UTF-8@numbers=arab", "ar_SA@numbers=arab ar 1 1\n"},
                                                         {"ar_SA.UTF-8", "ar_SA ar 1 0\n"},
                                                         {"C.UTF-8", "en_US_POSIX en 0 0\n"}};
    for (const auto& [lang, expected] : cases) {
        const auto probe = tarvo::test::runProcess(TARVO_LOCALE_PROBE_PATH, {},
                                                   {"LC_ALL", "LC_MESSAGES", std::string("LANG=") + lang});
        EXPECT_EQ(probe.status, 0) << probe.err;
        EXPECT_EQ(probe.out, expected) << lang;
    }
}
