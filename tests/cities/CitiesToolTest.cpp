// The tarvo tool's cities commands and times --saved, run as a separate process in a fresh
// data folder.
#include <gtest/gtest.h>
#include <sqlite3.h>

#include <algorithm>

#include <nlohmann/json.hpp>

#include "cities/SavedCitiesTestSupport.h"
#include "platform/ChildProcess.h"
#include "platform/ScopedDataFolder.h"
#include "platform/ScopedEnvironment.h"
#include "platform/SqliteScript.h"
#include "tarvo/cities/UserDatabase.h"
#include "tarvo/platform/SqliteDatabase.h"

namespace tarvo {
namespace {

using json = nlohmann::json;
using test::ChildProcess;
using test::ScopedDataFolder;
using test::ScopedEnvironment;
using test::TempFolder;

struct ToolRun {
    int status;
    std::string out;
    std::string err;
};

ToolRun runTool(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), TARVO_TOOL_PATH);
    ChildProcess child(arguments);
    const int status = child.wait();
    return {status, child.out(), child.err()};
}

size_t lineCount(const std::string& text) { return static_cast<size_t>(std::count(text.begin(), text.end(), '\n')); }

size_t occurrences(const std::string& text, const std::string& part) {
    size_t n = 0;
    for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++n;
    return n;
}

class CitiesToolTest : public ::testing::Test {
protected:
    std::filesystem::path userPath() const { return folder_ / std::string(UserDatabase::kFileName); }

    json savedCities() {
        const ToolRun run = runTool({"cities", "saved", "--json"});
        EXPECT_EQ(run.status, 0) << run.err;
        return json::parse(run.out);
    }

    // The parts of a times --json answer that the place and settings decide.
    static json timesOf(const ToolRun& run) {
        EXPECT_EQ(run.status, 0) << run.err;
        json all = json::parse(run.out);
        return {all["hours"], all["text"], all["method"], all["asr"], all["highlat"], all["fixedTimings"]};
    }

    void insertRow(const std::string& values) {
        ASSERT_TRUE(test::runSql(userPath(),
                                 "INSERT INTO savedcities (current_city, country_name, city_name, latitude, longitude, "
                                 "gmt, uses_dst, prayermethod, asrmethod, adjusthighlat, custom_fajrangle, "
                                 "custom_ishaangle, timezone, state_name) VALUES " +
                                     values));
    }

    ScopedDataFolder folder_;
    ScopedEnvironment environment_;
};

TEST_F(CitiesToolTest, AddedCityIsSelectedAndTimesSavedUsesItsSettings) {
    const ToolRun add = runTool({"cities", "add", "--name", "Makkah", "--country", "Saudi Arabia", "--lat", "21.4225", "--lon",
                           "39.8262", "--tz", "Asia/Riyadh", "--method", "4", "--asr", "2", "--json"});
    ASSERT_EQ(add.status, 0) << add.err;
    const json makkah = json::parse(add.out);
    EXPECT_EQ(makkah["cityName"], "Makkah");
    EXPECT_EQ(makkah["GMT"], 50.0);
    EXPECT_EQ(makkah["isSelectedCity"], true);

    const ToolRun add2 = runTool({"cities", "add", "--name", "Tromso", "--country", "Norway", "--state", "Troms", "--lat",
                            "69.65", "--lon", "18.96", "--tz", "Europe/Oslo", "--highlat", "3", "--dst", "2", "--gmt",
                            "1"});
    ASSERT_EQ(add2.status, 0) << add2.err;
    json list = savedCities();
    ASSERT_EQ(list.size(), 2u);
    EXPECT_EQ(list[0]["primaryKey"], makkah["primaryKey"]);
    EXPECT_EQ(list[0]["isSelectedCity"], false) << "adding makes the new city the only selection";
    EXPECT_EQ(list[1]["isSelectedCity"], true);
    for (const char* field : {"primaryKey", "cityName", "countryName", "stateName", "latitude", "longitude", "TimeZone",
                              "GMT", "DSTPreference", "prayerMethod", "asrMethod", "adjustHighLatitude",
                              "isSelectedCity"}) {
        EXPECT_TRUE(list[1].contains(field)) << field;
    }
    EXPECT_EQ(list[1]["stateName"], "Troms");
    EXPECT_EQ(list[1]["GMT"], 1.0);
    EXPECT_EQ(list[1]["DSTPreference"], 2);

    // Tromso: fixed offset 1 with daylight saving forced off, angle-based high-latitude rule.
    const std::string date = "2024-06-21";
    EXPECT_EQ(timesOf(runTool({"times", "--saved", "--date", date, "--json"})),
              timesOf(runTool({"times", "--lat", "69.65", "--lon", "18.96", "--tz", "Europe/Oslo", "--highlat", "3",
                             "--dst", "2", "--gmt", "1", "--city", "Tromso", "--country", "Norway", "--date", date,
                             "--json"})));
    const ToolRun text = runTool({"times", "--saved", "--date", date});
    EXPECT_EQ(text.status, 0);
    EXPECT_NE(text.out.find("Tromso, Norway"), std::string::npos) << text.out;

    // Makkah again: Umm Al-Qura, Hanafi, offset from the zone.
    const ToolRun select = runTool({"cities", "select", makkah["primaryKey"].dump()});
    ASSERT_EQ(select.status, 0) << select.err;
    const json makkahTimes = timesOf(runTool({"times", "--saved", "--date", date, "--json"}));
    EXPECT_EQ(makkahTimes,
              timesOf(runTool({"times", "--lat", "21.4225", "--lon", "39.8262", "--tz", "Asia/Riyadh", "--method", "4",
                             "--asr", "2", "--city", "Makkah", "--country", "Saudi Arabia", "--date", date,
                             "--json"})));
    EXPECT_EQ(makkahTimes[2], 4);
    EXPECT_EQ(makkahTimes[3], 2);
}

