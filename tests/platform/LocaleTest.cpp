// The current locale and the two language flags the configuration derives from it.
#include <cctype>

#include <gtest/gtest.h>

#include "platform/ChildProcess.h"
#include "platform/ScopedEnvironment.h"
#include "tarvo/platform/Locale.h"

namespace tarvo {
namespace {

using test::ScopedEnvironment;

// Puts the process's current locale back at the end of a test.
struct RestoreCurrentLocale {
    RestoreCurrentLocale() = default;
    ~RestoreCurrentLocale() { Locale::setCurrentLocale(saved); }
    RestoreCurrentLocale(const RestoreCurrentLocale&) = delete;
    RestoreCurrentLocale& operator=(const RestoreCurrentLocale&) = delete;
    const std::string saved = Locale::currentLocale().identifier();
};

class LocaleTest : public ::testing::Test {
protected:
    RestoreCurrentLocale restore;
};

TEST_F(LocaleTest, IdentifiersAreReadByIcu) {
    const Locale saudi("ar_SA@numbers=arab");
    EXPECT_EQ(saudi.identifier(), "ar_SA@numbers=arab");
    EXPECT_EQ(saudi.languageCode(), "ar");
    EXPECT_EQ(saudi.countryCode(), "SA");
    // Keywords come out in alphabetical order whatever order they came in.
    EXPECT_EQ(Locale("ar@numbers=arab;calendar=islamic").identifier(), "ar@calendar=islamic;numbers=arab");
    EXPECT_EQ(Locale("en_UK").countryCode(), "UK") << "kept as named, not corrected";
    EXPECT_EQ(Locale("ar_SA"), Locale("ar_SA"));
    EXPECT_EQ(Locale("").identifier(), "");
    EXPECT_EQ(Locale("").languageCode(), "");
}

TEST_F(LocaleTest, SetCurrentLocaleChangesTheProcessDefault) {
    Locale::setCurrentLocale("ar_EG");
    EXPECT_EQ(Locale::currentLocale().identifier(), "ar_EG");
    Locale::setCurrentLocale("en_GB");
    EXPECT_EQ(Locale::currentLocale().identifier(), "en_GB");
    EXPECT_EQ(Locale::currentLocale().languageCode(), "en");
}

struct FlagRow {
    const char* identifier;
    bool languageArabic;
    bool dateLanguageArabic;
};

void PrintTo(const FlagRow& row, std::ostream* out) { *out << row.identifier; }

class LocaleFlags : public ::testing::TestWithParam<FlagRow> {
protected:
    RestoreCurrentLocale restore;
};

TEST_P(LocaleFlags, FollowTheCurrentLocale) {
    Locale::setCurrentLocale(GetParam().identifier);
    EXPECT_EQ(Locale::isLanguageArabic(), GetParam().languageArabic);
    EXPECT_EQ(Locale::isDateLanguageArabic(), GetParam().dateLanguageArabic);
}

INSTANTIATE_TEST_SUITE_P(
    Locales, LocaleFlags,
    ::testing::Values(FlagRow{"ar_SA@numbers=arab", true, true}, FlagRow{"ar@numbers=arab", true, true},
                      FlagRow{"ar_SA", true, false}, FlagRow{"ar", true, false},
                      FlagRow{"ar_EG@numbers=latn", true, false},
                      // Other keywords sort after "numbers", so the identifier no longer ends with it.
                      FlagRow{"ar_SA@numbers=arab;rg=aezzzz", true, false},
                      FlagRow{"ar_SA@calendar=islamic;numbers=arab", true, true},
                      // Arabic varieties with codes of their own count as Arabic.
                      FlagRow{"arz_EG", true, false}, FlagRow{"ary_MA@numbers=arab", true, true},
                      FlagRow{"en_US@numbers=arab", false, false}, FlagRow{"en_GB", false, false},
                      FlagRow{"fa_IR@numbers=arab", false, false}, FlagRow{"ur_PK", false, false}),
    [](const ::testing::TestParamInfo<FlagRow>& p) {
        std::string name;
        for (const char c : std::string(p.param.identifier)) name += std::isalnum(static_cast<unsigned char>(c)) ? c : '_';
        return name;
    });

TEST_F(LocaleTest, EnvironmentNamesTheLocaleWithItsKeywords) {
    ScopedEnvironment environment;
    environment.unset("LC_ALL");
    environment.unset("LC_MESSAGES");
    struct Case {
        const char* lang;
        const char* identifier;
    };
    for (const Case& c : {Case{"ar@numbers=arab", "ar@numbers=arab"},
                          Case{"ar_SA.UTF-8@numbers=arab", "ar_SA@numbers=arab"},
                          Case{"ar_SA.UTF-8", "ar_SA"}, Case{"en_GB.ISO-8859-1", "en_GB"},
                          Case{"C.UTF-8", "en_US_POSIX"}, Case{"POSIX", "en_US_POSIX"}, Case{"", "en_US_POSIX"},
                          Case{"sr_RS@latin", "sr_RS_LATIN"}}) {
        environment.set("LANG", c.lang);
        EXPECT_EQ(Locale::environmentLocale().identifier(), c.identifier) << "LANG=" << c.lang;
    }
    environment.set("LANG", "en_US.UTF-8");
    environment.set("LC_MESSAGES", "fr_FR.UTF-8");
    EXPECT_EQ(Locale::environmentLocale().identifier(), "fr_FR");
    environment.set("LC_ALL", "ar_EG.UTF-8@numbers=arab");
    EXPECT_EQ(Locale::environmentLocale().identifier(), "ar_EG@numbers=arab");

    // An empty identifier makes the environment's locale current again.
    Locale::setCurrentLocale("en_GB");
    Locale::setCurrentLocale("");
    EXPECT_EQ(Locale::currentLocale().identifier(), "ar_EG@numbers=arab");
    EXPECT_TRUE(Locale::isDateLanguageArabic());
}

// What a fresh process, started with only LANG set, takes for its current locale.
std::string probe(const std::string& lang) {
    ScopedEnvironment environment;
    environment.unset("LC_ALL");
    environment.unset("LC_MESSAGES");
    environment.set("LANG", lang);
    test::ChildProcess child({TARVO_LOCALE_PROBE_PATH});
    EXPECT_EQ(child.wait(), 0) << child.err();
    std::string out = child.out();
    while (!out.empty() && out.back() == '\n') out.pop_back();
    return out;
}

TEST(LocaleAtStartUp, ProcessTakesItsLocaleFromTheEnvironment) {
    EXPECT_EQ(probe("ar@numbers=arab"), "ar@numbers=arab ar 1 1");
    EXPECT_EQ(probe("ar_SA.UTF-8@numbers=arab"), "ar_SA@numbers=arab ar 1 1");
    EXPECT_EQ(probe("ar_SA.UTF-8"), "ar_SA ar 1 0");
    EXPECT_EQ(probe("en_GB.UTF-8"), "en_GB en 0 0");
    EXPECT_EQ(probe("C.UTF-8"), "en_US_POSIX en 0 0");
}

}  // namespace
}  // namespace tarvo
