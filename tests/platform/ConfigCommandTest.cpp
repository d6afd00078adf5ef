// The tool's config commands, run as the user runs them, against a fresh data folder.
#include <algorithm>

#include <gtest/gtest.h>

#include "platform/ChildProcess.h"
#include "platform/ParamName.h"
#include "platform/ScopedDataFolder.h"
#include "tarvo/platform/UserDefaults.h"

namespace tarvo {
namespace {

using json = nlohmann::json;

struct ToolRun {
    int status;
    std::string out;
    std::string err;
};

ToolRun tarvo(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), TARVO_TOOL_PATH);
    test::ChildProcess child(arguments);
    const int status = child.wait();
    return {status, child.out(), child.err()};
}

size_t lineCount(const std::string& text) { return static_cast<size_t>(std::count(text.begin(), text.end(), '\n')); }

class ConfigCommand : public ::testing::Test {
protected:
    json getJson(const std::string& key = {}) {
        const ToolRun r = key.empty() ? tarvo({"config", "get", "--json"}) : tarvo({"config", "get", key, "--json"});
        EXPECT_EQ(r.status, 0) << r.err;
        return json::parse(r.out);
    }
    // What is in the file, read by the library rather than by the tool.
    json storedInFile() const { return UserDefaults(folder / "shared.sqlite").persistentDomain(); }

    test::ScopedDataFolder folder;
};

TEST_F(ConfigCommand, HostDefaultsAnswerButAreNeverWritten) {
    EXPECT_EQ(getJson(), (json{{"AutoCityGMT", 50.0}, {"UseSunrise", true}}));
    EXPECT_TRUE(getJson("AutoCityGMT").is_number_float());
    EXPECT_TRUE(storedInFile().empty());

    const ToolRun list = tarvo({"config", "get"});
    EXPECT_EQ(list.status, 0);
    EXPECT_EQ(list.out, "AutoCityGMT = 50.0 (default)\nUseSunrise = true (default)\n");
}

TEST_F(ConfigCommand, SetStoresTheKindTheTypeNames) {
    ASSERT_EQ(tarvo({"config", "set", "FajrAdj", "-3", "--type", "int"}).status, 0);
    ASSERT_EQ(tarvo({"config", "set", "ShowQiyam", "YES", "--type", "bool"}).status, 0);
    ASSERT_EQ(tarvo({"config", "set", "AutoCityFajrAngle", "18.5", "--type", "double"}).status, 0);
    ASSERT_EQ(tarvo({"config", "set", "SharedActiveCity", "Makkah"}).status, 0);
    ASSERT_EQ(tarvo({"config", "set", "QiyamAdj", "4"}).status, 0);

    const json stored = storedInFile();
    EXPECT_EQ(stored, (json{{"FajrAdj", -3},
                            {"ShowQiyam", true},
                            {"AutoCityFajrAngle", 18.5},
                            {"SharedActiveCity", "Makkah"},
                            {"QiyamAdj", "4"}}));
    EXPECT_TRUE(stored["AutoCityFajrAngle"].is_number_float());
    // Text is the default kind, and the library still reads the text "4" as 4.
    EXPECT_EQ(UserDefaults(folder / "shared.sqlite").integerForKey("QiyamAdj"), 4);

    EXPECT_EQ(getJson("QiyamAdj"), json("4"));
    EXPECT_EQ(tarvo({"config", "get", "SharedActiveCity"}).out, "Makkah\n");
    EXPECT_EQ(tarvo({"config", "get", "ShowQiyam"}).out, "true\n");
}

TEST_F(ConfigCommand, StoredValueHidesTheDefaultUntilUnset) {
    ASSERT_EQ(tarvo({"config", "set", "UseSunrise", "false", "--type", "bool"}).status, 0);
    EXPECT_EQ(getJson("UseSunrise"), json(false));
    EXPECT_NE(tarvo({"config", "get"}).out.find("UseSunrise = false\n"), std::string::npos);

    ASSERT_EQ(tarvo({"config", "unset", "UseSunrise"}).status, 0);
    EXPECT_EQ(getJson("UseSunrise"), json(true));
    EXPECT_TRUE(storedInFile().empty());
    EXPECT_EQ(tarvo({"config", "unset", "NeverSet"}).status, 0) << "removing nothing is no error";
}

TEST_F(ConfigCommand, MissingKeyExitsWithOne) {
    for (const auto& arguments : {std::vector<std::string>{"config", "get", "FajrAdj"},
                                  std::vector<std::string>{"config", "get", "FajrAdj", "--json"}}) {
        const ToolRun r = tarvo(arguments);
        EXPECT_EQ(r.status, 1);
        EXPECT_EQ(r.out, "");
        EXPECT_NE(r.err.find("FajrAdj"), std::string::npos) << r.err;
        EXPECT_EQ(lineCount(r.err), 1U) << r.err;
    }
}