TEST_F(CitiesToolTest, TimesSavedAppliesCustomAnglesDaylightRuleAndBothOffsetMarkers) {
    ASSERT_EQ(runTool({"cities", "saved"}).status, 0);  // creates the database
    // Rows a host wrote: a custom-method city with its angles and the old offset marker, and
    // a city on a fixed offset with daylight saving forced off (Santiago is on summer time
    // in January, so the rule moves its times by an hour).
    insertRow("(0, 'Canada', 'Calgary', 51.05, -114.07, -100, 0, 6, 1, 0, 16.5, 14.5, 'America/Edmonton', ''), "
              "(0, 'Chile', 'Santiago', -33.45, -70.67, -4, 2, 5, 1, 0, 20.0, 20.0, 'America/Santiago', '')");
    const json list = savedCities();
    ASSERT_EQ(list.size(), 2u);
    const std::string date = "2024-01-15";

    ASSERT_EQ(runTool({"cities", "select", list[0]["primaryKey"].dump()}).status, 0);
    EXPECT_EQ(timesOf(runTool({"times", "--saved", "--date", date, "--json"})),
              timesOf(runTool({"times", "--lat", "51.05", "--lon", "-114.07", "--tz", "America/Edmonton", "--method",
                             "6", "--asr", "1", "--fajr-angle", "16.5", "--isha-angle", "14.5", "--city", "Calgary",
                             "--country", "Canada", "--date", date, "--json"})));

    // Not the custom method: its stored angles are ignored.
    ASSERT_EQ(runTool({"cities", "select", list[1]["primaryKey"].dump()}).status, 0);
    EXPECT_EQ(timesOf(runTool({"times", "--saved", "--date", date, "--json"})),
              timesOf(runTool({"times", "--lat", "-33.45", "--lon", "-70.67", "--tz", "America/Santiago", "--method",
                             "5", "--asr", "1", "--dst", "2", "--gmt", "-4", "--city", "Santiago", "--country",
                             "Chile", "--date", date, "--json"})));

    // Deleting the selected city leaves no selection: London.
    const ToolRun removed = runTool({"cities", "delete", list[1]["primaryKey"].dump()});
    ASSERT_EQ(removed.status, 0) << removed.err;
    const ToolRun london = runTool({"times", "--saved", "--date", date, "--json"});
    ASSERT_EQ(london.status, 0) << london.err;
    EXPECT_EQ(json::parse(london.out)["city"]["cityName"], "London");
    EXPECT_EQ(savedCities().size(), 1u);
}

