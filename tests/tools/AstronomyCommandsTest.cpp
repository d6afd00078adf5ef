// The tarvo tool's moon, sky and dish commands, run as a person would.
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

TEST(TarvoAstronomy, MoonSkyAndDishOutput) {
    // The library's figures are checked against USNO and Meeus in tests/astronomy; here the
    // tool's fields and clocks. 21 January 2019 at 29 N 81 W (EST): moonset 07:39, moonrise 18:40.
    const std::vector<std::string> florida = {"moon", "--lat", "29", "--lon", "-81", "--tz", "America/New_York", "--date"};
    const auto on = [&](const char* date, std::vector<std::string> extra) {
        auto args = florida;
        args.push_back(date);
        args.insert(args.end(), extra.begin(), extra.end());
        return args;
    };
    const json j = jsonOf(on("2019-01-21", {"--json"}));
    EXPECT_EQ(j["date"], "2019-01-21");
    EXPECT_EQ(j["rise"], "2019-01-21T18:40-05:00");
    EXPECT_EQ(j["set"], "2019-01-21T07:39-05:00");
    EXPECT_EQ(j["events"][0]["event"], "set");
    EXPECT_EQ(j["phase"], "full");
    for (const char* number : {"illumination", "ageDays", "distanceKm"}) EXPECT_TRUE(j[number].is_number()) << number;
    ASSERT_TRUE(j["compatible"].is_array());
    EXPECT_EQ(j["compatible"].size(), 2u);
    // 26 January has no moonrise: null, and the text says so.
    EXPECT_TRUE(jsonOf(on("2019-01-26", {"--json"}))["rise"].is_null());
    const auto text = runTarvo(on("2019-01-26", {}));
    EXPECT_NE(text.out.find("No moonrise on this day."), std::string::npos) << text.out;
    EXPECT_NE(text.out.find("Moonset    11:20"), std::string::npos) << text.out;
    // Longyearbyen, 19 January 2019: the moon never sets.
    EXPECT_EQ(jsonOf({"moon", "--lat", "78.22", "--lon", "15.65", "--tz", "Arctic/Longyearbyen", "--date", "2019-01-19",
                      "--json"})["upAllDay"], true);

    // --at is the device's wall clock: 17:54 in Paris (CEST) is 15:54 UTC, the June solstice
    // moment the sun stands overhead at 23.44 N, 58.07 W.
    const json sky = jsonOf({"sky", "--lat", "23.4361", "--lon", "-58.07", "--at", "2019-06-21T17:54", "--json"},
                            {"TZ=Europe/Paris"});
    EXPECT_EQ(sky["at"], "2019-06-21T15:54+00:00");
    EXPECT_GT(sky["sun"]["altitude"].get<double>(), 89.9);
    EXPECT_TRUE(sky["moon"]["altitude"].is_number());

    // Munich to Astra 19.2 E: 34.22 degrees geometric plus 1.5' of refraction.
    const json astra = jsonOf({"dish", "--lat", "48.14", "--lon", "11.58", "--sat-lon", "19.2", "--json"});
    EXPECT_NEAR(astra["geometricElevation"].get<double>(), 34.22, 0.01);
    EXPECT_NEAR(astra["elevation"].get<double>(), 34.22 + 1.5 / 60, 0.01);
    EXPECT_NEAR(astra["azimuth"].get<double>(), 169.82, 0.01);
    EXPECT_EQ(astra["visible"], true);
    // At Munich's solar noon the satellite along the sun is on the meridian; soon after
    // midsummer sunrise the orbit is below the horizon in the sun's direction.
    EXPECT_NEAR(jsonOf({"dish", "--lat", "48.14", "--lon", "11.58", "--along", "sun", "--at", "2019-01-01T11:17",
                        "--json"})["satelliteLongitude"].get<double>(), 11.58, 0.2);
    EXPECT_TRUE(jsonOf({"dish", "--lat", "48.14", "--lon", "11.58", "--along", "sun", "--at", "2019-06-21T03:30",
                        "--json"})["satelliteLongitude"].is_null());
}
