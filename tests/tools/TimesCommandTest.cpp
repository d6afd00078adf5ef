// The tarvo tool's times and qibla commands, run as a person would.
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "support/RunProcess.h"

using nlohmann::json;
using tarvo::test::runTarvo;

TEST(TarvoTimes, JsonTextCustomAnglesAndPolarDays) {
    const std::vector<std::string> makkah = {"times", "--lat", "21.4225", "--lon", "39.8262", "--tz", "Asia/Riyadh",
                                             "--date", "2016-01-05"};
    auto args = makkah;
    args.insert(args.end(), {"--method", "4", "--json"});
    const auto r = runTarvo(args);
    ASSERT_EQ(r.status, 0) << r.err;
    const auto j = json::parse(r.out);
    EXPECT_EQ(j["text"], json({"05:38", "07:00", "12:26", "15:31", "17:52", "17:52", "19:22", "01:43", "05:39", "07:00"}));
    EXPECT_EQ(j["hours"].size(), 10u);
    EXPECT_EQ(j["fixedTimings"], false);
    EXPECT_EQ(j["highlat"], 3);

    args = makkah;
    args.insert(args.end(), {"--format", "12", "--city", "Makkah", "--country", "Saudi Arabia"});
    const auto text = runTarvo(args);
    ASSERT_EQ(text.status, 0) << text.err;
    for (const char* part : {"Makkah, Saudi Arabia", "Umm Al-Qura", "pm"}) {
        EXPECT_NE(text.out.find(part), std::string::npos) << text.out;
    }
    args = makkah;
    args.insert(args.end(), {"--fajr-angle", "15", "--json"});
    const auto custom = json::parse(runTarvo(args).out);
    EXPECT_EQ(custom["method"], 6);
    EXPECT_GT(custom["hours"][0].get<double>(), j["hours"][0].get<double>());  // a shallower dawn comes later

    const auto polar = runTarvo({"times", "--lat", "78.22", "--lon", "15.65", "--tz", "Arctic/Longyearbyen", "--date",
                                 "2024-06-21", "--json"});
    ASSERT_EQ(polar.status, 0) << polar.err;
    EXPECT_TRUE(json::parse(polar.out)["hours"][1].is_null());
    EXPECT_EQ(json::parse(polar.out)["text"][1], "N/A");
}

TEST(TarvoTimes, BadInputIsAOneLineUsageError) {
    const std::vector<std::string> place = {"times", "--lat", "10", "--lon", "0", "--tz", "UTC"};
    const std::vector<std::vector<std::string>> extras = {
        {"--date", "2016-02-30"}, {"--date", "5 Jan"}, {"--method", "9"}, {"--format", "13"}, {"--bogus"}};
    std::vector<std::vector<std::string>> bad = {{"times", "--lat", "91", "--lon", "0", "--tz", "UTC"},
                                                 {"times", "--lat", "10", "--lon", "-181", "--tz", "UTC"},
                                                 {"times", "--lat", "ten", "--lon", "0", "--tz", "UTC"},
                                                 {"times", "--lon", "0", "--tz", "UTC"},
                                                 {"qibla", "--lat", "x", "--lon", "0"},
                                                 {"frobnicate"},
                                                 {}};
    for (const auto& extra : extras) {
        bad.push_back(place);
        bad.back().insert(bad.back().end(), extra.begin(), extra.end());
    }
    for (const auto& args : bad) {
        const auto r = runTarvo(args);
        const std::string joined = args.empty() ? "" : args.back();
        EXPECT_EQ(r.status, 2) << joined;
        EXPECT_TRUE(r.out.empty()) << joined;
        EXPECT_EQ(r.err.rfind("tarvo: ", 0), 0u) << joined << ": " << r.err;
        EXPECT_EQ(r.err.find('\n'), r.err.size() - 1) << "one line: " << r.err;
    }
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
    EXPECT_NE(verbose.err.find("[info] [PrayerCalculator.cpp:"), std::string::npos) << verbose.err;
    EXPECT_NE(verbose.err.find("setTimeZone] Timezone Could Not Be Found: Mars/Base"), std::string::npos);

    const auto qibla = runTarvo({"qibla", "--lat", "51.5", "--lon", "-0.1167", "--json"});
    ASSERT_EQ(qibla.status, 0) << qibla.err;
    EXPECT_EQ(json::parse(qibla.out)["bearing"], 118);
}
