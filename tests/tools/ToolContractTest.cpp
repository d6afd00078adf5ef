// The tarvo tool's contract for every command: bad input is one "tarvo: " line on stderr,
// status 2 and no output; an unwritable output is status 1; commands without preferences
// leave no data folder.
#include <filesystem>

#include "support/ToolHarness.h"

using tarvo::test::json;
using tarvo::test::jsonOf;
using tarvo::test::kMakkah;
using tarvo::test::runTarvo;
using tarvo::test::with;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

namespace {

using ToolContract = tarvo::test::ToolTest;

}  // namespace

TEST_F(ToolContract, BadInputIsOneLineStatusTwoAndChangesNothing) {
    const auto times = [](std::vector<std::string> extra) {
        return with({"times", "--lat", "21.4225", "--lon", "39.8262", "--tz", "Asia/Riyadh", "--date", "2016-01-05"},
                    extra);
    };
    const auto day = [](const char* command, std::vector<std::string> extra) { return with(with({command}, kMakkah), extra); };
    const std::vector<std::vector<std::string>> bad = {
        {"frobnicate"}, {"times", "--lon", "0", "--tz", "UTC"}, times({"--date", "5 Jan"}), times({"--method", "99"}),
        times({"--bogus"}), times({"--lat", "91"}), times({"--lon", "-181"}), times({"--lat", "ten"}),
        {"qibla", "--lat", "x", "--lon", "0"}, {"alerts", "set", "Zuhr", "--on"},
        {"alerts", "set", "Asr", "--on", "--file", "/no/such/file.mp3"}, {"alerts", "set", "10", "--on"},
        {"alerts", "set", "Asr", "--on", "--sound", "11"}, {"alerts", "set", "Asr", "--on", "--off"},
        {"alerts", "set", "Asr"}, {"alerts", "set", "Asr", "--on", "--prealert", "maybe"}, {"duration", "nan"},
        {"duration", "12s"}, {"hijri", "1", "13", "1445"}, {"hijri", "30", "2", "1445"},  // Safar 1445 has 29 days
        {"hijri", "1", "9", "10000"}, {"hijri", "1", "9"}, {"hijri", "1", "9", "1445", "--date", "2024-03-11"},
        {"hijri", "--date", "2024-02-30"}, day("month", {"--month", "2016-13"}), day("month", {"--month", "2016-1"}),
        day("month", {"--month", "2016-01", "--json", "--csv"}), day("month", {"--clock", "13"}),
        {"day", "--lat", "21.4", "--lon", "39.8"},  // no zone
        with({"day", "--saved"}, kMakkah),         // both kinds of place
        day("day", {"--days", "0"}), day("day", {"--days", "367"}), day("day", {"--date", "2016-02-30"}),
        day("day", {"--fajr-angle", "0"}),  // 0 is a city's "not chosen", not an angle
        day("now", {"--at", "2016-01-05 16:00"}), day("now", {"--at", "2016-01-05T24:00"}),
        {"moon", "--lat", "29", "--lon", "-81"}, {"sky", "--lat", "29", "--lon", "-81", "--at", "2019-06-21 15:54"},
        {"sky", "--lat", "29"}, {"dish", "--lat", "29", "--lon", "-81"},
        {"dish", "--lat", "29", "--lon", "-81", "--sat-lon", "19", "--along", "sun"},
        {"dish", "--lat", "29", "--lon", "-81", "--along", "venus"}, {"dish", "--lat", "29", "--lon", "-81", "--sat-lon", "200"},
        {"locate", "--lat", "95", "--lon", "0"}, {"locate", "--lat", "10", "--lon", "10", "--km", "-1"},
        {"locate", "--lat", "10", "--lon", "10", "--directory", "/nonexistent/cities.sqlite"},
    };
    for (const auto& args : bad) EXPECT_TRUE(tarvo::test::refuses(2, args));
    // None of the rejected alert changes reached the store.
    const json j = jsonOf({"alerts", "--json"});
    EXPECT_EQ(j["alerts"][3]["sound"], 0);
    EXPECT_EQ(j["alerts"][3]["soundOn"], false);

    // Each error names what was wrong in the user's words, with no parser jargon.
    const std::vector<std::pair<std::vector<std::string>, std::string>> said = {
        {{"tiems"}, "tarvo: 'tarvo tiems' is not a command; did you mean 'times'?"},
        {{"cities"}, "tarvo: 'tarvo cities' needs a command: saved, add,"},
        {{"times", "--lat", "1", "--lat", "2"}, "tarvo: --lat was given 2 times; give it once\n"},
        {{"times", "--lat", "1", "--lon", "0", "--tz", "UTC", "--date", "2023-02-29"},
         "tarvo: --date: 2023-02-29 does not exist (2023-02 has 28 days)\n"},
        {{"times", "--metod", "3"}, "tarvo: unknown option --metod; did you mean '--method'?\n"},
        {{"config", "set", "FajrAdj", "--", "-45", "--type", "int"},
         "tarvo: unexpected argument '--type': every word after '--' is a value; give --type before '--'\n"},
        {{"times", "--format", "13"}, "tarvo: --format: '13' is not one of 24,12,12ns\n"},
    };
    for (const auto& [args, start] : said) EXPECT_THAT(runTarvo(args).err, StartsWith(start));
    for (const char* command :
         {"methods", "zones", "alerts", "duration", "hijri", "month", "day", "now", "moon", "sky", "dish"}) {
        EXPECT_THAT(tarvo::test::outputOf({command, "--help"}), HasSubstr("--")) << command;
    }
    const std::string help = tarvo::test::outputOf({"times", "--help"});
    for (const char* jargon : {"FLOAT", "INT:", "NUMBER in ["}) EXPECT_THAT(help, Not(HasSubstr(jargon)));
    EXPECT_THAT(help, HasSubstr("--lat -90..90"));
}

TEST(TarvoTool, OutputThatCannotBeWrittenIsAFailure) {
    for (const char* command : {"times --lat 21.4225 --lon 39.8262 --tz Asia/Riyadh --json", "qibla --lat 21 --lon 39",
                                "hijri --help"}) {
        const auto r = tarvo::test::runProcess(
            "/bin/sh", {"-c", std::string("\"") + TARVO_TOOL_PATH + "\" " + command + " > /dev/full"});
        EXPECT_EQ(r.status, 1) << command;
        EXPECT_EQ(r.err, "tarvo: cannot write the output: No space left on device\n") << command;
    }
}

TEST(TarvoTool, CommandsWithoutPreferencesLeaveNoDataFolder) {
    const std::string home = testing::TempDir() + "tarvo-untouched-home";
    std::filesystem::remove_all(home);
    const std::vector<std::string> env = {"TARVO_HOME=" + home};
    for (const auto& args : std::vector<std::vector<std::string>>{{"times", "--lat", "10", "--lon", "0", "--tz", "UTC"},
                                                                  {"qibla", "--lat", "10", "--lon", "0"},
                                                                  {"moon", "--lat", "10", "--lon", "0", "--tz", "UTC"},
                                                                  {"sky", "--lat", "10", "--lon", "0"},
                                                                  {"dish", "--lat", "10", "--lon", "0", "--along", "moon"}}) {
        EXPECT_EQ(runTarvo(args, env).status, 0) << args[0];
    }
    EXPECT_FALSE(std::filesystem::exists(home));
}
