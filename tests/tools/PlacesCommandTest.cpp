// The tarvo tool with places by name, in a fresh data folder and the shipped directory: a
// named place is the directory city's position, zone and country; an ambiguous name says
// which city was chosen, an unknown one fails with the closest names; no place is the
// selected saved city; cities add and select by name; the Hijri calendar choice; and errors
// and text in people's words.
#include <fmt/format.h>

#include "support/ToolHarness.h"

namespace tarvo {
namespace {

using test::Args;
using test::json;
using test::jsonOf;
using test::runTarvo;
using test::with;
using ::testing::HasSubstr;
using ::testing::Not;

class PlacesToolTest : public test::ToolTest {
protected:
    // The directory's first answer for a name, as `cities search` gives it.
    static json directoryCity(const std::string& name) { return jsonOf({"cities", "search", name, "--json"})[0]; }
    static Args at(const json& city) {
        return {"--lat", fmt::format("{:.17g}", city["latitude"].get<double>()), "--lon",
                fmt::format("{:.17g}", city["longitude"].get<double>()), "--tz", city["TimeZone"].get<std::string>(),
                "--country", city["countryName"].get<std::string>()};
    }
};

TEST_F(PlacesToolTest, ANamedPlaceIsTheDirectoryCitysPositionZoneAndCountry) {
    const Args day = {"--date", "2025-03-01", "--json"};
    const json istanbul = directoryCity("Istanbul");
    ASSERT_EQ(istanbul["TimeZone"], "Europe/Istanbul");
    const auto named = runTarvo(with({"times", "Istanbul"}, day));
    ASSERT_EQ(named.status, 0) << named.err;
    EXPECT_EQ(named.err, "") << "one Istanbul: nothing to choose";
    EXPECT_EQ(json::parse(named.out), jsonOf(with(with({"times"}, at(istanbul)), day)));
    EXPECT_EQ(jsonOf(with({"times", "--place", "istanbul", "--method", "3"}, day)),
              jsonOf(with(with({"times", "--method", "3"}, at(istanbul)), day)));
    // --lat given with the place wins over the directory's.
    EXPECT_NE(jsonOf(with({"times", "Istanbul", "--lat", "50"}, day))["hours"], json::parse(named.out)["hours"]);
    // Kuala Lumpur by name takes its official timetable where it covers the date.
    EXPECT_EQ(jsonOf({"times", "Kuala Lumpur", "--date", "2020-01-01", "--json"})["fixedTimings"], true);
    const json jakarta = directoryCity("Jakarta");
    EXPECT_EQ(jsonOf({"qibla", "Jakarta", "--json"}),
              jsonOf({"qibla", "--lat", fmt::format("{:.17g}", jakarta["latitude"].get<double>()), "--lon",
                      fmt::format("{:.17g}", jakarta["longitude"].get<double>()), "--json"}));
    // Machine output is the same in a Turkish or Saudi locale, and "Izmir" keeps its I.
    for (const char* locale : {"LC_ALL=tr_TR.UTF-8", "LC_ALL=ar_SA.UTF-8"}) {
        EXPECT_EQ(jsonOf(with({"times", "ISTANBUL"}, day), {locale}), json::parse(named.out)) << locale;
        EXPECT_EQ(jsonOf(with({"times", "Izmir"}, day), {locale}), jsonOf(with({"times", "izmir"}, day))) << locale;
    }
}

TEST_F(PlacesToolTest, AmbiguousNamesSayWhichAndUnknownNamesFailWithSuggestions) {
    const auto paris = runTarvo({"times", "Paris", "--date", "2026-03-01", "--json"});
    ASSERT_EQ(paris.status, 0) << paris.err;
    EXPECT_TRUE(paris.err.starts_with("tarvo: Paris, ")) << paris.err;
    for (const char* part : {"France (", " people); also: Paris", "United States"})
        EXPECT_THAT(paris.err, HasSubstr(part));
    EXPECT_EQ(json::parse(paris.out)["utcOffset"], "+01:00");
    EXPECT_EQ(jsonOf({"times", "Paris, US", "--date", "2026-03-01", "--json"})["utcOffset"].get<std::string>()[0], '-');
    EXPECT_EQ(jsonOf({"times", "Paris", "--country", "US", "--date", "2026-03-01", "--json"})["utcOffset"],
              jsonOf({"times", "Paris, US", "--date", "2026-03-01", "--json"})["utcOffset"]);

    EXPECT_TRUE(test::refuses(1, {"times", "Istanbull"}, "closest names: Istanbul ("));
    EXPECT_TRUE(test::refuses(1, {"qibla", "Xqzxqz"}));
    EXPECT_TRUE(test::refuses(2, {"times", "Paris", "--place", "Lyon"}));
    EXPECT_TRUE(test::refuses(2, {"times", "Paris", "--saved"}));
    EXPECT_TRUE(test::refuses(2, {"times", "--lat", "10"}));
}

TEST_F(PlacesToolTest, NoPlaceIsTheSelectedCityAndCitiesAreAddedAndSelectedByName) {
    EXPECT_EQ(jsonOf({"times", "--json"})["city"]["cityName"], "London");
    const std::string now = test::outputOf({"now"});
    EXPECT_THAT(now, HasSubstr("London"));
    EXPECT_THAT(now, Not(HasSubstr("Delegate"))) << "internal names only with --verbose";
    EXPECT_THAT(test::outputOf({"now", "--verbose"}), HasSubstr("Delegate: "));
    EXPECT_THAT(test::outputOf({}), HasSubstr("times"));

    const json makkah = jsonOf({"cities", "add", "Makkah", "--json"});
    const json directory = directoryCity("Makkah");
    EXPECT_EQ(makkah["cityName"], directory["cityName"]);
    EXPECT_EQ(makkah["countryName"], "Saudi Arabia");
    EXPECT_EQ(makkah["TimeZone"], "Asia/Riyadh");
    EXPECT_EQ(makkah["latitude"], directory["latitude"]);
    const json renamed = jsonOf({"cities", "add", "Paris, France", "--name", "Paris centre", "--method", "3", "--json"});
    EXPECT_EQ(renamed["cityName"], "Paris centre");
    EXPECT_EQ(renamed["prayerMethod"], 3);
    EXPECT_EQ(jsonOf({"times", "--json", "--date", "2026-03-01"})["city"]["cityName"], "Paris centre");

    const json selected = jsonOf({"cities", "select", makkah["cityName"].get<std::string>() + ", saudi arabia", "--json"});
    EXPECT_EQ(selected["primaryKey"], makkah["primaryKey"]);
    EXPECT_EQ(jsonOf({"qibla", "--json"}), jsonOf({"qibla", "Makkah", "--json"})) << "the selected city";
    jsonOf({"cities", "add", "--name", "Paris centre", "--country", "Canada", "--lat", "45", "--lon", "-75", "--tz",
            "America/Toronto", "--json"});
    EXPECT_TRUE(test::refuses(2, {"cities", "select", "PARIS CENTRE"}, "give the primary key"));
    EXPECT_TRUE(test::refuses(2, {"cities", "select", "Atlantis"}));
    EXPECT_TRUE(test::refuses(2, {"cities", "add", "--name", "X"}));
}

TEST_F(PlacesToolTest, HijriCalendarChoiceAndParserErrorsInPlainWords) {
    EXPECT_EQ(jsonOf({"hijri", "1", "1", "1446", "--calendar", "umalqura", "--json"})["date"], "2024-07-07");
    EXPECT_EQ(jsonOf({"hijri", "1", "1", "1446", "--json"})["date"], "2024-07-08") << "the default stays civil";
    ASSERT_EQ(runTarvo({"config", "set", "HijriCalendar", "1", "--type", "int"}).status, 0);
    EXPECT_THAT(test::outputOf({"config", "keys"}), HasSubstr("HijriCalendar"));
    EXPECT_EQ(jsonOf({"hijri", "1", "9", "1446", "--json"})["date"], "2025-03-01");
    EXPECT_EQ(jsonOf({"hijri", "--date", "2024-07-07", "--json"})["parts"][1], 1);
    EXPECT_EQ(jsonOf({"hijri", "1", "1", "1446", "--calendar", "civil", "--json"})["date"], "2024-07-08");

    // Errors in plain words, never the parser's own ("required but received", "excludes").
    for (const auto& [args, says] : std::vector<std::pair<Args, std::string>>{
             {{"hijri", "1", "9", "1445", "--calender", "umalqura"},
              "unknown option --calender; did you mean '--calendar'?"},
             {{"hijri", "1", "9", "1445", "8"}, "too many values"},
             {{"times", "Istanbul", "--format", "12", "--clock", "24"}, "give either --clock or --format, not both"}}) {
        const auto run = runTarvo(args);
        EXPECT_TRUE(test::failedWith(2, run, says));
        EXPECT_THAT(run.err, Not(HasSubstr("required but received")));
        EXPECT_THAT(run.err, Not(HasSubstr("excludes")));
    }
}

}  // namespace
}  // namespace tarvo
