// The internal text helpers, and the rules that read names, under a Turkish default locale.
#include <gtest/gtest.h>

#include "platform/Text.h"
#include "tarvo/calculation/PrayerCalculator.h"
#include "tarvo/cities/TarvoCity.h"
#include "tarvo/platform/Locale.h"
#include "tarvo/platform/Log.h"

using tarvo::Locale;
using tarvo::PrayerCalculator;
namespace text = tarvo::text;

namespace {

// Under Turkish rules "I" lower-cases to the dotless "ı"; the library must not follow them.
class TurkishLocale : public testing::Test {
protected:
    TurkishLocale() { Locale::setCurrentLocale("tr_TR"); }
    ~TurkishLocale() override { Locale::setCurrentLocale(saved_); }
    const std::string saved_ = Locale::currentLocale().identifier();
};

}  // namespace

TEST_F(TurkishLocale, NamesLowerCaseTheSameEverywhere) {
    ASSERT_EQ(Locale::currentLocale().identifier(), "tr_TR");
    EXPECT_EQ(text::lowercased("INDIA"), "india");
    EXPECT_EQ(text::lowercased("India"), "india");
    EXPECT_EQ(text::lowercased("\u0130stanbul"), "i\u0307stanbul");  // dotted capital İ keeps its dot as a mark
    EXPECT_EQ(text::lowercased("\u00C7AD"), "\u00E7ad");
    EXPECT_TRUE(text::equalsIgnoringCase("SAUDI ARABIA", "saudi arabia"));
    EXPECT_FALSE(text::equalsIgnoringCase("Oman", "Yemen"));
    // The search's folding: case and marks go, other letters stay.
    EXPECT_EQ(text::folded("S\u00C3O PAULO"), "sao paulo");
    EXPECT_EQ(text::folded("\u0130STANBUL"), "istanbul");
    EXPECT_EQ(text::folded("Stra\u00DFe"), "strasse");
    EXPECT_EQ(text::folded("\u0623\u0628\u0647\u0627"), "\u0627\u0628\u0647\u0627");  // hamza on alef
    EXPECT_EQ(text::folded("Troms\u00F8"), "troms\u00F8");
    EXPECT_EQ(text::folded("\u0637\u0631\u064A\u0641\u200E\n"), "\u0637\u0631\u064A\u0641");  // direction mark

    EXPECT_EQ(PrayerCalculator::getAutoAsrMethodFromCountry(std::string("India")), 2);
    EXPECT_EQ(PrayerCalculator::getAutoAsrMethodFromCountry(std::string("PAKISTAN")), 2);
    EXPECT_EQ(PrayerCalculator::getAutoAsrMethodFromCountry(std::string("Indonesia")), 1);
    EXPECT_EQ(PrayerCalculator::time12ToHour("11:05 PM"), 11);
    EXPECT_EQ(PrayerCalculator::time12ToMinute("11:05 PM"), 5);

    EXPECT_EQ(tarvo::Log::levelFromName("INFO"), tarvo::Log::Level::info);
    EXPECT_EQ(tarvo::Log::levelFromName("VERBOSE"), tarvo::Log::Level::verbose);

    tarvo::TarvoCity city;
    city.setIsLoadingFromDB(true);  // no tracking, no preference mirroring
    city.setCountryName(std::string("SAUDI ARABIA"));
    EXPECT_TRUE(city.isCountrySaudiArabia());
}

TEST(Text, TrimsReadsIntegersAndDates) {
    EXPECT_EQ(text::trimmed("  \t05:30 \n"), "05:30");
    EXPECT_EQ(text::trimmed("\u2003x y\u3000"), "x y");      // em and ideographic spaces
    EXPECT_EQ(text::trimmed("\u00A0Mecca\u00A0"), "Mecca");  // no-break spaces are white space too
    EXPECT_EQ(text::trimmed(" \t "), "");

    EXPECT_EQ(text::integerValue("  42abc"), 42);
    EXPECT_EQ(text::integerValue("-7:30"), -7);
    EXPECT_EQ(text::integerValue("+12"), 12);
    EXPECT_EQ(text::integerValue("abc"), 0);
    EXPECT_EQ(text::integerValue(""), 0);
    EXPECT_EQ(text::integerValue("99999999999999999999"), 999999999999999999);  // stops before overflowing

    const auto leap = text::parseIsoDate("2024-02-29");
    ASSERT_TRUE(leap);
    EXPECT_EQ(leap->year, 2024);
    EXPECT_EQ(leap->month, 2u);
    EXPECT_EQ(leap->day, 29u);
    for (const char* bad : {"2023-02-29", "2024-13-01", "2024-00-10", "2024-1-10", "24-01-10x", "2024/01/10",
                            "-123-01-01", "2024-01-1a", ""}) {
        EXPECT_FALSE(text::parseIsoDate(bad)) << bad;
    }
}
