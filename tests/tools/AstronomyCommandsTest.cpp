// The tarvo tool's moon, sky and dish commands: the place's clock, the wall clock of --at and
// the empty answers. The figures themselves are the library's, checked in tests/astronomy.
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "support/RunProcess.h"

using nlohmann::json;
using Args = std::vector<std::string>;

namespace {
json jsonOf(Args args, const Args& env = {"TZ=UTC"}) {
    args.push_back("--json");
    const auto r = tarvo::test::runTarvo(args, env);
    EXPECT_EQ(r.status, 0) << r.err;
    return json::parse(r.out);
}
}  // namespace

TEST(TarvoAstronomy, MoonSkyAndDishOutput) {
    // 29 N 81 W (EST), 21 January 2019: moonset 07:39, then moonrise 18:40; the 26th has no moonrise.
    const Args florida = {"moon", "--lat", "29", "--lon", "-81", "--tz", "America/New_York", "--date"};
    Args full = florida, noRise = florida;
    full.push_back("2019-01-21");
    noRise.push_back("2019-01-26");
    const json j = jsonOf(full);
    EXPECT_EQ(j["set"], "2019-01-21T07:39-05:00");
    EXPECT_EQ(j["rise"], "2019-01-21T18:40-05:00");
    EXPECT_TRUE(jsonOf(noRise)["rise"].is_null());
    EXPECT_NE(tarvo::test::runTarvo(noRise).out.find("No moonrise on this day."), std::string::npos);

    // --at is the device's wall clock: 17:54 in Paris (CEST) is 15:54 UTC, the June solstice
    // moment the sun stands overhead at 23.44 N, 58.07 W.
    const json sky = jsonOf({"sky", "--lat", "23.4361", "--lon", "-58.07", "--at", "2019-06-21T17:54"}, {"TZ=Europe/Paris"});
    EXPECT_EQ(sky["at"], "2019-06-21T15:54+00:00");
    EXPECT_GT(sky["sun"]["altitude"].get<double>(), 89.9);

    // Soon after midsummer sunrise in Munich the orbit is below the horizon in the sun's direction.
    EXPECT_TRUE(jsonOf({"dish", "--lat", "48.14", "--lon", "11.58", "--along", "sun", "--at", "2019-06-21T03:30"})
                    ["satelliteLongitude"].is_null());
    EXPECT_EQ(jsonOf({"dish", "--lat", "48.14", "--lon", "11.58", "--sat-lon", "19.2"})["visible"], true);
}