TEST_F(CitiesToolTest, OldDatabaseIsUpgradedOnceAndKeepsItsRows) {
    ASSERT_TRUE(test::runSql(userPath(), test::kBaseLayoutSql));
    ASSERT_TRUE(test::runSql(userPath(),
                             "INSERT INTO savedcities VALUES (4, 1, 'Turkey', 'Istanbul', 41.01, 28.98, 3, 0, 2, 2, 0, 0);"
                             "INSERT INTO savedcities VALUES (8, 0, 'Kenya', 'Nairobi', -1.29, 36.82, 3, 0, 1, 1, 0, 0);"));
    environment_.set("TARVO_LOG_LEVEL", "verbose");
    const ToolRun first = runTool({"cities", "saved", "--json"});
    ASSERT_EQ(first.status, 0) << first.err;
    EXPECT_EQ(occurrences(first.err, "[DB] UPDATE Schema"), 3u);
    EXPECT_EQ(occurrences(first.err, "Schema ERROR"), 0u);
    const json list = json::parse(first.out);
    ASSERT_EQ(list.size(), 2u);
    EXPECT_EQ(list[0]["primaryKey"], 4);
    EXPECT_EQ(list[0]["isSelectedCity"], true);
    EXPECT_EQ(list[1]["cityName"], "Nairobi");

    const ToolRun second = runTool({"cities", "saved", "--json"});
    ASSERT_EQ(second.status, 0) << second.err;
    EXPECT_EQ(occurrences(second.err, "[DB] UPDATE Schema"), 0u);
    EXPECT_EQ(json::parse(second.out), list);
}

TEST_F(CitiesToolTest, UnusableDatabaseFileIsNeverChanged) {
    const char raw[] = "not a database\0\xff\xfe binary tail";
    const std::string garbage(raw, sizeof(raw) - 1);
    TempFolder::writeFile(userPath(), garbage);
    const std::vector<std::vector<std::string>> commands = {
        {"cities", "saved"},
        {"cities", "saved", "--json"},
        {"cities", "add", "--name", "Lahore", "--country", "Pakistan", "--lat", "31.55", "--lon", "74.34", "--tz",
         "Asia/Karachi"},
        {"cities", "select", "1"},
        {"cities", "delete", "1"},
        {"times", "--saved"},
    };
    for (const auto& command : commands) {
        const ToolRun run = runTool(command);
        EXPECT_EQ(run.status, 2) << command[1];
        EXPECT_EQ(lineCount(run.err), 1u) << run.err;
        EXPECT_NE(run.err.find("not an SQLite database"), std::string::npos) << run.err;
        EXPECT_TRUE(run.out.empty()) << run.out;
        const auto bytes = TempFolder::readFile(userPath());
        EXPECT_EQ(std::string(bytes.begin(), bytes.end()), garbage) << command[1];
    }
}

TEST_F(CitiesToolTest, BadInputIsRefusedAndChangesNothing) {
    ASSERT_EQ(runTool({"cities", "add", "--name", "Jakarta", "--country", "Indonesia", "--lat", "-6.2", "--lon",
                     "106.85", "--tz", "Asia/Jakarta"})
                  .status,
              0);
    const json before = savedCities();
    const std::string pk = before[0]["primaryKey"].dump();
    const std::string unknown = std::to_string(before[0]["primaryKey"].get<int64_t>() + 1);

    // Usage errors found after parsing: one line, status 2.
    for (const auto& command : std::vector<std::vector<std::string>>{
             {"cities", "delete", unknown},
             {"cities", "select", unknown},
             {"cities", "add", "--name", "X", "--country", "Y", "--lat", "1", "--lon", "2", "--tz", "Nowhere/City"},
             {"cities", "add", "--name", "", "--country", "Y", "--lat", "1", "--lon", "2", "--tz", "UTC"},
             {"times", "--saved", "--lat", "1"},
             {"times", "--saved", "--method", "3"},
             {"times", "--lat", "1", "--lon", "2"},
         }) {
        const ToolRun run = runTool(command);
        EXPECT_EQ(run.status, 2) << command[1] << " " << command[2];
        EXPECT_EQ(lineCount(run.err), 1u) << run.err;
    }
    // Malformed numbers are refused while parsing.
    for (const auto& command : std::vector<std::vector<std::string>>{
             {"cities", "delete", "first"},
             {"cities", "select", "1.5"},
             {"cities", "add", "--name", "X", "--country", "Y", "--lat", "north", "--lon", "2", "--tz", "UTC"},
             {"cities", "add", "--name", "X", "--country", "Y", "--lat", "1", "--lon", "2", "--tz", "UTC", "--method",
              "9"},
             {"cities", "add", "--name", "X", "--country", "Y", "--lat", "1", "--lon", "2", "--tz", "UTC", "--gmt",
              "5h"},
         }) {
        EXPECT_EQ(runTool(command).status, 2) << command[1] << " " << command[2];
    }
    EXPECT_EQ(savedCities(), before);

    const ToolRun removed = runTool({"cities", "delete", pk, "--json"});
    ASSERT_EQ(removed.status, 0) << removed.err;
    EXPECT_EQ(json::parse(removed.out)["cityName"], "Jakarta");
    EXPECT_TRUE(savedCities().empty());
}

}  // namespace
}  // namespace tarvo
