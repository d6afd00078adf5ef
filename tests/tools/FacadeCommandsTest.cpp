// tarvo day and tarvo now in a fresh data folder: the place's clock, the user's settings and
// one custom-method rule in every command. The prayer rules are the library's (tests/facade).
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "support/DataFolder.h"
#include "support/RunProcess.h"

using nlohmann::json;
using tarvo::test::runTarvo;
using Args = std::vector<std::string>;

namespace {

Args makkah(const char* command, const Args& tail) {
    Args args = {command, "--lat", "21.4225", "--lon", "39.8262", "--tz", "Asia/Riyadh", "--method", "4"};
    args.insert(args.end(), tail.begin(), tail.end());
    return args;
}

class FacadeCommands : public ::testing::Test {
protected:
    tarvo::test::ScopedDataFolder folder_;
};

}  // namespace

TEST_F(FacadeCommands, NowAndDayUseThePlacesClockAndTheUsersSettings) {
    // The device's zone is not the place's: the place's clock is used all the same.
    const auto run = runTarvo(makkah("now", {"--at", "2016-01-05T16:00", "--json"}), {"TZ=Europe/London"});
    ASSERT_EQ(run.status, 0) << run.err;
    const json j = json::parse(run.out);
    EXPECT_EQ(j["now"], "2016-01-05T16:00:00+03:00");
    EXPECT_EQ(j["current"], json({{"type", 3}, {"name", "Asr"}, {"time", "2016-01-05T15:31:00+03:00"}, {"clock", "15:31"}}));
    EXPECT_EQ(j["next"]["time"], "2016-01-05T17:52:00+03:00");

    ASSERT_EQ(runTarvo({"config", "set", "UsePrayerAdjustments", "1", "--type", "int"}).status, 0);
    ASSERT_EQ(runTarvo({"config", "set", "FajrAdj", "-45", "--type", "int"}).status, 0);
    const json day = json::parse(runTarvo(makkah("day", {"--date", "2016-01-05", "--days", "2", "--json"})).out);
    ASSERT_EQ(day["days"].size(), 2u);
    EXPECT_EQ(day["days"][1]["date"], "2016-01-06");
    const json& p = day["days"][0]["prayers"];
    ASSERT_EQ(p.size(), 10u);
    EXPECT_EQ(p[0], json({{"type", 0}, {"name", "Fajr"}, {"englishName", "Fajr"}, {"time", "2016-01-05T04:53:00+03:00"},
                          {"clock", "04:53"}, {"adjustmentMinutes", -45}, {"fixedTimings", false}}));
    EXPECT_EQ(p[1]["name"], "Sunrise");  // the tool registers UseSunrise as the host's default
    EXPECT_NE(runTarvo(makkah("day", {"--date", "2016-01-05"})).out.find("04:53  -45 min"), std::string::npos);
    // A fixed offset of five hours: Umm al-Qura's 05:38 (+03:00) Fajr, less 45 minutes, on that clock.
    EXPECT_EQ(json::parse(runTarvo(makkah("day", {"--gmt", "5", "--date", "2016-01-05", "--json"})).out)["days"][0]
                  ["prayers"][0]["time"], "2016-01-05T06:53:00+05:00");
}

TEST_F(FacadeCommands, OneCustomMethodRuleInEveryCommand) {
    // The custom method without angles gives day and times the same Fajr and Isha.
    const Args custom = {"--lat", "21.4225", "--lon", "39.8262", "--tz", "Asia/Riyadh", "--method", "6", "--date",
                         "2016-01-05", "--json"};
    Args day = custom, times = custom;
    day.insert(day.begin(), "day");
    times.insert(times.begin(), "times");
    const json prayers = json::parse(runTarvo(day).out)["days"][0]["prayers"];
    const json text = json::parse(runTarvo(times).out)["text"];
    EXPECT_EQ(prayers[0]["clock"], text[0]);
    EXPECT_EQ(prayers[6]["clock"], text[6]);
    // A saved city keeps the angle it was given: --saved and the same options agree, and the
    // angle changes Fajr.
    const Args at15 = {"--lat", "21.4225", "--lon", "39.8262", "--tz", "Asia/Riyadh", "--method", "6", "--fajr-angle", "15"};
    Args add = {"cities", "add", "--name", "M", "--country", "Saudi Arabia"};
    add.insert(add.end(), at15.begin(), at15.end());
    ASSERT_EQ(runTarvo(add).status, 0);
    const json saved = json::parse(runTarvo({"times", "--saved", "--date", "2016-01-05", "--json"}).out)["text"];
    EXPECT_NE(saved[0], text[0]);
    EXPECT_EQ(saved[6], text[6]);
}
