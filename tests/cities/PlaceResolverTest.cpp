// Place names resolved in the city directory: the biggest of a name and its rivals, a country
// or state after the comma, alternate names, letter case (the Turkish dotted I included), and
// the closest names when nothing matches; saved cities found by name.
#include <fmt/format.h>
#include <gtest/gtest.h>

#include "support/ResultValue.h"
#include "support/SmallDirectory.h"
#include "tarvo/cities/CityDirectory.h"
#include "tarvo/cities/PlaceResolver.h"
#include "tarvo/cities/TarvoCity.h"

namespace tarvo {
namespace {

std::vector<test::DumpCity> places() {
    return {
        {"Paris", 48.85341, 2.3488, "FR", "", 2138551, "Europe/Paris"},
        {"Paris", 33.66094, -95.55551, "US", "", 24171, "America/Chicago"},
        {"Paris", 36.30200, -88.32670, "US", "", 10156, "America/Chicago"},
        {"Richmond", 37.55376, -77.46026, "US", "", 226610, "America/New_York"},
        {"Richmond", 51.46171, -0.30018, "GB", "ENG", 20000, "Europe/London"},
        {"Kuala Lumpur", 3.1412, 101.68653, "MY", "", 1453975, "Asia/Kuala_Lumpur"},
        {"Istanbul", 41.01384, 28.94966, "TR", "", 14804116, "Europe/Istanbul"},
        {"Izmir", 38.41273, 27.13838, "TR", "", 2500603, "Europe/Istanbul"},
        {"Makkah al Mukarramah", 21.42664, 39.82563, "SA", "", 1323624, "Asia/Riyadh", "P", "Mecca,Makkah"},
    };
}

class PlaceResolverTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_EQ(small_.build().status, 0) << small_.build().err;
        directory_ = test::valueOrFailure(CityDirectory::open(small_.path()));
        ASSERT_TRUE(directory_);
    }
    ResolvedPlace resolve(const std::string& text, std::optional<std::string> country = {}) {
        return test::valueOrFailure(PlaceResolver(*directory_).resolve(text, std::move(country)));
    }
    // "name zone latitude population ambiguous|single, others <their populations>".
    static std::string summary(const ResolvedPlace& place) {
        std::string others;
        for (const auto& other : place.others) others += fmt::format(" {}", other.population.value_or(-1));
        return fmt::format("{} {} {} {} {}, others{}", place.city.name, place.city.timeZone, place.city.latitude,
                           place.city.population.value_or(-1), place.ambiguous ? "ambiguous" : "single", others);
    }
    std::string failure(const std::string& text, std::optional<std::string> country = {}) {
        return test::errorOrFailure(PlaceResolver(*directory_).resolve(text, std::move(country)));
    }

    test::SmallDirectory small_{places()};
    std::shared_ptr<CityDirectory> directory_;
};

TEST_F(PlaceResolverTest, TheBiggestOfANameIsChosenAndItsRivalsNamed) {
    const ResolvedPlace paris = resolve("paris");
    EXPECT_EQ(summary(paris), "Paris Europe/Paris 48.85341 2138551 ambiguous, others 24171 10156");
    ASSERT_EQ(paris.others.size(), 2u);
    EXPECT_EQ(paris.others[0].country, paris.others[1].country);
    EXPECT_NE(paris.others[0].country, paris.city.country);

    // One city of the name: nothing to choose between, an alternate name included.
    EXPECT_EQ(summary(resolve("  KUALA LUMPUR ")), "Kuala Lumpur Asia/Kuala_Lumpur 3.1412 1453975 single, others");
    EXPECT_EQ(summary(resolve("Makkah")), "Makkah al Mukarramah Asia/Riyadh 21.42664 1323624 single, others");
    // The dotted and dotless capitals of Turkish fold to the same letter as an ASCII I.
    for (const char* name : {"ISTANBUL", "İstanbul", "istanbul"}) EXPECT_EQ(resolve(name).city.name, "Istanbul") << name;
    for (const char* name : {"IZMIR", "İZMİR", "izmir"}) EXPECT_EQ(resolve(name).city.name, "Izmir") << name;
}

TEST_F(PlaceResolverTest, ACountryOrStateAfterTheCommaNarrowsTheChoice) {
    const std::string france = resolve("Paris").city.country;
    const std::string states = resolve("Paris").others[0].country;
    for (const char* text : {"Paris, US", "paris,us", "Paris, 840"}) {
        EXPECT_EQ(summary(resolve(text)), "Paris America/Chicago 33.66094 24171 ambiguous, others 10156") << text;
    }
    EXPECT_EQ(resolve("Paris, " + states).city.population, 24171);
    const ResolvedPlace fr = resolve("Paris", "FR");
    EXPECT_EQ(fr.city.country, france);
    EXPECT_FALSE(fr.ambiguous);
    EXPECT_EQ(resolve("Paris, France", "fr").city.population, 2138551);
    EXPECT_NE(failure("Paris, France", "US").find("not in"), std::string::npos);

    // A state: Richmond in England rather than the bigger one in Virginia.
    const ResolvedPlace richmond = resolve("Richmond, england");
    EXPECT_EQ(summary(richmond), "Richmond Europe/London 51.46171 20000 single, others");
    EXPECT_EQ(richmond.city.description(), "Richmond, England, " + richmond.city.country);
    EXPECT_EQ(resolve("Richmond").city.timeZone, "America/New_York");
}

TEST_F(PlaceResolverTest, FailuresSayWhatIsWrongAndNameTheClosestNames) {
    EXPECT_NE(failure("Istanbull").find("closest names: Istanbul ("), std::string::npos) << failure("Istanbull");
    EXPECT_NE(failure("Kaula Lumpur").find("Kuala Lumpur ("), std::string::npos) << failure("Kaula Lumpur");
    EXPECT_NE(failure("Izmirr", "TR").find("Izmir ("), std::string::npos);
    const std::string elsewhere = failure("Paris, Narnia");
    EXPECT_NE(elsewhere.find("in Narnia"), std::string::npos) << elsewhere;
    EXPECT_NE(elsewhere.find("Paris ("), std::string::npos) << elsewhere;
    EXPECT_NE(failure("Paris", "Narnia").find("no country 'Narnia'"), std::string::npos);
    EXPECT_EQ(failure(" , France"), "no place name given");
    EXPECT_NE(failure("Qqqqqqqq").find("no place named 'Qqqqqqqq'"), std::string::npos);
}

TEST(SavedCityNames, FoundByNameOrNameAndCountryIgnoringCaseAndAccents) {
    auto city = [](const char* name, const char* country) {
        auto c = std::make_shared<TarvoCity>();
        c->setIsLoadingFromDB(true);
        c->setCityName(name);
        c->setCountryName(country);
        return c;
    };
    const std::vector<std::shared_ptr<TarvoCity>> saved = {city("Paris", "France"), city("Paris", "United States"),
                                                           city("São Paulo", "Brazil")};
    EXPECT_EQ(PlaceResolver::named(saved, "PARIS").size(), 2u);
    ASSERT_EQ(PlaceResolver::named(saved, "paris,united states").size(), 1u);
    EXPECT_EQ(PlaceResolver::named(saved, "Paris, France").front(), saved[0]);
    EXPECT_EQ(PlaceResolver::named(saved, "sao paulo").front(), saved[2]);
    EXPECT_TRUE(PlaceResolver::named(saved, "Pari").empty());
}

}  // namespace
}  // namespace tarvo
