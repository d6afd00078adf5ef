// The tarvo tool's cities commands and times --saved, run as a separate process in a fresh
// data folder.
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "support/DataFolder.h"
#include "support/RunProcess.h"
#include "support/SqliteScript.h"
#include "tarvo/cities/UserDatabase.h"

namespace tarvo {
namespace {

using json = nlohmann::json;
using test::runTarvo;

class CitiesToolTest : public ::testing::Test {
protected:
    json savedCities() {
        const auto run = runTarvo({"cities", "saved", "--json"});
        EXPECT_EQ(run.status, 0) << run.err;
        return json::parse(run.out);
    }
    // The parts of a times --json answer that the place and settings decide.
    static json timesOf(std::vector<std::string> args) {
        args.insert(args.begin(), "times");
        args.insert(args.end(), {"--date", "2024-06-21", "--json"});
        const auto run = runTarvo(args);
        EXPECT_EQ(run.status, 0) << run.err;
        const json all = json::parse(run.out);
        return {all["hours"], all["text"], all["method"], all["asr"], all["highlat"], all["fixedTimings"]};
    }

    // cities add NAME COUNTRY LAT LON TZ [more options...], which must succeed.
    static test::ProcessResult add(std::vector<std::string> args, const std::vector<std::string>& environment = {}) {
        const std::vector<std::string> options = {"--name", "--country", "--lat", "--lon", "--tz"};
        for (size_t i = 0; i < options.size(); ++i) args.insert(args.begin() + static_cast<long>(2 * i), options[i]);
        args.insert(args.begin(), {"cities", "add"});
        auto run = runTarvo(args, environment);
        EXPECT_EQ(run.status, 0) << run.err;
        return run;
    }

