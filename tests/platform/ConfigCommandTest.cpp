// The tool's config commands, run as the user runs them, against a fresh data folder.
#include <algorithm>

#include <gtest/gtest.h>

#include "support/DataFolder.h"
#include "support/RunProcess.h"
#include "tarvo/platform/UserDefaults.h"

namespace tarvo {
namespace {

using json = nlohmann::json;
using test::runTarvo;

class ConfigCommand : public ::testing::Test {
protected:
    json getJson(const std::string& key) {
        const auto r = runTarvo({"config", "get", key, "--json"});
        EXPECT_EQ(r.status, 0) << r.err;
        return json::parse(r.out);
    }
    // What is in the file, read by the library rather than by the tool.
    json storedInFile() const { return UserDefaults(folder / "shared.sqlite").persistentDomain(); }

    test::ScopedDataFolder folder;
};

TEST_F(ConfigCommand, SetGetAndUnsetAroundTheHostDefaultsWhichAreNeverWritten) {
    EXPECT_EQ(runTarvo({"config", "get"}).out, "AutoCityGMT = 50.0 (default)\nUseSunrise = true (default)\n");
    EXPECT_TRUE(getJson("AutoCityGMT").is_number_float());
    EXPECT_TRUE(storedInFile().empty());

    for (const auto& args : {std::vector<std::string>{"FajrAdj", "-3", "--type", "int"},
                             {"UseSunrise", "NO", "--type", "bool"},
                             {"AutoCityFajrAngle", "18.5", "--type", "double"},
                             {"QiyamAdj", "4"}}) {
        std::vector<std::string> set = {"config", "set"};
        set.insert(set.end(), args.begin(), args.end());
        ASSERT_EQ(runTarvo(set).status, 0) << args[0];
    }
    const json stored = storedInFile();
    EXPECT_EQ(stored, (json{{"FajrAdj", -3}, {"UseSunrise", false}, {"AutoCityFajrAngle", 18.5}, {"QiyamAdj", "4"}}));
    EXPECT_TRUE(stored["AutoCityFajrAngle"].is_number_float());
    // Text is the default kind, and the library still reads the text "4" as 4.
    EXPECT_EQ(UserDefaults(folder / "shared.sqlite").integerForKey("QiyamAdj"), 4);
    EXPECT_EQ(runTarvo({"config", "get", "QiyamAdj"}).out, "4\n");
    EXPECT_EQ(getJson("UseSunrise"), json(false));

    ASSERT_EQ(runTarvo({"config", "unset", "UseSunrise"}).status, 0);
    EXPECT_EQ(getJson("UseSunrise"), json(true)) << "the default shows again";
    EXPECT_EQ(runTarvo({"config", "unset", "NeverSet"}).status, 0) << "removing nothing is no error";
    EXPECT_EQ(runTarvo({"config", "path"}).out, (folder / "shared.sqlite").string() + "\n");
}

TEST_F(ConfigCommand, BadInputIsAOneLineErrorAndChangesNothing) {
    ASSERT_EQ(runTarvo({"config", "set", "FajrAdj", "1", "--type", "int"}).status, 0);
    const std::vector<std::vector<std::string>> bad = {
        {"FajrAdj", "4.5", "--type", "int"},  {"FajrAdj", " 4", "--type", "int"},
        {"FajrAdj", "9223372036854775808", "--type", "int"}, {"FajrAdj", "", "--type", "int"},
        {"FajrAdj", "maybe", "--type", "bool"}, {"FajrAdj", "nan", "--type", "double"},
        {"FajrAdj", "4", "--type", "long"},   {"FajrAdj"}, {"", "4"}};
    for (const auto& args : bad) {
        std::vector<std::string> set = {"config", "set"};
        set.insert(set.end(), args.begin(), args.end());
        const auto r = runTarvo(set);
        EXPECT_EQ(r.status, 2) << r.err;
        EXPECT_EQ(r.out, "");
        EXPECT_EQ(std::count(r.err.begin(), r.err.end(), '\n'), 1) << r.err;
    }
    // A missing key is no usage error, but it still says so in one line.
    const auto missing = runTarvo({"config", "get", "QiyamAdj", "--json"});
    EXPECT_EQ(missing.status, 1);
    EXPECT_EQ(missing.out, "");
    EXPECT_EQ(std::count(missing.err.begin(), missing.err.end(), '\n'), 1) << missing.err;
    EXPECT_EQ(storedInFile(), (json{{"FajrAdj", 1}}));
}

TEST_F(ConfigCommand, UnusablePreferencesFileIsNeitherWrittenNorReplaced) {
    const auto file = folder / "shared.sqlite";
    test::writeBytes(file, "FajrAdj=3\n");
    const auto set = runTarvo({"config", "set", "FajrAdj", "4", "--type", "int"});
    EXPECT_EQ(set.status, 1);
    EXPECT_NE(set.err.find("cannot be written"), std::string::npos) << set.err;
    EXPECT_EQ(test::readBytes(file), "FajrAdj=3\n");
    EXPECT_EQ(getJson("UseSunrise"), json(true)) << "reading still answers the tool's defaults";
}

}  // namespace
}  // namespace tarvo