struct BadSet {
    const char* name;
    std::vector<std::string> arguments;
};

void PrintTo(const BadSet& bad, std::ostream* out) { *out << bad.name; }

class ConfigCommandBadSet : public ConfigCommand, public ::testing::WithParamInterface<BadSet> {};

TEST_P(ConfigCommandBadSet, IsAUsageErrorAndChangesNothing) {
    ASSERT_EQ(tarvo({"config", "set", "FajrAdj", "1", "--type", "int"}).status, 0);
    std::vector<std::string> arguments = {"config", "set"};
    arguments.insert(arguments.end(), GetParam().arguments.begin(), GetParam().arguments.end());
    const ToolRun r = tarvo(arguments);
    EXPECT_EQ(r.status, 2) << r.err;
    EXPECT_EQ(r.out, "");
    EXPECT_FALSE(r.err.empty());
    EXPECT_EQ(storedInFile(), (json{{"FajrAdj", 1}}));
}

INSTANTIATE_TEST_SUITE_P(
    Values, ConfigCommandBadSet,
    ::testing::Values(BadSet{"IntWithFraction", {"FajrAdj", "4.5", "--type", "int"}},
                      BadSet{"IntWithText", {"FajrAdj", "four", "--type", "int"}},
                      BadSet{"IntWithSpace", {"FajrAdj", " 4", "--type", "int"}},
                      BadSet{"IntTooLarge", {"FajrAdj", "9223372036854775808", "--type", "int"}},
                      BadSet{"BoolWord", {"FajrAdj", "maybe", "--type", "bool"}},
                      BadSet{"DoubleText", {"FajrAdj", "abc", "--type", "double"}},
                      BadSet{"DoubleNaN", {"FajrAdj", "nan", "--type", "double"}},
                      BadSet{"EmptyInt", {"FajrAdj", "", "--type", "int"}},
                      BadSet{"UnknownType", {"FajrAdj", "4", "--type", "long"}},
                      BadSet{"NoValue", {"FajrAdj"}}, BadSet{"EmptyKey", {"", "4"}}),
    test::ParamName());

TEST_F(ConfigCommand, UnusablePreferencesFileIsNeitherWrittenNorReplaced) {
    const auto file = folder / "shared.sqlite";
    test::TempFolder::writeFile(file, "FajrAdj=3\n");
    const ToolRun set = tarvo({"config", "set", "FajrAdj", "4", "--type", "int"});
    EXPECT_EQ(set.status, 1);
    EXPECT_NE(set.err.find("cannot be written"), std::string::npos) << set.err;
    EXPECT_EQ(test::TempFolder::readFile(file), std::vector<char>({'F', 'a', 'j', 'r', 'A', 'd', 'j', '=', '3', '\n'}));
    // Reading still answers the tool's defaults.
    EXPECT_EQ(getJson("UseSunrise"), json(true));
}

TEST_F(ConfigCommand, PathNamesTheSharedSuite) {
    const ToolRun r = tarvo({"config", "path"});
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.out, (folder / "shared.sqlite").string() + "\n");
}

TEST(ConfigCommandConcurrent, ParallelInvocationsLoseNoWrite) {
    test::ScopedDataFolder folder;
    constexpr int kProcesses = 12;
    std::vector<std::unique_ptr<test::ChildProcess>> children;
    for (int i = 0; i < kProcesses; ++i) {
        children.push_back(std::make_unique<test::ChildProcess>(std::vector<std::string>{
            TARVO_TOOL_PATH, "config", "set", "key" + std::to_string(i), std::to_string(i), "--type", "int"}));
        children.push_back(std::make_unique<test::ChildProcess>(std::vector<std::string>{
            TARVO_TOOL_PATH, "config", "set", "SharedActiveCity", "city" + std::to_string(i)}));
    }
    for (auto& child : children) ASSERT_EQ(child->wait(), 0) << child->err();
    const UserDefaults store(folder / "shared.sqlite");
    for (int i = 0; i < kProcesses; ++i) EXPECT_EQ(store.integerForKey("key" + std::to_string(i)), i);
    const auto city = store.stringForKey("SharedActiveCity");
    ASSERT_TRUE(city.has_value());
    EXPECT_EQ(city->rfind("city", 0), 0U) << *city;
    EXPECT_EQ(store.persistentDomain().size(), static_cast<size_t>(kProcesses + 1));
}

}  // namespace
}  // namespace tarvo
