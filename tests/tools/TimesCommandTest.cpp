// The tarvo tool's times and qibla commands: the fields, the text, and an unknown zone.
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "support/RunProcess.h"

using nlohmann::json;
using tarvo::test::runTarvo;

TEST(TarvoTimes, JsonTextAndPolarDays) {
    const std::vector<std::string> makkah = {"times", "--lat", "21.4225", "--lon", "39.8262", "--tz", "Asia/Riyadh",
                                             "--date", "2016-01-05", "--method", "4"};
    auto args = makkah;
    args.push_back("--json");
    const auto j = json::parse(runTarvo(args).out);
    EXPECT_EQ(j["text"], json({"05:38", "07:00", "12:26", "15:31", "17:52", "17:52", "19:22", "01:43", "05:39", "07:00"}));
    EXPECT_EQ(j["fixedTimings"], false);
    args = makkah;
    args.insert(args.end(), {"--format", "12", "--city", "Makkah", "--country", "Saudi Arabia"});
    const auto text = runTarvo(args);
    ASSERT_EQ(text.status, 0) << text.err;
    for (const char* part : {"Makkah, Saudi Arabia", "Umm Al-Qura", "pm"}) {
        EXPECT_NE(text.out.find(part), std::string::npos) << text.out;
    }
    // No sunrise at midsummer in Longyearbyen: null in hours, N/A in the text.
    const auto polar = json::parse(runTarvo({"times", "--lat", "78.22", "--lon", "15.65", "--tz", "Arctic/Longyearbyen",
                                             "--date", "2024-06-21", "--json"}).out);
    EXPECT_TRUE(polar["hours"][1].is_null());
    EXPECT_EQ(polar["text"][1], "N/A");
    EXPECT_EQ(json::parse(runTarvo({"qibla", "--lat", "51.5", "--lon", "-0.1167", "--json"}).out)["bearing"], 118);
}

TEST(TarvoTimes, UnknownZoneWarnsAndUsesGMT) {
    const std::vector<std::string> mars = {"times", "--lat", "10", "--lon", "0", "--tz", "Mars/Base", "--date", "2020-01-01", "--json"};
    const auto r = runTarvo(mars);
    EXPECT_EQ(r.status, 0);
    EXPECT_NE(r.err.find("warning: unknown time zone 'Mars/Base'"), std::string::npos) << r.err;
    EXPECT_EQ(r.err.find("Timezone Could Not Be Found"), std::string::npos) << "the engine's line only when asked";
    const auto gmt = runTarvo({"times", "--lat", "10", "--lon", "0", "--tz", "GMT", "--date", "2020-01-01", "--json"});
    EXPECT_EQ(json::parse(r.out)["hours"], json::parse(gmt.out)["hours"]);
    const auto verbose = runTarvo(mars, {"TARVO_LOG_LEVEL=verbose"});
    EXPECT_NE(verbose.err.find("Timezone Could Not Be Found: Mars/Base"), std::string::npos) << verbose.err;
}
