// The computing commands with a JAKIM zone (--zone CODE, --zone auto) and with Maghrib and
// Isha as minutes over a method; `tarvo zones`. The zones' own figures are the library's
// (tests/calculation/PrayerZoneTest.cpp).
#include "support/ToolHarness.h"

using namespace tarvo::test;

namespace {
int minutes(const json& hhmm) {
    const std::string t = hhmm.get<std::string>();
    return std::stoi(t.substr(0, 2)) * 60 + std::stoi(t.substr(3, 2));
}
}  // namespace

TEST(TarvoZones, TimesForAZoneAndTheZoneOfAPosition) {
    // e-Solat WLY01, 2024-01-01: Subuh 06:06, Syuruk 07:17, Zohor 13:19, Asar 16:42,
    // Maghrib 19:16, Isyak 20:31.
    const json j = jsonOf({"times", "--zone", "wly01", "--date", "2024-01-01", "--json"}, {"TZ=UTC"});
    EXPECT_EQ(j["method"], 9);
    EXPECT_EQ(j["utcOffset"], "+08:00");
    const int published[] = {6 * 60 + 6, 7 * 60 + 17, 13 * 60 + 19, 16 * 60 + 42, -1, 19 * 60 + 16, 20 * 60 + 31};
    for (size_t i = 0; i < 7; ++i) {
        if (published[i] >= 0) {
            EXPECT_LE(std::abs(minutes(j["text"][i]) - published[i]), 1) << i;
        }
    }
    // Ipoh lies in PRK02: the same times as --zone PRK02, and the zone is named.
    const auto ipoh =
        runTarvo({"times", "--zone", "auto", "--lat", "4.5975", "--lon", "101.0901", "--date", "2024-01-01", "--json"});
    ASSERT_EQ(ipoh.status, 0) << ipoh.err;
    EXPECT_THAT(ipoh.err, HasSubstr("zone PRK02"));
    EXPECT_EQ(json::parse(ipoh.out)["text"],
              jsonOf({"times", "--zone", "PRK02", "--date", "2024-01-01", "--json"})["text"]);
    const json zones = jsonOf({"zones", "--json"});
    EXPECT_EQ(zones.size(), 59u);
    EXPECT_EQ(zones[0]["code"], "JHR01");
}

TEST(TarvoZones, UsageErrors) {
    const Args riyadh = {"--lat", "21.4", "--lon", "39.8", "--tz", "Asia/Riyadh"};
    EXPECT_TRUE(refuses(2, {"times", "--zone", "WLY1"}, "WLY01, WLY02"));
    EXPECT_TRUE(refuses(2, {"times", "--zone", "WLY01", "--method", "mwl"}, "jakim"));
    EXPECT_TRUE(refuses(2, {"times", "--zone", "WLY01", "--lat", "3"}, "--lat"));
    EXPECT_TRUE(refuses(2, {"times", "--zone", "SWK09"}, "no known reference point"));
    EXPECT_TRUE(refuses(2, {"times", "--zone", "auto", "--lat", "1.2897", "--lon", "103.8501"}, "Singapore"));
    EXPECT_TRUE(refuses(2, {"times", "--zone", "auto"}, "--lat"));
    EXPECT_TRUE(refuses(2, with({"times", "--isha-angle", "17", "--isha-minutes", "90"}, riyadh), "not both"));
    EXPECT_TRUE(refuses(2, with({"day", "--isha-minutes", "0"}, riyadh), "--isha-minutes"));
    EXPECT_TRUE(refuses(2, with({"day", "--maghrib-minutes", "1441"}, riyadh),
                        "Maghrib interval 1441 is outside 0 to 1440 minutes"));
}

TEST(TarvoZones, MinuteOverridesOverAMethod) {
    // Karachi with Maghrib 5 minutes after sunset and Isha 300 after Maghrib (the tool takes
    // what the library takes, up to a day): Fajr stays Karachi's.
    const Args karachi = {"--lat",  "24.8607",    "--lon",    "67.0011", "--tz",  "Asia/Karachi",
                          "--date", "2024-03-01", "--method", "3",       "--json"};
    const json p = jsonOf(with({"times"}, karachi))["hours"];
    const json c = jsonOf(with(with({"times"}, karachi), {"--maghrib-minutes", "5", "--isha-minutes", "300"}))["hours"];
    EXPECT_EQ(c[0], p[0]);
    EXPECT_NEAR((c[5].get<double>() - c[4].get<double>()) * 60, 5, 1e-9);
    EXPECT_NEAR((c[6].get<double>() - c[5].get<double>()) * 60, 300, 1e-9);
    // The facade commands take them too.
    const json prayers = jsonOf(with(with({"day"}, karachi), {"--isha-minutes", "90"}))["days"][0]["prayers"];
    EXPECT_EQ(minutes(prayers[6]["clock"]) - minutes(prayers[5]["clock"]), 90);
}