    test::ScopedDataFolder folder_;
};

TEST_F(CitiesToolTest, AddedCityIsSelectedAndTimesSavedUsesItsSettings) {
    const json makkah = json::parse(
        add({"Makkah", "Saudi Arabia", "21.4225", "39.8262", "Asia/Riyadh", "--method", "4", "--asr", "2", "--json"}).out);
    EXPECT_EQ(makkah["GMT"], 50.0);
    add({"Tromso", "Norway", "69.65", "18.96", "Europe/Oslo", "--state", "Troms", "--highlat", "3", "--dst", "2", "--gmt", "1"});
    const json list = savedCities();
    ASSERT_EQ(list.size(), 2u);
    EXPECT_EQ(list[1]["stateName"], "Troms");
    // Tromso: fixed offset 1 with daylight saving forced off, angle-based high-latitude rule.
    EXPECT_EQ(timesOf({"--saved"}), timesOf({"--lat", "69.65", "--lon", "18.96", "--tz", "Europe/Oslo", "--highlat", "3",
                                             "--dst", "2", "--gmt", "1", "--city", "Tromso", "--country", "Norway"}));
    ASSERT_EQ(runTarvo({"cities", "select", makkah["primaryKey"].dump()}).status, 0);
    EXPECT_EQ(timesOf({"--saved"}), timesOf({"--lat", "21.4225", "--lon", "39.8262", "--tz", "Asia/Riyadh", "--method",
                                             "4", "--asr", "2", "--city", "Makkah", "--country", "Saudi Arabia"}));

    // A row a host wrote, with terminal controls in its names (its settings are read as in tests/cities).
    ASSERT_TRUE(test::runSql(UserDatabase::defaultPath(),
                             "INSERT INTO savedcities (current_city, country_name, city_name, latitude, longitude, gmt, "
                             "uses_dst, prayermethod, asrmethod, adjusthighlat, custom_fajrangle, custom_ishaangle, "
                             "timezone, state_name) VALUES (0, 'Canada', 'Calgary', 51.05, -114.07, -100, 0, 6, 1, 0, "
                             "16.5, 14.5, 'America/Edmonton', char(27) || '[31mAlberta' || char(8238))"));
    const std::string calgary = savedCities()[2]["primaryKey"].dump();
    // Terminal controls in stored names are not shown; JSON keeps the stored text.
    EXPECT_EQ(savedCities()[2]["stateName"], "\x1b[31mAlberta\u202e");
    const std::string shown = runTarvo({"cities", "saved"}).out;
    EXPECT_NE(shown.find("Calgary ([31mAlberta) "), std::string::npos) << shown;
    const auto removed = runTarvo({"cities", "delete", calgary, "--json"});
    ASSERT_EQ(removed.status, 0) << removed.err;
    EXPECT_EQ(json::parse(removed.out)["cityName"], "Calgary");
    EXPECT_EQ(savedCities().size(), 2u);
}

TEST_F(CitiesToolTest, BadInputIsAOneLineErrorAndChangesNothing) {
    add({"Jakarta", "Indonesia", "-6.2", "106.85", "Asia/Jakarta"});
    const json before = savedCities();
    const std::string unknown = std::to_string(before[0]["primaryKey"].get<int64_t>() + 1);
    const std::vector<std::string> add = {"cities", "add", "--name", "X", "--country", "Y", "--lat", "1", "--lon", "2"};
    auto with = [&](std::vector<std::string> extra) {
        extra.insert(extra.begin(), add.begin(), add.end());
        return extra;
    };
    for (const auto& command : std::vector<std::vector<std::string>>{
             {"cities", "delete", unknown}, {"cities", "select", unknown}, {"cities", "delete", "first"},
             {"cities", "select", "1.5"}, with({"--tz", "Nowhere/City"}), with({"--tz", "UTC", "--method", "99"}),
             with({"--tz", "UTC", "--gmt", "5h"}), with({"--tz", "UTC", "--lat", "north"}),
             {"cities", "add", "--name", "", "--country", "Y", "--lat", "1", "--lon", "2", "--tz", "UTC"},
             {"times", "--saved", "--lat", "1"}, {"times", "--saved", "--method", "3"}, {"times", "--lat", "1", "--lon", "2"}}) {
        EXPECT_TRUE(test::failedWith(2, runTarvo(command))) << command[1] << " " << command[2];
    }
    EXPECT_EQ(savedCities(), before);
}

TEST_F(CitiesToolTest, UnusableDatabaseFileIsNeverChanged) {
    const char raw[] = "not a database\0\xff\xfe binary tail";
    test::TempFolder elsewhere;
    ASSERT_TRUE(test::runSql(elsewhere / "notes.sqlite", "CREATE TABLE notes(body TEXT)"));
    const auto file = UserDatabase::defaultPath();
    const auto target = elsewhere / "cities.sqlite";
    struct Case {
        std::string bytes;  // "" for a link to a missing file elsewhere
        std::string reason;
    };
    for (const auto& [bytes, reason] : {Case{std::string(raw, sizeof(raw) - 1), "not an SQLite database"},
                                        Case{test::readBytes(elsewhere / "notes.sqlite"), "another program's database"},
                                        Case{"", "symbolic link"}}) {
        std::filesystem::remove(file);
        if (bytes.empty()) {
            std::filesystem::create_symlink(target, file);
        } else {
            test::writeBytes(file, bytes);
        }
        for (const auto& command : std::vector<std::vector<std::string>>{
                 {"cities", "saved", "--json"},
                 {"cities", "add", "--name", "Lahore", "--country", "Pakistan", "--lat", "31.55", "--lon", "74.34",
                  "--tz", "Asia/Karachi"},
                 {"cities", "select", "1"},
                 {"cities", "delete", "1"},
                 {"times", "--saved"}}) {
            const auto run = runTarvo(command);
            EXPECT_TRUE(test::failedWith(2, run)) << command[1];
            EXPECT_NE(run.err.find(reason), std::string::npos) << run.err;
            EXPECT_EQ(test::readBytes(file), bytes) << command[1];
        }
        EXPECT_FALSE(std::filesystem::exists(target)) << "nothing made beside a link's target";
    }
}

TEST_F(CitiesToolTest, NewDataFolderAndFilesAreTheUsersAlone) {
    using std::filesystem::perms;
    const auto home = folder_ / "new" / "tarvo";
    add({"Doha", "Qatar", "25.29", "51.53", "Asia/Qatar"}, {"TARVO_HOME=" + home.string()});
    const auto mode = [](const std::filesystem::path& path) { return std::filesystem::status(path).permissions(); };
    EXPECT_EQ(mode(home), perms::owner_all);
    for (const char* file : {"user.sqlite", "shared.sqlite"}) EXPECT_EQ(mode(home / file), perms::owner_read | perms::owner_write);
}

}  // namespace
}  // namespace tarvo
