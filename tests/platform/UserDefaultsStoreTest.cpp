// The preferences store as a store: registration, persistence, the process-wide suites,
// the data folder and files it must not use.
#include <gtest/gtest.h>

#include "platform/LogCapture.h"
#include "platform/ParamName.h"
#include "platform/ScopedDataFolder.h"
#include "platform/ScopedEnvironment.h"
#include "platform/SqliteScript.h"
#include "tarvo/platform/UserDefaults.h"

namespace tarvo {
namespace {

using json = nlohmann::json;
using test::ScopedDataFolder;
using test::TempFolder;

class UserDefaultsStore : public ::testing::Test {
protected:
    std::filesystem::path suite() const { return folder / "suite.sqlite"; }
    ScopedDataFolder folder;
};

TEST_F(UserDefaultsStore, RegisteredDefaultsAnswerOnlyForAbsentKeys) {
    UserDefaults store(suite());
    store.registerDefaults({{"AutoCityGMT", 50.0}, {"UseSunrise", true}});
    EXPECT_EQ(store.doubleForKey("AutoCityGMT"), 50.0);
    EXPECT_TRUE(store.boolForKey("UseSunrise"));

    store.setBool("UseSunrise", false);
    EXPECT_FALSE(store.boolForKey("UseSunrise")) << "a stored value wins over the registered one";
    store.removeObjectForKey("UseSunrise");
    EXPECT_TRUE(store.boolForKey("UseSunrise")) << "removing the stored value uncovers the registered one";

    // Registering again adds and replaces; registering null withdraws a default.
    store.registerDefaults({{"AutoCityGMT", 3.0}, {"ShowQiyam", true}});
    EXPECT_EQ(store.doubleForKey("AutoCityGMT"), 3.0);
    EXPECT_TRUE(store.boolForKey("UseSunrise"));
    store.registerDefaults({{"ShowQiyam", nullptr}});
    EXPECT_FALSE(store.objectForKey("ShowQiyam").has_value());
}

TEST_F(UserDefaultsStore, RegisteredDefaultsAreNeverWritten) {
    UserDefaults store(suite());
    store.registerDefaults({{"AutoCityGMT", 50.0}, {"UseSunrise", true}});
    store.setInteger("FajrAdj", 2);
    ASSERT_TRUE(store.synchronize());

    EXPECT_EQ(store.persistentDomain(), (json{{"FajrAdj", 2}}));
    EXPECT_EQ(store.dictionaryRepresentation(), (json{{"AutoCityGMT", 50.0}, {"FajrAdj", 2}, {"UseSunrise", true}}));

    const UserDefaults other(suite());
    EXPECT_FALSE(other.objectForKey("AutoCityGMT").has_value());
    EXPECT_EQ(other.dictionaryRepresentation(), (json{{"FajrAdj", 2}}));
}

TEST_F(UserDefaultsStore, RegisteringSomethingOtherThanADictionaryIsRefused) {
    test::LogCapture log;
    UserDefaults store(suite());
    store.registerDefaults(json::array({"UseSunrise", true}));
    EXPECT_TRUE(store.dictionaryRepresentation().empty());
    EXPECT_TRUE(log.hasError("must be a dictionary"));
}

TEST_F(UserDefaultsStore, EveryKindSurvivesReopening) {
    const json values = {
        {"flag", true},
        {"count", -3},
        {"angle", 18.2},
        {"name", "Kuala Lumpur"},
        {"blob", json::binary({0, 1, 2, 255})},
        {"list", json::array({1, "two", 3.5, false})},
        {"nested", {{"city", "Dubai"}, {"gmt", 4}, {"alerts", json::array({json::binary({7})})}}},
    };
    {
        UserDefaults store(suite());
        for (const auto& [key, value] : values.items()) store.setObject(key, value);
    }
    const UserDefaults reopened(suite());
    EXPECT_EQ(reopened.persistentDomain(), values);
    EXPECT_TRUE(reopened.objectForKey("count")->is_number_integer());
    EXPECT_TRUE(reopened.objectForKey("angle")->is_number_float());
    EXPECT_EQ(reopened.doubleForKey("angle"), 18.2);
    EXPECT_EQ(reopened.arrayForKey("list"), values["list"]);
    EXPECT_EQ(reopened.dictionaryForKey("nested"), values["nested"]);
    EXPECT_EQ(reopened.dataForKey("blob"), (std::vector<uint8_t>{0, 1, 2, 255}));
}

TEST_F(UserDefaultsStore, SettingNullOrRemovingDeletesTheKey) {
    UserDefaults store(suite());
    store.setString("FajrSoundAlert", "Makkah");
    store.setString("DhuhrSoundAlert", "Madinah");
    store.setObject("FajrSoundAlert", nullptr);
    store.removeObjectForKey("DhuhrSoundAlert");
    store.removeObjectForKey("NeverThere");
    EXPECT_TRUE(store.persistentDomain().empty());
    EXPECT_FALSE(store.stringForKey("FajrSoundAlert").has_value());
}

TEST_F(UserDefaultsStore, WritesOfAnotherConnectionAreSeenAtOnce) {
    UserDefaults first(suite());
    const UserDefaults second(suite());
    first.setInteger("HijriCorrection", -1);
    EXPECT_EQ(second.integerForKey("HijriCorrection"), -1);
    first.setInteger("HijriCorrection", 2);
    EXPECT_EQ(second.integerForKey("HijriCorrection"), 2);
    first.removeObjectForKey("HijriCorrection");
    EXPECT_FALSE(second.objectForKey("HijriCorrection").has_value());
}

TEST_F(UserDefaultsStore, SynchronizeCarriesWritesIntoTheDatabaseFile) {
    UserDefaults store(suite());
    store.setString("SharedActiveCity", "Makkah");
    ASSERT_TRUE(store.synchronize());
    // A copy of the main file alone, without the write-ahead log, already holds the value.
    const auto copy = folder / "copy.sqlite";
    std::filesystem::copy_file(suite(), copy);
    EXPECT_EQ(test::queryInteger(copy, "SELECT count(*) FROM preferences WHERE key = 'SharedActiveCity'"), 1);
}

TEST_F(UserDefaultsStore, AnUnreadableStoredValueReadsAsAbsent) {
    UserDefaults store(suite());
    store.registerDefaults({{"UseSunrise", true}});
    ASSERT_TRUE(test::runSql(suite(), "INSERT INTO preferences(key, value) VALUES('UseSunrise', x'9f01');"
                                      "INSERT INTO preferences(key, value) VALUES('FajrAdj', x'ff')"));
    test::LogCapture log;
    EXPECT_TRUE(store.boolForKey("UseSunrise")) << "the registered default answers instead";
    EXPECT_EQ(store.integerForKey("FajrAdj"), 0);
    EXPECT_TRUE(log.hasError("unreadable"));
    EXPECT_FALSE(store.persistentDomain().contains("FajrAdj"));
}

TEST_F(UserDefaultsStore, ProcessWideSuitesLiveInTheDataFolder) {
    auto shared = UserDefaults::sharedUserDefaultsObj();
    auto standard = UserDefaults::standardUserDefaults();
    EXPECT_EQ(shared, UserDefaults::sharedUserDefaultsObj());
    EXPECT_EQ(standard, UserDefaults::standardUserDefaults());
    EXPECT_NE(shared, standard);
    EXPECT_EQ(shared->path(), folder / "shared.sqlite");
    EXPECT_EQ(standard->path(), folder / "standard.sqlite");
    EXPECT_TRUE(shared->isPersistent());

    shared->setBool("ShowQiyam", true);
    EXPECT_FALSE(standard->objectForKey("ShowQiyam").has_value()) << "suites are separate";

    // After a reset the suites are opened afresh, wherever the data folder now is.
    ScopedDataFolder elsewhere;
    auto moved = UserDefaults::sharedUserDefaultsObj();
    EXPECT_EQ(moved->path(), elsewhere / "shared.sqlite");
    EXPECT_FALSE(moved->boolForKey("ShowQiyam"));
}

// The data folder's sources in order of precedence.
class DataDirectory : public ::testing::Test {
protected:
    void SetUp() override {
        environment.unset("TARVO_HOME");
        environment.unset("XDG_DATA_HOME");
        environment.set("HOME", (temp / "home").string());
    }
    TempFolder temp;
    test::ScopedEnvironment environment;
};

TEST_F(DataDirectory, FollowsTarvoHomeThenXdgThenHome) {
    EXPECT_EQ(UserDefaults::dataDirectory(), temp / "home/.local/share/tarvo");
    EXPECT_TRUE(std::filesystem::is_directory(temp / "home/.local/share/tarvo")) << "created when missing";

    environment.set("XDG_DATA_HOME", "relative/data");
    EXPECT_EQ(UserDefaults::dataDirectory(), temp / "home/.local/share/tarvo") << "a relative XDG path is ignored";

    environment.set("XDG_DATA_HOME", (temp / "xdg").string());
    EXPECT_EQ(UserDefaults::dataDirectory(), temp / "xdg/tarvo");

    environment.set("TARVO_HOME", (temp / "tarvo-home").string());
    EXPECT_EQ(UserDefaults::dataDirectory(), temp / "tarvo-home");
    EXPECT_TRUE(std::filesystem::is_directory(temp / "tarvo-home"));
}

// Files the store must not use: it says so, keeps working in memory and leaves them be.
struct UnusableSuite {
    const char* name;
    std::string bytes;
    bool readOnly;
};

void PrintTo(const UnusableSuite& suite, std::ostream* out) { *out << suite.name; }

std::string validDatabaseBytes() {
    TempFolder temp;
    EXPECT_TRUE(test::runSql(temp / "db.sqlite",
                             "CREATE TABLE preferences(key TEXT PRIMARY KEY, value BLOB) WITHOUT ROWID;"
                             "INSERT INTO preferences VALUES('FajrAdj', x'03')"));
    const auto bytes = TempFolder::readFile(temp / "db.sqlite");
    return std::string(bytes.begin(), bytes.end());
}

class UserDefaultsUnusableFile : public ::testing::TestWithParam<UnusableSuite> {};

TEST_P(UserDefaultsUnusableFile, IsLeftUntouchedAndTheStoreWorksInMemory) {
    TempFolder temp;
    const auto file = temp / "shared.sqlite";
    TempFolder::writeFile(file, GetParam().bytes);
    if (GetParam().readOnly) std::filesystem::permissions(file, std::filesystem::perms::owner_read);
    const auto before = TempFolder::readFile(file);

    test::LogCapture log;
    {
        UserDefaults store(file);
        EXPECT_FALSE(store.isPersistent());
        EXPECT_TRUE(log.hasError(file.string())) << "the error names the file";

        store.setInteger("FajrAdj", 5);
        store.setString("SharedActiveCity", "Dubai");
        EXPECT_EQ(store.integerForKey("FajrAdj"), 5);
        EXPECT_EQ(store.persistentDomain().size(), 2U);
        store.removeObjectForKey("SharedActiveCity");
        EXPECT_FALSE(store.objectForKey("SharedActiveCity").has_value());
        EXPECT_FALSE(store.synchronize()) << "nothing could be made durable";
    }
    EXPECT_EQ(TempFolder::readFile(file), before);
    EXPECT_FALSE(std::filesystem::exists(temp / "shared.sqlite-wal"));
    EXPECT_FALSE(std::filesystem::exists(temp / "shared.sqlite-journal"));
}

INSTANTIATE_TEST_SUITE_P(Files, UserDefaultsUnusableFile,
                         ::testing::Values(UnusableSuite{"PlainText", "FajrAdj=3\nUseSunrise=YES\n", false},
                                           UnusableSuite{"RandomBytes", std::string("\x89PNG\r\n\x1a\n\0\0\0\rIHDR", 16), false},
                                           UnusableSuite{"ReadOnlyDatabase", validDatabaseBytes(), true},
                                           UnusableSuite{"ReadOnlyText", "not a database", true}),
                         test::ParamName());

TEST(UserDefaultsFiles, ADatabaseWithAnotherPreferencesTableIsNotTakenOver) {
    TempFolder temp;
    const auto file = temp / "other.sqlite";
    ASSERT_TRUE(test::runSql(file, "CREATE TABLE preferences(name TEXT, setting INTEGER)"));
    test::LogCapture log;
    UserDefaults store(file);
    EXPECT_FALSE(store.isPersistent());
    store.setBool("ShowQiyam", true);
    EXPECT_TRUE(store.boolForKey("ShowQiyam"));
    EXPECT_EQ(test::queryInteger(file, "SELECT count(*) FROM preferences WHERE name IS NULL AND setting IS NULL"), 0)
        << "the foreign table is as it was";
}

}  // namespace
}  // namespace tarvo
