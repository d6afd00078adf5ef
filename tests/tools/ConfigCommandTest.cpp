// tarvo config against a fresh data folder: values, one-line errors, and files it must not change.
#include <gtest/gtest.h>
#include <sqlite3.h>

#include "support/ToolHarness.h"
#include "platform/storage/SqliteDatabase.h"
#include "tarvo/platform/UserDefaults.h"
#include "platform/storage/PreferenceStore.h"

namespace tarvo {
namespace {

using test::json;
using test::jsonOf;
using test::runTarvo;

class ConfigCommand : public test::ToolTest {
protected:
    static test::ProcessResult config(std::vector<std::string> args) {
        args.insert(args.begin(), "config");
        return runTarvo(args);
    }
    // What is in the file, read by the library rather than by the tool.
    json storedInFile() const {
        return PreferenceStore::of(UserDefaults(folder_ / "shared.sqlite")).persistentDomain();
    }
};

TEST_F(ConfigCommand, SetGetAndUnsetAroundTheHostDefaultsWhichAreNeverWritten) {
    EXPECT_EQ(config({"get"}).out, "AutoCityGMT = 50.0 (default)\nUseSunrise = true (default)\n");
    EXPECT_TRUE(storedInFile().empty());
    ASSERT_EQ(config({"set", "FajrAdj", "-3", "--type", "int"}).status, 0);
    ASSERT_EQ(config({"set", "UseSunrise", "NO", "--type", "bool"}).status, 0);
    ASSERT_EQ(config({"set", "QiyamAdj", "4"}).status, 0);  // a known key takes its own type
    ASSERT_EQ(config({"set", "UsePrayerAdjustments", "true"}).status, 0);  // a bool the library reads as 1/0
    ASSERT_EQ(config({"set", "HostNote", "4"}).status, 0);  // text is the default kind of an unknown key
    EXPECT_EQ(storedInFile(), (json{{"FajrAdj", -3}, {"UseSunrise", false}, {"QiyamAdj", 4}, {"UsePrayerAdjustments", 1},
                                    {"HostNote", "4"}}));
    EXPECT_GT(jsonOf({"config", "keys", "--json"}).size(), 30u);
    EXPECT_EQ(config({"get", "UseSunrise", "--json"}).out, "false\n");
    ASSERT_EQ(config({"unset", "UseSunrise"}).status, 0);
    EXPECT_EQ(config({"get", "UseSunrise", "--json"}).out, "true\n") << "the default shows again";
    EXPECT_EQ(config({"unset", "NeverSet"}).status, 0) << "removing nothing is no error";
    EXPECT_EQ(config({"path"}).out, (folder_ / "shared.sqlite").string() + "\n");
}

TEST_F(ConfigCommand, BadInputIsAOneLineErrorAndChangesNothing) {
    ASSERT_EQ(config({"set", "FajrAdj", "1", "--type", "int"}).status, 0);
    const std::vector<std::vector<std::string>> bad = {
        {"set", "FajrAdj", "4.5", "--type", "int"},  {"set", "FajrAdj", " 4", "--type", "int"},
        {"set", "FajrAdj", "9223372036854775808", "--type", "int"}, {"set", "FajrAdj", "", "--type", "int"},
        {"set", "FajrAdj", "maybe", "--type", "bool"}, {"set", "FajrAdj", "nan", "--type", "double"},
        {"set", "FajrAdj", "4", "--type", "long"},   {"set", "FajrAdj"}, {"set", "", "4"},
        // Impossible values of known keys.
        {"set", "FajrAdj", "181"}, {"set", "ShowQiyam", "banana"}, {"set", "ShowQiyam", "yes", "--type", "string"},
        {"get", "QiyamAdj", "--json"}};  // a missing key: status 1
    for (const auto& args : bad) EXPECT_TRUE(test::failedWith(args[0] == "get" ? 1 : 2, config(args))) << args[1];
    EXPECT_EQ(storedInFile(), (json{{"FajrAdj", 1}}));
}

TEST_F(ConfigCommand, WritesThatCannotHappenFailAndChangeNothing) {
    ASSERT_EQ(config({"set", "FajrAdj", "-3", "--type", "int"}).status, 0);
    ASSERT_EQ(runTarvo({"cities", "add", "--name", "Makkah", "--country", "Saudi Arabia", "--lat", "21.4", "--lon",
                        "39.8", "--tz", "Asia/Riyadh"})
                  .status,
              0);
    // The preferences made read-only; the saved cities locked for writing by this process
    // (the tool waits out the busy time-out, then gives up).
    const auto shared = folder_ / "shared.sqlite";
    std::filesystem::permissions(shared, std::filesystem::perms::owner_read);
    SqliteDatabase lock;
    ASSERT_TRUE(lock.open(folder_ / "user.sqlite"));
    ASSERT_EQ(lock.exec("BEGIN IMMEDIATE"), SQLITE_OK);
    const std::string before = test::readBytes(shared);
    for (const std::vector<std::string>& args : std::vector<std::vector<std::string>>{
             {"config", "set", "FajrAdj", "4", "--type", "int"},
             {"config", "unset", "FajrAdj"},
             {"alerts", "all-off"},
             {"cities", "delete", "1"}}) {
        const auto r = runTarvo(args);
        EXPECT_EQ(r.status, 1) << r.err;
        EXPECT_EQ(r.out, "");
        EXPECT_NE(r.err.find(args[0] == "cities" ? "database is locked" : "read-only"), std::string::npos) << r.err;
    }
    EXPECT_EQ(test::readBytes(shared), before);
    EXPECT_EQ(config({"get", "FajrAdj"}).out, "-3\n") << "still read";
    ASSERT_EQ(lock.exec("ROLLBACK"), SQLITE_OK);
    EXPECT_EQ(jsonOf({"cities", "saved", "--json"}).size(), 1u);
}

TEST_F(ConfigCommand, RefusedSuiteIsExplainedOnceBeforeTheValuesAndLeftAsItWas) {
    const auto file = folder_ / "shared.sqlite";
    test::writeBytes(file, "my own notes, not preferences\n");
    // Both streams into one, as a person at a terminal sees them.
    const auto run = test::runProcess("/bin/sh", {"-c", std::string("\"") + TARVO_TOOL_PATH + "\" config get 2>&1"});
    EXPECT_EQ(run.status, 0);
    const std::string& seen = run.out;
    const auto because = seen.find("Preferences cannot be used, keeping them in memory only: " + file.string() +
                                   ": not an SQLite database (the file is left untouched)");
    ASSERT_NE(because, std::string::npos) << seen;
    EXPECT_LT(because, seen.find("AutoCityGMT = 50.0 (default)")) << "cause before effect:\n" << seen;
    EXPECT_EQ(seen.find(file.string()), seen.rfind(file.string())) << "the file is named once:\n" << seen;
    // Writing to it fails and leaves it as it was.
    const auto set = config({"set", "FajrAdj", "4", "--type", "int"});
    EXPECT_EQ(set.status, 1);
    EXPECT_NE(set.err.find("cannot be written"), std::string::npos) << set.err;
    EXPECT_EQ(test::readBytes(file), "my own notes, not preferences\n");
    std::vector<std::string> listing;
    for (const auto& entry : std::filesystem::directory_iterator(folder_.path())) {
        listing.push_back(entry.path().filename());
    }
    EXPECT_EQ(listing, std::vector<std::string>{"shared.sqlite"});
}

}  // namespace
}  // namespace tarvo
