// The computing commands with a JAKIM zone (--zone CODE, --zone auto) and with Maghrib and
// Isha as minutes over a method; `tarvo zones`. The zones' own figures are the library's
// (tests/calculation/PrayerZoneTest.cpp).
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "support/RunProcess.h"

using nlohmann::json;
using tarvo::test::runTarvo;
using Args = std::vector<std::string>;

namespace {
int minutes(const json& hhmm) {
    const std::string t = hhmm.get<std::string>();
    return std::stoi(t.substr(0, 2)) * 60 + std::stoi(t.substr(3, 2));
}
}  // namespace

TEST(TarvoZones, TimesForAZoneAndTheZoneOfAPosition) {
    // e-Solat WLY01, 2024-01-01: Subuh 06:06, Syuruk 07:17, Zohor 13:19, Asar 16:42,
    // Maghrib 19:16, Isyak 20:31.
    const auto wly01 = runTarvo({"times", "--zone", "wly01", "--date", "2024-01-01", "--json"}, {"TZ=UTC"});
    ASSERT_EQ(wly01.status, 0) << wly01.err;
    const json j = json::parse(wly01.out);
    EXPECT_EQ(j["method"], 9);
    EXPECT_EQ(j["utcOffset"], "+08:00");
    const int published[] = {6 * 60 + 6, 7 * 60 + 17, 13 * 60 + 19, 16 * 60 + 42, -1, 19 * 60 + 16, 20 * 60 + 31};
    for (size_t i = 0; i < 7; ++i) {
        if (published[i] >= 0) {
            EXPECT_LE(std::abs(minutes(j["text"][i]) - published[i]), 1) << i;
        }
    }
    // Ipoh lies in PRK02: the same times as --zone PRK02, and the zone is named.
    const auto ipoh = runTarvo({"times", "--zone", "auto", "--lat", "4.5975", "--lon", "101.0901", "--date",
                                "2024-01-01", "--json"});
    ASSERT_EQ(ipoh.status, 0) << ipoh.err;
    EXPECT_NE(ipoh.err.find("zone PRK02"), std::string::npos) << ipoh.err;
    const auto prk02 = runTarvo({"times", "--zone", "PRK02", "--date", "2024-01-01", "--json"});
    EXPECT_EQ(json::parse(ipoh.out)["text"], json::parse(prk02.out)["text"]);
    const auto listed = runTarvo({"zones", "--json"});
    ASSERT_EQ(listed.status, 0) << listed.err;
    const json zones = json::parse(listed.out);
    EXPECT_EQ(zones.size(), 59u);
    EXPECT_EQ(zones[0]["code"], "JHR01");
}

TEST(TarvoZones, UsageErrors) {
    struct Case {
        Args args;
        const char* says;
    };
    for (const Case& c : {Case{{"times", "--zone", "WLY1"}, "WLY01, WLY02"},
                          Case{{"times", "--zone", "WLY01", "--method", "mwl"}, "jakim"},
                          Case{{"times", "--zone", "WLY01", "--lat", "3"}, "--lat"},
                          Case{{"times", "--zone", "SWK09"}, "no known reference point"},
                          Case{{"times", "--zone", "auto", "--lat", "1.2897", "--lon", "103.8501"}, "Singapore"},
                          Case{{"times", "--zone", "auto"}, "--lat"},
                          Case{{"times", "--lat", "21.4", "--lon", "39.8", "--tz", "Asia/Riyadh", "--isha-angle", "17",
                                "--isha-minutes", "90"},
                               "not both"},
                          Case{{"day", "--lat", "21.4", "--lon", "39.8", "--tz", "Asia/Riyadh", "--isha-minutes", "0"},
                               "--isha-minutes"},
                          Case{{"day", "--lat", "21.4", "--lon", "39.8", "--tz", "Asia/Riyadh", "--maghrib-minutes",
                                "1441"},
                               "Maghrib interval 1441 is outside 0 to 1440 minutes"}}) {
        const auto r = runTarvo(c.args);
        EXPECT_EQ(r.status, 2) << c.args[2] << ": " << r.err;
        EXPECT_NE(r.err.find(c.says), std::string::npos) << r.err;
    }
}

TEST(TarvoZones, MinuteOverridesOverAMethod) {
    // Karachi with Maghrib 5 minutes after sunset and Isha 300 after Maghrib (the tool takes
    // what the library takes, up to a day): Fajr stays Karachi's.
    const Args karachi = {"times", "--lat", "24.8607", "--lon", "67.0011", "--tz", "Asia/Karachi",
                          "--date", "2024-03-01", "--method", "3", "--json"};
    auto changedArgs = karachi;
    changedArgs.insert(changedArgs.end(), {"--maghrib-minutes", "5", "--isha-minutes", "300"});
    const auto plain = runTarvo(karachi), changed = runTarvo(changedArgs);
    ASSERT_EQ(changed.status, 0) << changed.err;
    const json p = json::parse(plain.out)["hours"], c = json::parse(changed.out)["hours"];
    EXPECT_EQ(c[0], p[0]);
    EXPECT_NEAR((c[5].get<double>() - c[4].get<double>()) * 60, 5, 1e-9);
    EXPECT_NEAR((c[6].get<double>() - c[5].get<double>()) * 60, 300, 1e-9);
    // The facade commands take them too.
    const auto day = runTarvo({"day", "--lat", "24.8607", "--lon", "67.0011", "--tz", "Asia/Karachi", "--date",
                               "2024-03-01", "--method", "3", "--isha-minutes", "90", "--json"});
    ASSERT_EQ(day.status, 0) << day.err;
    const json prayers = json::parse(day.out)["days"][0]["prayers"];
    EXPECT_EQ(minutes(prayers[6]["clock"]) - minutes(prayers[5]["clock"]), 90);
}
