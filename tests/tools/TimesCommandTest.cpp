// The tarvo tool's one-shot commands: times (the fields, the text, an unknown zone, methods by
// name), qibla, methods, and moon, sky and dish (the place's clock, the wall clock of --at and
// the empty answers). The figures themselves are the library's (tests/astronomy, tests/calculation).
#include "support/ToolHarness.h"

using namespace tarvo::test;

namespace {
// The JSON answer of a command, on the UTC clock unless `env` says otherwise.
json answer(const Args& args, const Args& env = {"TZ=UTC"}) { return jsonOf(with(args, {"--json"}), env); }
}  // namespace

TEST(TarvoTimes, JsonTextAndPolarDays) {
    const Args makkah = {"times",       "--lat",  "21.4225",    "--lon",    "39.8262", "--tz",
                         "Asia/Riyadh", "--date", "2016-01-05", "--method", "4"};
    const json j = answer(makkah);
    EXPECT_EQ(j["text"],
              json({"05:38", "07:00", "12:26", "15:31", "17:52", "17:52", "19:22", "01:43", "05:39", "07:00"}));
    EXPECT_EQ(j["fixedTimings"], false);
    const std::string text =
        outputOf(with(makkah, {"--format", "12", "--city", "Makkah", "--country", "Saudi Arabia"}));
    for (const char* part : {"Makkah, Saudi Arabia", "Umm Al-Qura", "pm"}) EXPECT_THAT(text, HasSubstr(part));
    // No sunrise at midsummer in Longyearbyen: null in hours, N/A in the text.
    const json polar =
        answer({"times", "--lat", "78.22", "--lon", "15.65", "--tz", "Arctic/Longyearbyen", "--date", "2024-06-21"});
    EXPECT_TRUE(polar["hours"][1].is_null());
    EXPECT_EQ(polar["text"][1], "N/A");
    EXPECT_EQ(answer({"qibla", "--lat", "51.5", "--lon", "-0.1167"})["bearing"], 118);
}

TEST(TarvoTimes, UnknownZoneWarnsAndUsesGMT) {
    const Args mars = {"times", "--lat", "10", "--lon", "0", "--tz", "Mars/Base", "--date", "2020-01-01", "--json"};
    const auto r = runTarvo(mars);
    EXPECT_EQ(r.status, 0);
    EXPECT_THAT(r.err, HasSubstr("warning: unknown time zone 'Mars/Base'"));
    EXPECT_THAT(r.err, Not(HasSubstr("Timezone Could Not Be Found"))) << "the engine's line only when asked";
    EXPECT_EQ(json::parse(r.out)["hours"],
              jsonOf({"times", "--lat", "10", "--lon", "0", "--tz", "GMT", "--date", "2020-01-01", "--json"})["hours"]);
    EXPECT_THAT(runTarvo(mars, {"TARVO_LOG_LEVEL=verbose"}).err, HasSubstr("Timezone Could Not Be Found: Mars/Base"));
}

TEST(TarvoMethods, ListsThemAndTimesAcceptsNames) {
    const json methods = jsonOf({"methods", "--json"});
    EXPECT_EQ(methods[7]["key"], "diyanet");
    EXPECT_EQ(methods[7]["minuteOffsets"]["sunrise"], -7);
    EXPECT_EQ(methods[11]["maghrib"]["selector"], "angle");
    EXPECT_EQ(methods[16]["status"], "unchecked");
    EXPECT_THAT(outputOf({"methods"}), HasSubstr("Status: unchecked"));
    EXPECT_EQ(methods[0]["status"], "base");
    EXPECT_EQ(methods[0]["rounding"]["isha"], "nearest");
    EXPECT_EQ(methods[8]["minuteOffsets"]["dhuhr"], 3);  // JAKIM's Zohor

    const Args istanbul = {"times", "--lat",           "41.0082", "--lon",      "28.9784",
                           "--tz",  "Europe/Istanbul", "--date",  "2025-03-01", "--json"};
    const auto method = [&](const char* name) { return outputOf(with(istanbul, {"--method", name})); };
    EXPECT_EQ(method("Diyanet"), method("8"));
    EXPECT_NE(method("Diyanet"), method("3"));
    EXPECT_TRUE(refuses(2, with(istanbul, {"--method", "diyanett"}), "'diyanett' is not a calculation method"));

    // An angle overrides one number of any method and keeps the rest: Karachi with a 19.5
    // degree Fajr is the custom method with Karachi's 18 degree Isha; Diyanet told its own 18
    // degrees keeps its temkin minutes, so nothing changes.
    const auto hours = [&](const Args& extra) { return jsonOf(with(istanbul, extra))["hours"]; };
    EXPECT_EQ(hours({"--method", "3", "--fajr-angle", "19.5"}),
              hours({"--method", "6", "--fajr-angle", "19.5", "--isha-angle", "18"}));
    EXPECT_NE(hours({"--method", "3", "--fajr-angle", "19.5"})[0], hours({"--method", "3"})[0]);
    EXPECT_EQ(hours({"--method", "diyanet", "--fajr-angle", "18"}), hours({"--method", "diyanet"}));
}

TEST(TarvoAstronomy, MoonSkyAndDishOutput) {
    // 29 N 81 W (EST), 21 January 2019: moonset 07:39, then moonrise 18:40; the 26th has no moonrise.
    const Args florida = {"moon", "--lat", "29", "--lon", "-81", "--tz", "America/New_York", "--date"};
    const json j = answer(with(florida, {"2019-01-21"}));
    EXPECT_EQ(j["set"], "2019-01-21T07:39-05:00");
    EXPECT_EQ(j["rise"], "2019-01-21T18:40-05:00");
    EXPECT_TRUE(answer(with(florida, {"2019-01-26"}))["rise"].is_null());
    EXPECT_THAT(outputOf(with(florida, {"2019-01-26"})), HasSubstr("No moonrise on this day."));

    // --at is the device's wall clock: 17:54 in Paris (CEST) is 15:54 UTC, the June solstice
    // moment the sun stands overhead at 23.44 N, 58.07 W.
    const json sky =
        answer({"sky", "--lat", "23.4361", "--lon", "-58.07", "--at", "2019-06-21T17:54"}, {"TZ=Europe/Paris"});
    EXPECT_EQ(sky["at"], "2019-06-21T15:54+00:00");
    EXPECT_GT(sky["sun"]["altitude"].get<double>(), 89.9);

    // Soon after midsummer sunrise in Munich the orbit is below the horizon in the sun's direction.
    EXPECT_TRUE(answer({"dish", "--lat", "48.14", "--lon", "11.58", "--along", "sun", "--at",
                        "2019-06-21T03:30"})["satelliteLongitude"]
                    .is_null());
    EXPECT_EQ(answer({"dish", "--lat", "48.14", "--lon", "11.58", "--sat-lon", "19.2"})["visible"], true);
}
