// The tarvo tool's times and qibla commands, run as a person would.
#include <filesystem>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "support/RunProcess.h"

using nlohmann::json;
using tarvo::test::runTarvo;

namespace {

// `times` for Makkah on 5 January 2016 with extra arguments.
tarvo::test::ProcessResult makkah(std::vector<std::string> extra) {
    std::vector<std::string> args = {"times", "--lat", "21.4225", "--lon", "39.8262", "--tz", "Asia/Riyadh", "--date", "2016-01-05"};
    args.insert(args.end(), extra.begin(), extra.end());
    return runTarvo(args);
}

}  // namespace

TEST(TarvoTimes, JsonTextCustomAnglesAndPolarDays) {
    const auto j = json::parse(makkah({"--method", "4", "--json"}).out);
    EXPECT_EQ(j["text"], json({"05:38", "07:00", "12:26", "15:31", "17:52", "17:52", "19:22", "01:43", "05:39", "07:00"}));
    EXPECT_EQ(j["fixedTimings"], false);
    EXPECT_EQ(j["highlat"], 3);
    const auto text = makkah({"--format", "12", "--city", "Makkah", "--country", "Saudi Arabia"});
    ASSERT_EQ(text.status, 0) << text.err;
    for (const char* part : {"Makkah, Saudi Arabia", "Umm Al-Qura", "pm"}) {
        EXPECT_NE(text.out.find(part), std::string::npos) << text.out;
    }
    const auto custom = json::parse(makkah({"--method", "6", "--fajr-angle", "15", "--json"}).out);
    EXPECT_EQ(custom["method"], 6);
    EXPECT_GT(custom["hours"][0].get<double>(), j["hours"][0].get<double>());  // a shallower dawn comes later
    const auto polar = json::parse(runTarvo({"times", "--lat", "78.22", "--lon", "15.65", "--tz", "Arctic/Longyearbyen",
                                             "--date", "2024-06-21", "--json"}).out);
    EXPECT_TRUE(polar["hours"][1].is_null());
    EXPECT_EQ(polar["text"][1], "N/A");
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
    EXPECT_EQ(json::parse(runTarvo({"qibla", "--lat", "51.5", "--lon", "-0.1167", "--json"}).out)["bearing"], 118);
}

TEST(TarvoTimes, TurkishDeviceLanguageChangesNoRule) {
    // Delhi, 1 March 2021: India is a Hanafi country, so Asr is at 16:42 (Shafi would give 15:52).
    const std::vector<std::string> turkish = {"LANG=tr_TR.UTF-8", "LC_ALL", "LC_MESSAGES"};
    const std::vector<std::string> delhi = {"times", "--lat", "28.6", "--lon", "77.2", "--tz", "Asia/Kolkata",
                                            "--country", "India", "--date", "2021-03-01", "--json"};
    for (const auto& env : {turkish, std::vector<std::string>{"LANG=C.UTF-8", "LC_ALL", "LC_MESSAGES"}}) {
        const auto r = runTarvo(delhi, env);
        ASSERT_EQ(r.status, 0) << r.err;
        const auto j = json::parse(r.out);
        EXPECT_EQ(j["asr"], 2) << env[0];
        EXPECT_EQ(j["text"][3], "16:42") << env[0];
    }
    auto withLevel = turkish;
    withLevel.push_back("TARVO_LOG_LEVEL=INFO");
    const auto logged = runTarvo({"times", "--lat", "10", "--lon", "0", "--tz", "Mars/Base"}, withLevel);
    EXPECT_NE(logged.err.find("Timezone Could Not Be Found: Mars/Base"), std::string::npos) << logged.err;
}
