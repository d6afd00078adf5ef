// tarvo day and tarvo now, run as a person would, in a fresh data folder.
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "support/DataFolder.h"
#include "support/RunProcess.h"

using nlohmann::json;
using tarvo::test::runTarvo;

namespace {

const std::vector<std::string> kMakkah = {"--lat", "21.4225", "--lon", "39.8262", "--tz", "Asia/Riyadh", "--method", "4"};

std::vector<std::string> with(std::vector<std::string> head, const std::vector<std::string>& tail) {
    head.insert(head.end(), tail.begin(), tail.end());
    return head;
}

class FacadeCommands : public ::testing::Test {
protected:
    tarvo::test::ScopedDataFolder folder_;
};

}  // namespace

TEST_F(FacadeCommands, NowAfterAsrInMakkah) {
    // The device's zone is not the place's: the place's clock is used all the same.
    const auto run = runTarvo(with(with({"now"}, kMakkah), {"--at", "2016-01-05T16:00", "--json"}), {"TZ=Europe/London"});
    ASSERT_EQ(run.status, 0) << run.err;
    const json j = json::parse(run.out);
    EXPECT_EQ(j["now"], "2016-01-05T16:00:00+03:00");
    EXPECT_EQ(j["current"], json({{"type", 3}, {"name", "Asr"}, {"time", "2016-01-05T15:31:00+03:00"}, {"clock", "15:31"}}));
    EXPECT_EQ(j["next"]["time"], "2016-01-05T17:52:00+03:00");
    EXPECT_EQ(j["delegateCalls"], json({"tarvoDAOCurrentPrayerChanged"}));
    const json& s = j["summary"];
    EXPECT_EQ(s["focus"]["type"], 3);
    EXPECT_EQ(s["complication"], json({"Asr", "Time for"}));
    EXPECT_EQ(s["refreshAt"], "2016-01-05T16:07:39+03:00");  // Asr + 0.26 of the 2 h 21 min

    // 02:00 with Qiyam shown: Qiyam, from the list made again from yesterday.
    ASSERT_EQ(runTarvo({"config", "set", "ShowQiyam", "yes", "--type", "bool"}).status, 0);
    const json night = json::parse(runTarvo(with(with({"now"}, kMakkah), {"--at", "2016-01-06T02:00", "--json"})).out);
    EXPECT_EQ(night["current"]["time"], "2016-01-06T01:43:00+03:00");
    EXPECT_EQ(night["current"]["type"], 7);
    EXPECT_EQ(night["next"]["type"], 8);

    const auto text = runTarvo(with(with({"now"}, kMakkah), {"--at", "2016-01-05T16:00:30", "--countdown"}));
    ASSERT_EQ(text.status, 0) << text.err;
    EXPECT_NE(text.out.find("Asr / Time for"), std::string::npos) << text.out;
    EXPECT_NE(text.out.find("Asia/Riyadh"), std::string::npos) << text.out;
}

TEST_F(FacadeCommands, DayListsTheTenRecordsWithTheUsersSettings) {
    ASSERT_EQ(runTarvo({"config", "set", "UsePrayerAdjustments", "1", "--type", "int"}).status, 0);
    ASSERT_EQ(runTarvo({"config", "set", "FajrAdj", "-45", "--type", "int"}).status, 0);
    const auto run = runTarvo(with(with({"day"}, kMakkah), {"--date", "2016-01-05", "--days", "2", "--json"}));
    ASSERT_EQ(run.status, 0) << run.err;
    const json j = json::parse(run.out);
    EXPECT_EQ(j["city"]["TimeZone"], "Asia/Riyadh");
    ASSERT_EQ(j["days"].size(), 2u);
    EXPECT_EQ(j["days"][1]["date"], "2016-01-06");
    const json& p = j["days"][0]["prayers"];
    ASSERT_EQ(p.size(), 10u);
    EXPECT_EQ(p[0], json({{"type", 0}, {"name", "Fajr"}, {"englishName", "Fajr"}, {"time", "2016-01-05T04:53:00+03:00"},
                          {"clock", "04:53"}, {"adjustmentMinutes", -45}, {"fixedTimings", false}}));
    EXPECT_EQ(p[1]["name"], "Sunrise");  // the tool registers UseSunrise as the host's default
    EXPECT_EQ(p[7]["time"], "2016-01-06T01:43:00+03:00");

    const auto text = runTarvo(with(with({"day"}, kMakkah), {"--date", "2016-01-05"}));
    EXPECT_NE(text.out.find("04:53  -45 min"), std::string::npos) << text.out;
}

TEST_F(FacadeCommands, OneCustomMethodRuleAndTheOffsetActuallyUsed) {
    // The custom method without angles is the Muslim League's 18 and 17 degrees in every command.
    const std::vector<std::string> custom = {"--lat", "21.4225", "--lon", "39.8262", "--tz", "Asia/Riyadh",
                                             "--method", "6", "--date", "2016-01-05", "--json"};
    const json day = json::parse(runTarvo(with({"day"}, custom)).out);
    const json times = json::parse(runTarvo(with({"times"}, custom)).out);
    const json& prayers = day["days"][0]["prayers"];
    EXPECT_EQ(prayers[0]["clock"], times["text"][0]);
    EXPECT_EQ(prayers[6]["clock"], times["text"][6]);
    EXPECT_NE(prayers[0]["clock"], prayers[1]["clock"]);  // Fajr is not at sunrise
    // A saved city keeps the angles it was given.
    const std::vector<std::string> at15 = {"--lat", "21.4225", "--lon", "39.8262", "--tz", "Asia/Riyadh", "--method", "6",
                                           "--fajr-angle", "15"};
    ASSERT_EQ(runTarvo(with(with({"cities", "add", "--name", "M", "--country", "Saudi Arabia"}, at15), {})).status, 0);
    EXPECT_EQ(json::parse(runTarvo({"day", "--saved", "--date", "2016-01-05", "--json"}).out)["days"][0]["prayers"][0],
              json::parse(runTarvo(with(with({"day"}, at15), {"--date", "2016-01-05", "--json"})).out)["days"][0]["prayers"][0]);

    // A fixed offset of five hours: Umm al-Qura's 05:38 (+03:00) Fajr is 07:38 on that clock,
    // and every time says so.
    const json gmt = json::parse(runTarvo(with(with({"day"}, kMakkah), {"--gmt", "5", "--date", "2016-01-05", "--json"})).out);
    EXPECT_EQ(gmt["days"][0]["prayers"][0]["time"], "2016-01-05T07:38:00+05:00");
    EXPECT_EQ(gmt["days"][0]["prayers"][7]["time"], "2016-01-06T03:43:00+05:00");
}
