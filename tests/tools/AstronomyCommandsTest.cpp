// The tarvo tool's moon, sky and dish commands, run as a person would.
#include <cmath>
#include <filesystem>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "support/RunProcess.h"

using nlohmann::json;
using tarvo::test::runTarvo;

namespace {
json jsonOf(const std::vector<std::string>& args, const std::vector<std::string>& env = {"TZ=UTC"}) {
    const auto r = runTarvo(args, env);
    EXPECT_EQ(r.status, 0) << r.err;
    return json::parse(r.out);
}
}  // namespace

TEST(TarvoAstronomy, MoonDayMatchesThePublishedTable) {
    // USNO, 29 N 81 W, 21 January 2019 (EST): moonset 07:39, moonrise 18:40; full moon at
    // 05:16 UTC, new moon on the 6th at 01:28 UTC, so at local noon (17:00 UTC) the moon is
    // 15 d 15 h 32 min old; perigee (357,342 km) came at 19:59 UTC.
    const json j = jsonOf({"moon", "--lat", "29", "--lon", "-81", "--tz", "America/New_York", "--date", "2019-01-21",
                           "--json"});
    EXPECT_EQ(j["date"], "2019-01-21");
    EXPECT_EQ(j["rise"], "2019-01-21T18:40-05:00");
    EXPECT_EQ(j["set"], "2019-01-21T07:39-05:00");
    EXPECT_EQ(j["events"][0]["event"], "set");
    EXPECT_EQ(j["phase"], "full");
    EXPECT_GT(j["illumination"].get<double>(), 99.0);
    EXPECT_NEAR(j["ageDays"].get<double>(), 15 + (15 + 32 / 60.0) / 24, 0.01);
    EXPECT_NEAR(j["distanceKm"].get<double>(), 357342, 400);
    ASSERT_TRUE(j["compatible"].is_array());
    EXPECT_EQ(j["compatible"].size(), 2u);

    // 26 January has no moonrise: null, and the text says so.
    const json noRise = jsonOf({"moon", "--lat", "29", "--lon", "-81", "--tz", "America/New_York", "--date",
                                "2019-01-26", "--json"});
    EXPECT_TRUE(noRise["rise"].is_null());
    EXPECT_EQ(noRise["set"], "2019-01-26T11:20-05:00");
    const auto text = runTarvo({"moon", "--lat", "29", "--lon", "-81", "--tz", "America/New_York", "--date", "2019-01-26"});
    EXPECT_NE(text.out.find("No moonrise on this day."), std::string::npos) << text.out;
    EXPECT_NE(text.out.find("Moonset    11:20"), std::string::npos) << text.out;

    // Longyearbyen, 19 January 2019: the moon (declination +21) never sets.
    const json polar = jsonOf({"moon", "--lat", "78.22", "--lon", "15.65", "--tz", "Arctic/Longyearbyen", "--date",
                               "2019-01-19", "--json"});
    EXPECT_TRUE(polar["rise"].is_null());
    EXPECT_TRUE(polar["set"].is_null());
    EXPECT_EQ(polar["upAllDay"], true);
}

