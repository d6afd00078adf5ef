// tarvo config against a fresh data folder: values, one-line errors, and files it must not change.
#include <algorithm>
#include <csignal>
#include <memory>

#include <gtest/gtest.h>

#include "support/RunProcess.h"
#include "tarvo/platform/UserDefaults.h"

namespace tarvo {
namespace {

using json = nlohmann::json;
using test::runTarvo;

class ConfigCommand : public ::testing::Test {
protected:
    static test::ProcessResult config(std::vector<std::string> args) {
        args.insert(args.begin(), "config");
        return runTarvo(args);
    }
    // What is in the file, read by the library rather than by the tool.
    json storedInFile() const { return UserDefaults(folder / "shared.sqlite").persistentDomain(); }

    test::ScopedDataFolder folder;
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
    // Impossible values of known keys are refused, and nothing is written.
    for (const std::vector<std::string>& bad : std::vector<std::vector<std::string>>{
             {"set", "FajrAdj", "181"}, {"set", "ShowQiyam", "banana"}, {"set", "ShowQiyam", "yes", "--type", "string"}}) {
        EXPECT_EQ(config(bad).status, 2) << bad[1] << " " << bad[2];
    }
    EXPECT_EQ(storedInFile().size(), 5u);
    EXPECT_GT(json::parse(config({"keys", "--json"}).out).size(), 30u);
    EXPECT_EQ(config({"get", "UseSunrise", "--json"}).out, "false\n");
    ASSERT_EQ(config({"unset", "UseSunrise"}).status, 0);
    EXPECT_EQ(config({"get", "UseSunrise", "--json"}).out, "true\n") << "the default shows again";
    EXPECT_EQ(config({"unset", "NeverSet"}).status, 0) << "removing nothing is no error";
    EXPECT_EQ(config({"path"}).out, (folder / "shared.sqlite").string() + "\n");
}

TEST_F(ConfigCommand, BadInputIsAOneLineErrorAndChangesNothing) {
    ASSERT_EQ(config({"set", "FajrAdj", "1", "--type", "int"}).status, 0);
    const std::vector<std::vector<std::string>> bad = {
        {"set", "FajrAdj", "4.5", "--type", "int"},  {"set", "FajrAdj", " 4", "--type", "int"},
        {"set", "FajrAdj", "9223372036854775808", "--type", "int"}, {"set", "FajrAdj", "", "--type", "int"},
        {"set", "FajrAdj", "maybe", "--type", "bool"}, {"set", "FajrAdj", "nan", "--type", "double"},
        {"set", "FajrAdj", "4", "--type", "long"},   {"set", "FajrAdj"}, {"set", "", "4"},
        {"get", "QiyamAdj", "--json"}};  // a missing key: status 1
    for (const auto& args : bad) {
        const auto r = config(args);
        EXPECT_EQ(r.status, args[0] == "get" ? 1 : 2) << r.err;
        EXPECT_EQ(r.out, "");
        EXPECT_EQ(std::count(r.err.begin(), r.err.end(), '\n'), 1) << r.err;
    }
    EXPECT_EQ(storedInFile(), (json{{"FajrAdj", 1}}));

    // An unusable preferences file is neither written nor replaced; reading still answers.
    test::writeBytes(folder / "shared.sqlite", "FajrAdj=3\n");
    const auto set = config({"set", "FajrAdj", "4", "--type", "int"});
    EXPECT_EQ(set.status, 1);
    EXPECT_NE(set.err.find("cannot be written"), std::string::npos) << set.err;
    EXPECT_EQ(test::readBytes(folder / "shared.sqlite"), "FajrAdj=3\n");
    EXPECT_EQ(config({"get", "UseSunrise"}).out, "true\n");
}

TEST_F(ConfigCommand, WritesThatCannotHappenFailAndChangeNothing) {
    ASSERT_EQ(config({"set", "FajrAdj", "-3", "--type", "int"}).status, 0);
    ASSERT_EQ(runTarvo({"cities", "add", "--name", "Makkah", "--country", "Saudi Arabia", "--lat", "21.4", "--lon",
                        "39.8", "--tz", "Asia/Riyadh"})
                  .status,
              0);
    const auto shared = folder / "shared.sqlite";
    const std::vector<std::vector<std::string>> writes = {{"config", "set", "FajrAdj", "4", "--type", "int"},
                                                          {"config", "unset", "FajrAdj"},
                                                          {"alerts", "all-off"},
                                                          {"cities", "delete", "1"}};
    // First the preferences' file made read-only, then both files locked by another
    // process beyond the busy time-out (the commands wait it out side by side).
    for (const bool locked : {false, true}) {
        std::vector<std::unique_ptr<test::ChildProcess>> holders;
        std::vector<std::unique_ptr<test::ChildProcess>> runs;
        std::filesystem::permissions(shared, locked ? std::filesystem::perms::owner_read | std::filesystem::perms::owner_write
                                                    : std::filesystem::perms::owner_read);
        for (const auto& file : {shared, folder / "user.sqlite"}) {
            if (!locked) break;
            holders.push_back(std::make_unique<test::ChildProcess>(
                TARVO_STORE_WRITER_PATH, std::vector<std::string>{"hold", file.string(), "writes"}));
            ASSERT_EQ(test::waitForLines(*holders.back(), 1), "locked\n");
        }
        const std::string before = test::readBytes(shared);
        for (const auto& args : writes) {
            if (locked || args[0] != "cities") {
                runs.push_back(std::make_unique<test::ChildProcess>(TARVO_TOOL_PATH, args));
            }
        }
        for (auto& run : runs) {
            const auto r = run->wait();
            EXPECT_EQ(r.status, 1) << r.err;
            EXPECT_EQ(r.out, "");
            EXPECT_NE(r.err.find(locked ? "database is locked" : "read-only"), std::string::npos) << r.err;
        }
        for (auto& holder : holders) holder->kill(SIGKILL);
        holders.clear();
        if (!locked) {
            EXPECT_EQ(test::readBytes(shared), before);
        }
        EXPECT_EQ(config({"get", "FajrAdj"}).out, "-3\n") << "still read";
    }
    EXPECT_EQ(json::parse(runTarvo({"cities", "saved", "--json"}).out).size(), 1u);
}

TEST_F(ConfigCommand, RefusedSuiteIsExplainedOnceBeforeTheValuesAndLeftAsItWas) {
    const auto file = folder / "shared.sqlite";
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
    EXPECT_EQ(test::readBytes(file), "my own notes, not preferences\n");
    std::vector<std::string> listing;
    for (const auto& entry : std::filesystem::directory_iterator(folder.path())) {
        listing.push_back(entry.path().filename());
    }
    EXPECT_EQ(listing, std::vector<std::string>{"shared.sqlite"});
}

}  // namespace
}  // namespace tarvo
