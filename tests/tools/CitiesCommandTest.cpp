// The tarvo tool's cities commands and times --saved, run as a separate process in a fresh
// data folder: saved cities, the shipped directory (search, countries, country, nearest), the
// answers' shapes and statuses, and unusable, damaged or crafted database files.
#include "support/SqliteScript.h"
#include "support/ToolHarness.h"
#include "tarvo/cities/UserDatabase.h"

namespace tarvo {
namespace {

using test::json;
using test::jsonOf;
using test::runTarvo;
using test::with;
using ::testing::HasSubstr;

class CitiesToolTest : public test::ToolTest {
protected:
    static json savedCities() { return jsonOf({"cities", "saved", "--json"}); }
    // The parts of a times --json answer that the place and settings decide.
    static json timesOf(const test::Args& args) {
        const json all = jsonOf(with(with({"times"}, args), {"--date", "2024-06-21", "--json"}));
        return {all["hours"], all["text"], all["method"], all["asr"], all["highlat"], all["fixedTimings"]};
    }

    // cities add NAME COUNTRY LAT LON TZ [more options...], which must succeed; its --json answer.
    static json add(std::vector<std::string> args, const std::vector<std::string>& environment = {}) {
        const std::vector<std::string> options = {"--name", "--country", "--lat", "--lon", "--tz"};
        for (size_t i = 0; i < options.size(); ++i) args.insert(args.begin() + static_cast<long>(2 * i), options[i]);
        return jsonOf(with({"cities", "add"}, args), environment);
    }
};

TEST_F(CitiesToolTest, AddedCityIsSelectedAndTimesSavedUsesItsSettings) {
    const json makkah = add({"Makkah", "Saudi Arabia", "21.4225", "39.8262", "Asia/Riyadh", "--method", "6",
                             "--fajr-angle", "15", "--asr", "2", "--json"});
    EXPECT_EQ(makkah["GMT"], 50.0);
    add({"Tromso", "Norway", "69.65", "18.96", "Europe/Oslo", "--state", "Troms", "--highlat", "3", "--dst", "2", "--gmt", "1"});
    const json list = savedCities();
    ASSERT_EQ(list.size(), 2u);
    EXPECT_EQ(list[1]["stateName"], "Troms");
    // Tromso: fixed offset 1 with daylight saving forced off, angle-based high-latitude rule.
    EXPECT_EQ(timesOf({"--saved"}), timesOf({"--lat", "69.65", "--lon", "18.96", "--tz", "Europe/Oslo", "--highlat", "3",
                                             "--dst", "2", "--gmt", "1", "--city", "Tromso", "--country", "Norway"}));
    ASSERT_EQ(runTarvo({"cities", "select", makkah["primaryKey"].dump()}).status, 0);
    // Makkah: the custom method with the Fajr angle it was given.
    EXPECT_EQ(timesOf({"--saved"}), timesOf({"--lat", "21.4225", "--lon", "39.8262", "--tz", "Asia/Riyadh", "--method", "6",
                                             "--fajr-angle", "15", "--asr", "2", "--city", "Makkah", "--country",
                                             "Saudi Arabia"}));

    // A row a host wrote, with terminal controls in its names (its settings are read as in tests/cities).
    ASSERT_TRUE(test::runSql(UserDatabase::defaultPath(),
                             "INSERT INTO savedcities (current_city, country_name, city_name, latitude, longitude, gmt, "
                             "uses_dst, prayermethod, asrmethod, adjusthighlat, custom_fajrangle, custom_ishaangle, "
                             "timezone, state_name) VALUES (0, 'Canada', 'Calgary', 51.05, -114.07, -100, 0, 6, 1, 0, "
                             "16.5, 14.5, 'America/Edmonton', char(27) || '[31mAlberta' || char(8238))"));
    const std::string calgary = savedCities()[2]["primaryKey"].dump();
    // Terminal controls in stored names are not shown; JSON keeps the stored text.
    EXPECT_EQ(savedCities()[2]["stateName"], "\x1b[31mAlberta\u202e");
    EXPECT_THAT(runTarvo({"cities", "saved"}).out, HasSubstr("Calgary ([31mAlberta) "));
    EXPECT_EQ(jsonOf({"cities", "delete", calgary, "--json"})["cityName"], "Calgary");
    EXPECT_EQ(savedCities().size(), 2u);
}

TEST_F(CitiesToolTest, SavedCityKeepsItsPolarResolutionMinutesAndAngleOverrides) {
    const json saved = add({"Tromso", "Norway", "69.65", "18.96", "Europe/Oslo", "--polar", "nearest-day", "--json"});
    EXPECT_EQ(saved["polarResolution"], "nearest-day");
    EXPECT_EQ(saved["ishaMinutes"], nullptr);
    // 21 June: the sun does not set at Tromso. The saved city's choice fills the times as
    // --polar does, and differs from leaving them missing.
    const std::vector<std::string> place = {"--lat", "69.65", "--lon", "18.96", "--tz", "Europe/Oslo",
                                            "--city", "Tromso", "--country", "Norway"};
    EXPECT_EQ(timesOf({"--saved"}), timesOf(with(place, {"--polar", "nearest-day"})));
    EXPECT_NE(timesOf({"--saved"}), timesOf(with(place, {"--polar", "none"})));

    // Isha two hours after Maghrib, Maghrib three minutes after sunset, at Makkah.
    const json makkah = add({"Makkah", "Saudi Arabia", "21.4225", "39.8262", "Asia/Riyadh", "--method", "4",
                             "--maghrib-minutes", "3", "--isha-minutes", "120", "--json"});
    EXPECT_EQ(makkah["maghribMinutes"], 3.0);
    EXPECT_EQ(makkah["ishaMinutes"], 120.0);
    EXPECT_EQ(makkah["polarResolution"], nullptr);
    const json hours = timesOf({"--saved"})[0];
    EXPECT_NEAR(hours[5].get<double>() - hours[4].get<double>(), 0.05, 1e-9) << hours;
    EXPECT_NEAR(hours[6].get<double>() - hours[5].get<double>(), 2.0, 1e-9) << hours;
    const json list = savedCities();
    ASSERT_EQ(list.size(), 2u);
    EXPECT_EQ(list[0]["polarResolution"], "nearest-day");
    EXPECT_EQ(list[1]["ishaMinutes"], 120.0);

    // Karachi with a 19.5 degree Fajr: an override of method 3's angle, computed as times
    // computes it, which differs from Karachi's own 18 degrees.
    const std::vector<std::string> karachi = {"--lat",  "24.8607", "--lon",     "67.0011",  "--tz",     "Asia/Karachi",
                                              "--city", "Karachi", "--country", "Pakistan", "--method", "3"};
    const json overridden = add({"Karachi", "Pakistan", "24.8607", "67.0011", "Asia/Karachi", "--method", "3",
                                 "--fajr-angle", "19.5", "--json"});
    EXPECT_EQ(overridden["fajrAngleOverride"], 19.5);
    EXPECT_EQ(overridden["ishaAngleOverride"], nullptr);
    EXPECT_EQ(overridden["customFajrAngle"], 0.0);
    EXPECT_EQ(timesOf({"--saved"}), timesOf(with(karachi, {"--fajr-angle", "19.5"})));
    EXPECT_NE(timesOf({"--saved"})[0][0], timesOf(karachi)[0][0]);
    // Still Karachi's method, one angle changed: not reported as the custom method.
    EXPECT_EQ(timesOf({"--saved"})[2], 3);
    EXPECT_THAT(runTarvo({"times", "--saved"}).out, HasSubstr("Method: Islamic University, Karachi;"));
    // A method-3 row that only carries a custom angle (as older files may) keeps method 3's
    // own Fajr: the custom angles belong to the custom method.
    ASSERT_TRUE(test::runSql(UserDatabase::defaultPath(),
                             "UPDATE savedcities SET fajr_angle_override = NULL, custom_fajrangle = 19.5 "
                             "WHERE city_name = 'Karachi'"));
    EXPECT_EQ(savedCities()[2]["customFajrAngle"], 19.5);
    EXPECT_EQ(timesOf({"--saved"}), timesOf(karachi));
}

TEST_F(CitiesToolTest, BadInputIsAOneLineErrorAndChangesNothing) {
    add({"Jakarta", "Indonesia", "-6.2", "106.85", "Asia/Jakarta"});
    const json before = savedCities();
    const std::string unknown = std::to_string(before[0]["primaryKey"].get<int64_t>() + 1);
    const std::vector<std::string> add = {"cities", "add", "--name", "X", "--country", "Y", "--lat", "1", "--lon", "2"};
    const auto with = [&](const test::Args& tail) { return test::with(add, tail); };
    for (const auto& command : std::vector<std::vector<std::string>>{
             {"cities", "delete", unknown}, {"cities", "select", unknown}, {"cities", "delete", "first"},
             {"cities", "select", "1.5"}, with({"--tz", "Nowhere/City"}), with({"--tz", "UTC", "--method", "99"}),
             with({"--tz", "UTC", "--gmt", "5h"}), with({"--tz", "UTC", "--lat", "north"}),
             with({"--tz", "UTC", "--isha-minutes", "-5"}), with({"--tz", "UTC", "--polar", "midnight"}),
             {"cities", "add", "--name", "", "--country", "Y", "--lat", "1", "--lon", "2", "--tz", "UTC"},
             {"times", "--saved", "--lat", "1"}, {"times", "--saved", "--method", "3"}, {"times", "--lat", "1", "--lon", "2"}}) {
        EXPECT_TRUE(test::refuses(2, command));
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
            EXPECT_TRUE(test::refuses(2, command, reason));
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

TEST_F(CitiesToolTest, ShippedDirectoryAnswersNearestSearchAndCountries) {
    environment_.unset("TARVO_DIRECTORY");
    const json makkah = jsonOf({"cities", "nearest", "--lat", "21.4225", "--lon", "39.8262", "--json"});
    EXPECT_EQ(makkah["cityName"].dump() + makkah["countryName"].dump() + makkah["TimeZone"].dump(),
              R"("Makkah al Mukarramah""Saudi Arabia""Asia/Riyadh")");
    EXPECT_LT(makkah["distanceKm"].get<double>(), 1.0);
    EXPECT_THAT(runTarvo({"cities", "nearest", "--lat", "21.4225", "--lon", "39.8262"}).out,
                ::testing::StartsWith("Makkah al Mukarramah, Saudi Arabia [ 21.43 N : 39.83 E ] Asia/Riyadh, 0."));

    // The ranking is the library's (tests/cities); here the first answer and the empty one.
    EXPECT_EQ(jsonOf({"cities", "search", "mecca", "--json"})[0]["cityName"], "Makkah al Mukarramah");
    const auto none = runTarvo({"cities", "search", "xqzxqz", "--json"});
    EXPECT_EQ(none.status, 1);
    EXPECT_THAT(none.err, HasSubstr("matches 'xqzxqz'"));
    EXPECT_EQ(none.out, "[]\n");

    const json countries = jsonOf({"cities", "countries", "--json"});
    const json britain = {{"id", 826}, {"code", "GB"}, {"name", "United Kingdom"}};
    EXPECT_THAT(countries, ::testing::Contains(britain));
    EXPECT_EQ(jsonOf({"cities", "country", "norway", "--json"})[0]["countryName"], "Norway");
    // Mid-Pacific: nothing within 50 km.
    EXPECT_TRUE(
        test::refuses(1, {"cities", "nearest", "--lat", "0", "--lon", "-150"}, "no directory city within 50 km"));
}

TEST_F(CitiesToolTest, BadInputIsOneLineAndStatus2) {
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
    for (const auto& [args, message] : bad) EXPECT_TRUE(test::refuses(2, with({"cities"}, args), message));
    // SQLite's own lines about the damage come first; the tool's verdict ends the output.
    const auto damagedRun = runTarvo({"cities", "search", "lon", "--listing", "--directory", (scratch / "damaged.sqlite").string()});
    EXPECT_EQ(damagedRun.status, 2);
    EXPECT_TRUE(damagedRun.out.empty()) << damagedRun.out;
    const std::string verdict = "tarvo: cannot use the city directory: " + (scratch / "damaged.sqlite").string() +
                                ": damaged (*** in database main *** Page ";
    EXPECT_THAT(damagedRun.err, HasSubstr(verdict));
    EXPECT_EQ(test::readBytes(scratch / "junk.sqlite"), "this is no database");
    EXPECT_FALSE(std::filesystem::exists(scratch / "missing.sqlite"));
}

}  // namespace
}  // namespace tarvo