TEST(TarvoAstronomy, SkyAndDish) {
    // June solstice 2019 at 15:54 UTC: the sun overhead at 23.44 N, 58.07 W.
    const json sky = jsonOf({"sky", "--lat", "23.4361", "--lon", "-58.07", "--at", "2019-06-21T15:54", "--json"});
    EXPECT_EQ(sky["at"], "2019-06-21T15:54+00:00");
    EXPECT_GT(sky["sun"]["altitude"].get<double>(), 89.9);
    EXPECT_NEAR(sky["sun"]["rightAscension"].get<double>(), 90, 0.01);
    EXPECT_LT(sky["moon"]["altitude"].get<double>(), 0);  // three days after full, it has set
    // --at is the device's wall clock: 17:54 in Paris (CEST) is the same moment.
    const json paris = jsonOf({"sky", "--lat", "0", "--lon", "0", "--at", "2019-06-21T17:54", "--json"},
                              {"TZ=Europe/Paris"});
    EXPECT_EQ(paris["at"], "2019-06-21T15:54+00:00");

    // Munich to Astra 19.2 E: 34.22 degrees geometric plus 1.5' of refraction, azimuth 169.82.
    const json astra = jsonOf({"dish", "--lat", "48.14", "--lon", "11.58", "--sat-lon", "19.2", "--json"});
    EXPECT_NEAR(astra["geometricElevation"].get<double>(), 34.22, 0.01);
    EXPECT_NEAR(astra["elevation"].get<double>(), 34.22 + 1.5 / 60, 0.01);
    EXPECT_NEAR(astra["azimuth"].get<double>(), 169.82, 0.01);
    EXPECT_EQ(astra["visible"], true);
    // At Munich's solar noon on 1 January 2019 (11:17 UTC) the sun is due south: the
    // satellite along it is the one on the meridian.
    const json along = jsonOf({"dish", "--lat", "48.14", "--lon", "11.58", "--along", "sun", "--at",
                               "2019-01-01T11:17", "--json"});
    EXPECT_NEAR(along["azimuth"].get<double>(), 180, 0.1);
    EXPECT_NEAR(along["satelliteLongitude"].get<double>(), 11.58, 0.2);
    // Soon after midsummer sunrise the sun stands in the north-east: the orbit is below the
    // horizon there.
    const json early = jsonOf({"dish", "--lat", "48.14", "--lon", "11.58", "--along", "sun", "--at",
                               "2019-06-21T03:30", "--json"});
    EXPECT_LT(early["azimuth"].get<double>(), 70);
    EXPECT_TRUE(early["satelliteLongitude"].is_null());
}

TEST(TarvoAstronomy, BadInputIsAOneLineUsageError) {
    const std::vector<std::vector<std::string>> bad = {
        {"moon", "--lat", "29", "--lon", "-81"},
        {"moon", "--lat", "29", "--lon", "-81", "--tz", "UTC", "--date", "2019-02-30"},
        {"moon", "--lat", "95", "--lon", "-81", "--tz", "UTC"},
        {"sky", "--lat", "29", "--lon", "-81", "--at", "2019-06-21 15:54"},
        {"sky", "--lat", "29", "--lon", "-81", "--at", "2019-06-21T24:00"},
        {"sky", "--lat", "29"},
        {"dish", "--lat", "29", "--lon", "-81"},
        {"dish", "--lat", "29", "--lon", "-81", "--sat-lon", "19", "--along", "sun"},
        {"dish", "--lat", "29", "--lon", "-81", "--along", "venus"},
        {"dish", "--lat", "29", "--lon", "-81", "--sat-lon", "200"},
        {"dish", "--lat", "29", "--lon", "-81", "--along", "moon", "--at", "noon"}};
    for (const auto& args : bad) {
        const auto r = runTarvo(args);
        EXPECT_EQ(r.status, 2) << args[0] << " " << r.err;
        EXPECT_TRUE(r.out.empty()) << r.out;
        EXPECT_EQ(r.err.rfind("tarvo: ", 0), 0u) << r.err;
        EXPECT_EQ(r.err.find('\n'), r.err.size() - 1) << "one line: " << r.err;
    }
    for (const char* command : {"moon", "sky", "dish"}) {
        const auto help = runTarvo({command, "--help"});
        EXPECT_EQ(help.status, 0);
        EXPECT_NE(help.out.find("--json"), std::string::npos) << command;
    }
}

TEST(TarvoAstronomy, LeavesNoDataFolder) {
    const std::string home = testing::TempDir() + "tarvo-astronomy-home";
    std::filesystem::remove_all(home);
    const std::vector<std::string> env = {"TARVO_HOME=" + home};
    EXPECT_EQ(runTarvo({"moon", "--lat", "10", "--lon", "0", "--tz", "UTC"}, env).status, 0);
    EXPECT_EQ(runTarvo({"sky", "--lat", "10", "--lon", "0"}, env).status, 0);
    EXPECT_EQ(runTarvo({"dish", "--lat", "10", "--lon", "0", "--along", "moon"}, env).status, 0);
    EXPECT_FALSE(std::filesystem::exists(home));
}
