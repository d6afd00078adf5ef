// Official timetables: exact-key lookup, CSV validation and replacement, and how the day
// pipeline merges their rows.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/Dates.h"
#include "support/LogCapture.h"
#include "support/PublishedTimetable.h"
#include "support/ResultValue.h"
#include "support/RunProcess.h"
#include "tarvo/calculation/DubaiFixedTimes.h"
#include "tarvo/calculation/KLFixedTimes.h"
#include "tarvo/calculation/PrayerCalculator.h"
#include "tarvo/calculation/TimetableCsvParser.h"

using tarvo::DubaiFixedTimes;
using tarvo::KLFixedTimes;
using tarvo::PrayerCalculator;
using tarvo::test::noonOn;
using testing::Contains;
using testing::Each;
using testing::StartsWith;

namespace {

// Puts the shipped rows back after a test replaced a table.
class FixedTimetableMerge : public ::testing::Test {
protected:
    void TearDown() override {
        ASSERT_TRUE(DubaiFixedTimes::timetable().replaceFromCsvFile(TARVO_SOURCE_DIR "/data/timetables/dubai.csv"));
        ASSERT_TRUE(KLFixedTimes::timetable().replaceFromCsvFile(TARVO_SOURCE_DIR "/data/timetables/kuala_lumpur.csv"));
    }
    // The day at noon on `date`, with `method` and `asr` set on `c` first.
    static std::vector<double> day(PrayerCalculator& c, tarvo::Date date, int64_t method, int64_t asr,
                                   std::optional<std::string> city, double lat, double lng, const char* zone) {
        c.setCalcMethod(method);
        c.setAsrJuristic(asr);
        return c.getDatePrayerTimesAsDoubles(date, city, std::nullopt, lat, lng, std::string(zone));
    }
};

}  // namespace

TEST(FixedTimetable, LooksUpOnlyExactDayKeysAndRejectsBadRowsWithTheirLine) {
    const std::array<double, 6> missing{-1, -1, -1, -1, -1, -1};
    EXPECT_EQ(DubaiFixedTimes::getTimingsForEpoch(1514764800)[0], 5.7);  // 2018-01-01
    EXPECT_EQ(DubaiFixedTimes::getTimingsForEpoch(1514764800 + 3600), missing);
    EXPECT_EQ(DubaiFixedTimes::getTimingsForEpoch(1483228800), missing);  // 2017-01-01
    EXPECT_EQ(KLFixedTimes::getTimingsForEpoch(1609372800), missing);     // past Kuala Lumpur's range

    tarvo::TimetableCsvParser parser(1514764800, 1609372800);
    const auto ok = parser.parse("# comment\ndate,fajr,sunrise,dhuhr,asr,maghrib,isha\n\n"
                                 "2018-01-02,5.7,7,12,15,17,19\n2018-01-01,5,7,12,15,17,19\n");
    ASSERT_TRUE(ok);
    EXPECT_EQ((*ok)[0].key, 1514764800);  // sorted by date
    const std::pair<const char*, const char*> bad[] = {
        {"2018-01-01,5,7,12,15,17\n", "line 1: expected 7 columns"},
        {"2017-12-31,5,7,12,15,17,19\n", "line 1: date 2017-12-31 is outside the table's range"},
        {"\n2018-01-01,5,7,12,15,17,24.5\n", "line 2: Isha 24.5 is outside 0 to 24 hours"},
        {"2018-01-01,5,x,12,15,17,19\n", "line 1: sunrise 'x' is not a number"},
        {"2018-02-30,5,7,12,15,17,19\n", "line 1: '2018-02-30' is not a date"},
        {"2018-01-01,5,7,12,15,17,19\n2018-01-01,5,7,12,15,17,19\n", "date 2018-01-01 appears more than once"},
    };
    for (const auto& [text, message] : bad) {
        const std::string error = tarvo::test::errorOrFailure(parser.parse(text));
        EXPECT_EQ(error.rfind(message, 0), 0u) << text << error;
    }
    // The build step refuses a bad file, naming file and line.
    tarvo::test::TempFolder folder;
    tarvo::test::writeBytes(folder / "bad.csv", "date,fajr,sunrise,dhuhr,asr,maghrib,isha\n2018-01-01,5,7,12,15,17\n");
    const auto built = tarvo::test::runProcess(TARVO_TABLEGEN_PATH, {(folder / "bad.csv").string(),
                                                                     (folder / "out.cpp").string(), "kTable", "2018-01-01", "2020-12-31"});
    EXPECT_NE(built.status, 0);
    EXPECT_NE(built.err.find((folder / "bad.csv").string() + ":2: expected 7 columns"), std::string::npos) << built.err;
}

TEST_F(FixedTimetableMerge, InvalidReplacementKeepsTheCompiledTable) {
    tarvo::test::LogCapture log;
    EXPECT_EQ(tarvo::test::errorOrFailure(DubaiFixedTimes::timetable().replaceFromCsvFile("/nonexistent/dubai.csv")),
              "cannot read /nonexistent/dubai.csv");
    EXPECT_EQ(tarvo::test::errorOrFailure(DubaiFixedTimes::timetable().replaceFromCsvText("2018-01-01,1,2,3\n")),
              "line 1: expected 7 columns (date and six times), found 4");
    EXPECT_EQ(log.errors().size(), 2u);
    EXPECT_EQ(DubaiFixedTimes::getTimingsForEpoch(1514764800)[0], 5.7);
}

