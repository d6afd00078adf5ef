// tarvo alerts, duration, hijri, month, day and now in a fresh data folder: the place's clock,
// the user's settings, one custom-method rule in every command. The wording and the rules are
// the library's (tests/facade, tests/prayers); here what the flags, the settings and the
// process's locale change. Each locale is its own run of the tool.
#include "support/ToolHarness.h"

using namespace tarvo::test;

namespace {

const std::string kArabicDigits = "LANG=ar_SA.UTF-8@numbers=arab";

Args makkah(const char* command, const Args& tail) { return with(with({command}, kMakkah), tail); }

std::string line(const std::string& text, const std::string& start) {
    const auto at = text.find(start);
    return at == std::string::npos ? std::string() : text.substr(at, text.find('\n', at) - at);
}

using TextCommands = ToolTest;

}  // namespace

TEST_F(TextCommands, AlertsListSetAndTheGlobalSwitch) {
    TempFolder sounds;
    const std::string picked = (sounds / "a.m4a").string();
    writeBytes(picked, "x");
    ASSERT_EQ(runTarvo({"alerts", "set", "Sunrise", "--on", "--sound", "1", "--prealert", "on"}).status, 0);
    ASSERT_EQ(runTarvo({"alerts", "set", "6", "--on"}).status, 0);
    ASSERT_EQ(runTarvo({"alerts", "set", "fajr", "--vibrate", "--file", picked}).status, 0);  // any case
    const json a = jsonOf({"alerts", "--json"}, {"TARVO_RESOURCES=" + sounds.path().string()})["alerts"];
    ASSERT_EQ(a.size(), 10u);
    EXPECT_EQ(a[1]["preAlert"], true);
    EXPECT_EQ(a[9]["missingFile"], (sounds / "1.mp3").string());  // tomorrow's sunrise shares the sound
    EXPECT_EQ(a[6]["soundOn"], true);
    EXPECT_EQ(a[0]["vibrateOnly"], true);
    EXPECT_EQ(a[0]["file"], picked);

    EXPECT_THAT(line(outputOf({"alerts", "all-off"}), "6 Isha"), HasSubstr("sound on, all sounds off"));
    ASSERT_EQ(runTarvo({"alerts", "all-on"}).status, 0);
    EXPECT_EQ(jsonOf({"alerts", "--json"})["alerts"][6]["soundOn"], true);
}

TEST_F(TextCommands, DurationsAndHijriDatesWithTheCorrectionAndTheLocale) {
    EXPECT_EQ(runTarvo({"duration", "--seconds", "--", "-90"}).out, "1m 30s\n");
    EXPECT_EQ(runTarvo({"duration", "3909", "--timer"}).out, "01:05:09\n");
    EXPECT_EQ(runTarvo({"duration", "3660", "--short"}).out, "1h 1m\n");

    EXPECT_EQ(jsonOf({"hijri", "1", "9", "1445", "--json"}),
              json({{"text", "11 Mar 2024"}, {"date", "2024-03-11"}, {"parts", {11, 3, 2024, 2}}}));
    ASSERT_EQ(runTarvo({"config", "set", "HijriCorrection", "2", "--type", "int"}).status, 0);
    EXPECT_EQ(jsonOf({"hijri", "--date", "2024-03-09", "--json"}),
              json({{"text", "1 Ramadan 1445"}, {"date", "2024-03-09"}, {"parts", {1, 9, 1445, 7}}}));
    // The process's locale reaches the formatter: Arabic digits and month names.
    ASSERT_EQ(runTarvo({"config", "set", "HijriCorrection", "0", "--type", "int"}).status, 0);
    EXPECT_EQ(line(runTarvo({"hijri", "1", "9", "1445"}, {kArabicDigits, "LC_ALL"}).out, ""),
              "\u0661\u0661 \u0645\u0627\u0631\u0633 \u0662\u0660\u0662\u0664");
}

TEST_F(TextCommands, MonthTimetableAsTableCsvAndJson) {
    EXPECT_EQ(
        line(outputOf(makkah("month", {"--month", "2016-01"})), "2016-01-05"),
        "2016-01-05  Tuesday    24 Rabi\u02BB I 1437         05:38     07:00     12:26     15:31     17:52     19:22"
        "     01:43");
    // Machine output is the same in every locale and with any --clock: ASCII, 24 hours.
    const std::string csvLine = "2016-01-05,Tuesday,24 Rabi\u02BB I 1437,05:38,07:00,12:26,15:31,17:52,19:22,01:43";
    const std::string csv =
        outputOf(makkah("month", {"--month", "2016-01", "--csv", "--clock", "12"}), {kArabicDigits, "LC_ALL"});
    EXPECT_EQ(std::count(csv.begin(), csv.end(), '\n'), 32);  // header + 31 days
    EXPECT_EQ(line(csv, "date,"), "date,weekday,hijri,fajr,sunrise,dhuhr,asr,maghrib,isha,qiyam");
    EXPECT_EQ(line(csv, "2016-01-05"), csvLine);

    const json j = jsonOf(makkah("month", {"--month", "2016-02", "--json"}));
    EXPECT_EQ(j["islamicMonthNumber"], 4);  // 1 February 2016 is 21 Rabi' II 1437
    ASSERT_EQ(j["days"].size(), 29u);       // a leap February
    EXPECT_EQ(j["days"][0]["hijri"]["parts"], json({21, 4, 1437, 2}));
}

