// tarvo cities search|countries|country|nearest on the shipped directory, in a
// fresh data folder: the answers' shapes, the statuses, and damaged or crafted directory files.
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "support/DataFolder.h"
#include "support/RunProcess.h"
#include "support/SqliteScript.h"

namespace tarvo {
namespace {

using json = nlohmann::json;
using test::runTarvo;

class CitiesDirectoryToolTest : public ::testing::Test {
protected:
    static json jsonOf(const std::vector<std::string>& args, int status = 0) {
        const auto run = runTarvo(args);
        EXPECT_EQ(run.status, status) << run.err;
        return json::parse(run.out, nullptr, false);
    }

    test::ScopedDataFolder folder_;
    test::ScopedEnvironment environment_;
};

TEST_F(CitiesDirectoryToolTest, ShippedDirectoryAnswersNearestSearchAndCountries) {
    environment_.unset("TARVO_DIRECTORY");
    const json makkah = jsonOf({"cities", "nearest", "--lat", "21.4225", "--lon", "39.8262", "--json"});
    EXPECT_EQ(makkah["cityName"].dump() + makkah["countryName"].dump() + makkah["TimeZone"].dump(),
              R"("Makkah al Mukarramah""Saudi Arabia""Asia/Riyadh")");
    EXPECT_LT(makkah["distanceKm"].get<double>(), 1.0);
    const auto text = runTarvo({"cities", "nearest", "--lat", "21.4225", "--lon", "39.8262"});
    EXPECT_EQ(text.out.rfind("Makkah al Mukarramah, Saudi Arabia [ 21.43 N : 39.83 E ] Asia/Riyadh, 0.", 0), 0u)
        << text.out;

    // The ranking is the library's (tests/cities); here the first answer and the empty one.
    EXPECT_EQ(jsonOf({"cities", "search", "mecca", "--json"})[0]["cityName"], "Makkah al Mukarramah");
    const auto none = runTarvo({"cities", "search", "xqzxqz", "--json"});
    EXPECT_EQ(none.status, 1);
    EXPECT_NE(none.err.find("matches 'xqzxqz'"), std::string::npos) << none.err;
    EXPECT_EQ(none.out, "[]\n");

    const json countries = jsonOf({"cities", "countries", "--json"});
    const json britain = {{"id", 826}, {"code", "GB"}, {"name", "United Kingdom"}};
    EXPECT_NE(std::find(countries.begin(), countries.end(), britain), countries.end());
    EXPECT_EQ(jsonOf({"cities", "country", "norway", "--json"})[0]["countryName"], "Norway");
    // Mid-Pacific: nothing within 50 km.
    const auto far = runTarvo({"cities", "nearest", "--lat", "0", "--lon", "-150"});
    EXPECT_EQ(far.status, 1);
    EXPECT_NE(far.err.find("no directory city within 50 km"), std::string::npos) << far.err;
}

TEST_F(CitiesDirectoryToolTest, BadInputIsOneLineAndStatus2) {
    test::TempFolder scratch;
    test::writeBytes(scratch / "junk.sqlite", "this is no database");
    // Crafted and damaged directories: a view or a trigger among the tables, pages overwritten.
    const std::string columns = "(name, country, lat, lon, timezone, sinlat, coslat, sinlng, coslng)";
    ASSERT_TRUE(test::runSql(scratch / "view.sqlite", "CREATE TABLE countries(id, code, name); CREATE TABLE base" +
                                                          columns + "; CREATE VIEW cities AS SELECT * FROM base"));
    ASSERT_TRUE(test::runSql(scratch / "trigger.sqlite", "CREATE TABLE countries(id, code, name); CREATE TABLE cities" +
                                                             columns + "; CREATE TRIGGER t AFTER INSERT ON cities BEGIN "
                                                                       "SELECT 1; END"));
    // Three leaf pages of the cities table overwritten; the listing reads every one.
    const std::string page = test::queryText(TARVO_SHIPPED_CITY_DIRECTORY,
                                             "SELECT pageno FROM dbstat WHERE name = 'cities' AND pagetype = 'leaf' "
                                             "ORDER BY pageno LIMIT 1 OFFSET 200");
    ASSERT_FALSE(page.empty());
    std::string damaged = test::readBytes(TARVO_SHIPPED_CITY_DIRECTORY);
    for (size_t p = std::stoul(page) - 1; p < std::stoul(page) + 2; ++p) damaged.replace(p * 4096, 64, 64, '\xff');
    test::writeBytes(scratch / "damaged.sqlite", damaged);
    const auto in = [&](const char* file) { return (scratch / file).string(); };
    const std::vector<std::pair<std::vector<std::string>, std::string>> bad = {
        {{"nearest", "--lat", "91", "--lon", "0"}, ""}, {{"nearest", "--lat", "0", "--lon", "0", "--km", "ten"}, ""},
        {{"search", "x", "--directory", in("missing.sqlite")}, "missing.sqlite"},
        {{"countries", "--directory", in("junk.sqlite")}, "junk.sqlite"}, {{"country", "Atlantis"}, ""}, {{"search"}, ""},
        {{"search", "x", "--directory", in("view.sqlite")}, "holds the view 'cities'"},
        {{"search", "x", "--directory", in("trigger.sqlite")}, ""},
    };
    for (auto [args, message] : bad) {
        args.insert(args.begin(), "cities");
        const auto run = runTarvo(args);
        EXPECT_TRUE(test::failedWith(2, run)) << args[1] << " " << args.back();
        EXPECT_NE(run.err.find(message), std::string::npos) << run.err;
    }
    // SQLite's own lines about the damage come first; the tool's verdict ends the output.
    const auto damagedRun = runTarvo({"cities", "search", "lon", "--listing", "--directory", (scratch / "damaged.sqlite").string()});
    EXPECT_EQ(damagedRun.status, 2);
    EXPECT_TRUE(damagedRun.out.empty()) << damagedRun.out;
    const std::string verdict = "tarvo: cannot use the city directory: " + (scratch / "damaged.sqlite").string() +
                                ": damaged (*** in database main *** Page ";
    EXPECT_NE(damagedRun.err.find(verdict), std::string::npos) << damagedRun.err;
    EXPECT_EQ(test::readBytes(scratch / "junk.sqlite"), "this is no database");
    EXPECT_FALSE(std::filesystem::exists(scratch / "missing.sqlite"));
}

}  // namespace
}  // namespace tarvo
