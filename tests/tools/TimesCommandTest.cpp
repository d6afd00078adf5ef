// The tarvo tool's times and qibla commands, run as a person would.
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "support/RunProcess.h"

using tarvo::test::runTarvo;

TEST(TarvoTimes, MakkahAsJson) {
    const auto r = runTarvo({"times", "--lat", "21.4225", "--lon", "39.8262", "--tz", "Asia/Riyadh", "--method", "4",
                             "--date", "2016-01-05", "--json"});
    ASSERT_EQ(r.status, 0) << r.err;
    const auto j = nlohmann::json::parse(r.out);
    EXPECT_EQ(j["date"], "2016-01-05");
    EXPECT_EQ(j["text"], nlohmann::json({"05:38", "07:00", "12:26", "15:31", "17:52", "17:52", "19:22", "01:43",
                                         "05:39", "07:00"}));
    EXPECT_EQ(j["names"][2], "Duhr");
    EXPECT_EQ(j["hours"].size(), 10u);
    EXPECT_NEAR(j["hours"][0].get<double>(), 5.6377, 1e-4);
    EXPECT_EQ(j["fixedTimings"], false);
    EXPECT_EQ(j["method"], 4);
    EXPECT_EQ(j["asr"], 1);
    EXPECT_EQ(j["highlat"], 3);
}

TEST(TarvoTimes, TextFormatsCustomAnglesAndPolarNights) {
    const auto r = runTarvo({"times", "--lat", "21.4225", "--lon", "39.8262", "--tz", "Asia/Riyadh", "--date",
                             "2016-01-05", "--format", "12", "--city", "Makkah", "--country", "Saudi Arabia"});
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_NE(r.out.find("Makkah, Saudi Arabia"), std::string::npos) << r.out;
    EXPECT_NE(r.out.find("Umm Al-Qura"), std::string::npos);
    EXPECT_NE(r.out.find("pm"), std::string::npos);

    const auto custom = runTarvo({"times", "--lat", "21.4225", "--lon", "39.8262", "--tz", "Asia/Riyadh", "--date",
                                  "2016-01-05", "--fajr-angle", "15", "--json"});
    ASSERT_EQ(custom.status, 0) << custom.err;
    const auto j = nlohmann::json::parse(custom.out);
    EXPECT_EQ(j["method"], 6);
    EXPECT_GT(j["hours"][0].get<double>(), 5.7);  // a shallower dawn angle comes later

    const auto polar = runTarvo({"times", "--lat", "78.22", "--lon", "15.65", "--tz", "Arctic/Longyearbyen",
                                 "--date", "2024-06-21", "--json"});
    ASSERT_EQ(polar.status, 0) << polar.err;
    const auto p = nlohmann::json::parse(polar.out);
    EXPECT_TRUE(p["hours"][1].is_null());
    EXPECT_EQ(p["text"][1], "N/A");
}

TEST(TarvoTimes, BadInputIsAUsageError) {
    const std::vector<std::vector<std::string>> bad = {
        {"times", "--lat", "91", "--lon", "0", "--tz", "UTC"},
        {"times", "--lat", "10", "--lon", "-181", "--tz", "UTC"},
        {"times", "--lat", "ten", "--lon", "0", "--tz", "UTC"},
        {"times", "--lat", "10", "--lon", "0", "--tz", "UTC", "--date", "2016-02-30"},
        {"times", "--lat", "10", "--lon", "0", "--tz", "UTC", "--date", "5 Jan"},
        {"times", "--lat", "10", "--lon", "0", "--tz", "UTC", "--method", "9"},
        {"times", "--lat", "10", "--lon", "0", "--tz", "UTC", "--format", "13"},
        {"times", "--lat", "10", "--lon", "0", "--tz", "UTC", "--bogus"},
        {"times", "--lon", "0", "--tz", "UTC"},
        {"qibla", "--lat", "x", "--lon", "0"},
        {"frobnicate"},
        {},
    };
    for (const auto& args : bad) {
        const auto r = runTarvo(args);
        std::string joined;
        for (const auto& a : args) joined += a + " ";
        EXPECT_EQ(r.status, 2) << joined;
        EXPECT_TRUE(r.out.empty()) << joined;
        EXPECT_EQ(r.err.rfind("tarvo: ", 0), 0u) << joined << ": " << r.err;
        EXPECT_EQ(r.err.find('\n'), r.err.size() - 1) << "one line: " << r.err;
    }
}

TEST(TarvoTimes, UnknownZoneWarnsAndUsesGMT) {
    const auto r = runTarvo({"times", "--lat", "10", "--lon", "0", "--tz", "Mars/Base", "--date", "2020-01-01",
                             "--json"});
    EXPECT_EQ(r.status, 0);
    EXPECT_NE(r.err.find("warning: unknown time zone 'Mars/Base'"), std::string::npos) << r.err;
    const auto gmt = runTarvo({"times", "--lat", "10", "--lon", "0", "--tz", "GMT", "--date", "2020-01-01", "--json"});
    EXPECT_EQ(nlohmann::json::parse(r.out)["hours"], nlohmann::json::parse(gmt.out)["hours"]);
    // The engine's own log line shows only when asked for, with its file, line and function.
    EXPECT_EQ(r.err.find("Timezone Could Not Be Found"), std::string::npos);
    const auto verbose = runTarvo({"times", "--lat", "10", "--lon", "0", "--tz", "Mars/Base", "--json"},
                                  {"TARVO_LOG_LEVEL=verbose"});
    EXPECT_NE(verbose.err.find("[info] [PrayerCalculator.cpp:"), std::string::npos) << verbose.err;
    EXPECT_NE(verbose.err.find("setTimeZone] Timezone Could Not Be Found: Mars/Base"), std::string::npos);
}

TEST(TarvoQibla, BearingAndDistance) {
    const auto r = runTarvo({"qibla", "--lat", "51.5", "--lon", "-0.1167", "--json"});
    ASSERT_EQ(r.status, 0) << r.err;
    const auto j = nlohmann::json::parse(r.out);
    EXPECT_EQ(j["bearing"], 118);
    EXPECT_DOUBLE_EQ(j["statuteMiles"].get<double>(), j["nauticalMiles"].get<double>() * 1.1515);
    const auto help = runTarvo({"qibla", "--help"});
    EXPECT_EQ(help.status, 0);
    EXPECT_NE(help.out.find("--lat"), std::string::npos);
}