TEST_F(TextCommands, DayAndNowUseThePlacesClockTheUsersSettingsAndTheClockFlag) {
    // The device's zone is not the place's: the place's clock is used all the same. --clock is
    // for people: JSON keeps 24 hours.
    const json j = jsonOf(makkah("now", {"--at", "2016-01-05T16:00", "--clock", "12", "--json"}), {"TZ=Europe/London"});
    EXPECT_EQ(j["now"], "2016-01-05T16:00:00+03:00");
    EXPECT_EQ(j["current"], json({{"type", 3}, {"name", "Asr"}, {"time", "2016-01-05T15:31:00+03:00"}, {"clock", "15:31"}}));
    EXPECT_EQ(j["next"]["time"], "2016-01-05T17:52:00+03:00");
    EXPECT_EQ(j["countdown"], json({{"seconds", 6720.0}, {"words", "1h 52m"}, {"timer", "01:52:00"}}));
    // The day of the moment asked about decides Jumua, not the day the tool runs.
    EXPECT_EQ(jsonOf(makkah("now", {"--at", "2024-03-15T12:40", "--json"}))["current"]["name"], "Jumua");
    EXPECT_EQ(jsonOf(makkah("now", {"--at", "2024-03-14T12:40", "--json"}))["current"]["name"], "Duhr");
    std::string out = outputOf(makkah("now", {"--at", "2016-01-05T15:30:30", "--clock", "24"}));
    EXPECT_EQ(line(out, "In:"), "In:       30 seconds (00:00:30)") << out;
    EXPECT_EQ(line(out, "Next:"), "Next:     Asr 15:31") << out;
    // Today's list always has something to count down to: tomorrow's Fajr and Sunrise are in it.
    EXPECT_GT(jsonOf(makkah("day", {"--json"}))["next"]["seconds"].get<double>(), 0);

    ASSERT_EQ(runTarvo({"config", "set", "UsePrayerAdjustments", "1", "--type", "int"}).status, 0);
    ASSERT_EQ(runTarvo({"config", "set", "FajrAdj", "-45", "--type", "int"}).status, 0);
    const json day = jsonOf(makkah("day", {"--date", "2016-01-05", "--days", "2", "--json"}));
    ASSERT_EQ(day["days"].size(), 2u);
    EXPECT_EQ(day["days"][1]["date"], "2016-01-06");
    const json& p = day["days"][0]["prayers"];
    ASSERT_EQ(p.size(), 10u);
    EXPECT_EQ(p[0], json({{"type", 0}, {"name", "Fajr"}, {"englishName", "Fajr"}, {"time", "2016-01-05T04:53:00+03:00"},
                          {"clock", "04:53"}, {"adjustmentMinutes", -45}, {"fixedTimings", false}}));
    EXPECT_EQ(p[1]["name"], "Sunrise");  // the tool registers UseSunrise as the host's default
    out = outputOf(makkah("day", {"--date", "2016-01-05", "--clock", "12"}));
    EXPECT_THAT(out, HasSubstr("  Fajr           4:53 am  -45 min\n"));
    EXPECT_EQ(line(out, "Next:"), "") << out;  // the day is long past
    // A fixed offset of five hours: Umm al-Qura's 05:38 (+03:00) Fajr, less 45 minutes, on that clock.
    EXPECT_EQ(jsonOf(makkah("day", {"--gmt", "5", "--date", "2016-01-05", "--json"}))["days"][0]
                  ["prayers"][0]["time"], "2016-01-05T06:53:00+05:00");
}

TEST_F(TextCommands, OneCustomMethodRuleInEveryCommand) {
    // The custom method without angles gives day and times the same Fajr and Isha.
    const Args custom = {"--lat",    "21.4225", "--lon",  "39.8262",    "--tz",  "Asia/Riyadh",
                         "--method", "6",       "--date", "2016-01-05", "--json"};
    const json prayers = jsonOf(with({"day"}, custom))["days"][0]["prayers"];
    const json text = jsonOf(with({"times"}, custom))["text"];
    EXPECT_EQ(prayers[0]["clock"], text[0]);
    EXPECT_EQ(prayers[6]["clock"], text[6]);
}