TEST_F(FixedTimetableMerge, DubaiUsesItsTimetableOnlyWithTheUAEMethod) {
    // Within 14 nautical miles of the reference point, with method 7: the official row.
    PrayerCalculator c;
    auto t = day(c, noonOn(2018, 1, 1), 7, 0, "Jumeirah", 25.2, 55.27, "Asia/Dubai");
    EXPECT_TRUE(c.isUsingFixedTimings());
    EXPECT_EQ(t[PrayerCalculator::Fajr], 5.7);
    EXPECT_EQ(t[PrayerCalculator::Maghrib], 17.73333333);
    EXPECT_NE(t[PrayerCalculator::Sunset], 17.73333333);  // the row has no sunset: computed
    EXPECT_EQ(t[PrayerCalculator::TomorrowFajr], 5.7);    // from 2018-01-02
    // Two thirds into the night from the row's Maghrib 17:44 to tomorrow's Fajr 05:42: 01:42:40.
    EXPECT_NEAR(t[PrayerCalculator::Qiyam], 1.71111111, 1e-8);
    // A Hanafi user keeps the computed Asr; the rest comes from the row.
    t = day(c, noonOn(2018, 1, 1), 7, 2, "Jumeirah", 25.2, 55.27, "Asia/Dubai");
    EXPECT_GT(t[PrayerCalculator::Asr], 15.5);
    EXPECT_EQ(t[PrayerCalculator::Isha], 19.05);
    // The Arabic name alone is enough, far from the reference point.
    EXPECT_EQ(day(c, noonOn(2018, 1, 1), 7, 0, "\u062F\u0628\u064A", 10, 10, "Asia/Dubai")[0], 5.7);
    // Method 1 in Dubai: computed.
    EXPECT_NE(day(c, noonOn(2018, 1, 1), 1, 0, "Jumeirah", 25.2, 55.27, "Asia/Dubai")[0], 5.7);
    EXPECT_TRUE(c.isDubai());
    EXPECT_FALSE(c.isUsingFixedTimings());
}

TEST_F(FixedTimetableMerge, KualaLumpurMatchesLooselyByNameAndKeepsMinuteFajr) {
    ASSERT_TRUE(KLFixedTimes::timetable().replaceFromCsvText("2019-06-01,5.8,7.05,13.2,16.6,19.4,20.7\n"
                                                             "2019-06-02,5.81,7.06,13.21,16.61,19.41,20.71\n"));
    // Any name containing "KL", far from Kuala Lumpur, counts: the name test is deliberately loose.
    PrayerCalculator klang;
    const auto t = day(klang, noonOn(2019, 6, 1), 0, 0, "AKLang Heights", 40, -100, "Asia/Kuala_Lumpur");
    EXPECT_TRUE(klang.isKualaLumpur());
    EXPECT_EQ(t[PrayerCalculator::Fajr], 5.8);
    EXPECT_EQ(t[PrayerCalculator::TomorrowFajr], 5.81);
    // Fajr in minutes keeps the computed Fajr; the rest, and tomorrow's Fajr, come from the table.
    PrayerCalculator custom;
    custom.setFajrMinutes(80);
    const auto u = day(custom, noonOn(2019, 6, 1), 6, 0, std::nullopt, 3.14, 101.69, "Asia/Kuala_Lumpur");
    EXPECT_NE(u[PrayerCalculator::Fajr], 5.8);
    EXPECT_EQ(u[PrayerCalculator::Sunrise], 7.05);
    EXPECT_EQ(u[PrayerCalculator::TomorrowFajr], 5.81);
    // A date the table does not cover: computed times, but the flag still says fixed.
    PrayerCalculator outside;
    EXPECT_NE(day(outside, noonOn(2021, 6, 1), 0, 0, "KL Sentral", 3.14, 101.69, "Asia/Kuala_Lumpur")[0], 5.8);
    EXPECT_TRUE(outside.isUsingFixedTimings());
}

TEST_F(FixedTimetableMerge, TomorrowsKeyIsTakenInUTCNotTheDeviceZone) {
    ASSERT_TRUE(DubaiFixedTimes::timetable().replaceFromCsvText("2019-03-10,5.1,6.1,12.1,15.1,18.1,19.1\n"
                                                                "2019-03-11,5.2,6.2,12.2,15.2,18.2,19.2\n"));
    const tarvo::TimeZone device = tarvo::TimeZone::systemDefault();
    tarvo::TimeZone::setSystemDefault(*tarvo::TimeZone::withName("Pacific/Auckland"));  // UTC+13 in March
    PrayerCalculator c;
    const auto t = day(c, noonOn(2019, 3, 10), 7, 0, std::nullopt, 25.2, 55.27, "Asia/Dubai");
    tarvo::TimeZone::setSystemDefault(device);
    // Tomorrow noon in Auckland is still 10 March in UTC, so tomorrow repeats today's row.
    EXPECT_EQ(t[PrayerCalculator::Fajr], 5.1);
    EXPECT_EQ(t[PrayerCalculator::TomorrowFajr], 5.1);
    EXPECT_EQ(t[PrayerCalculator::TomorrowSunrise], 6.1);
}

TEST_F(FixedTimetableMerge, KualaLumpurGivesJakimsPublishedTimesEveryDayOfItsRange) {
    // JAKIM's e-Solat WLY01 tables as printed (HH:MM), the source the shipped rows were built
    // from: at the reference point every covered day prints them exactly, whatever the method.
    const auto a =
        tarvo::test::compareWithPublished(TARVO_SOURCE_DIR "/tests/data/timetables/jakim-wly01-2019-2020.csv", 1,
                                          "place,3.1412,101.68653,Asia/Kuala_Lumpur,1");
    EXPECT_EQ(a.compared, (365 + 366) * 6);
    // 2020-12-31 is not covered: computed by the Muslim League's 18 degrees, three minutes
    // before JAKIM's printed Subuh of 06:06.
    EXPECT_THAT(a.differing, Contains("2020-12-31 fajr 06:03"));
    EXPECT_THAT(a.differing, Each(StartsWith("2020-12-31 ")));
}
