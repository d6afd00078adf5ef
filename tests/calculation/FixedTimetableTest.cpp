// Official timetables: exact-key lookup, CSV validation and replacement, and how the day
// pipeline merges their rows.
#include <cmath>
#include <cstdio>
#include <fstream>

#include <gtest/gtest.h>

#include "support/Dates.h"
#include "support/LogCapture.h"
#include "support/RunProcess.h"
#include "tarvo/calculation/DubaiFixedTimes.h"
#include "tarvo/calculation/KLFixedTimes.h"
#include "tarvo/calculation/PrayerCalculator.h"
#include "tarvo/calculation/TimetableCsvParser.h"
#include "tarvo/platform/Calendar.h"

using tarvo::DubaiFixedTimes;
using tarvo::KLFixedTimes;
using tarvo::PrayerCalculator;
using tarvo::test::noonOn;

namespace {

const std::array<double, 6> kMissing{-1, -1, -1, -1, -1, -1};


// Puts the shipped rows back after a test replaced a table.
class RestoresTimetables : public ::testing::Test {
protected:
    void TearDown() override {
        std::string dubai = "date,fajr,sunrise,dhuhr,asr,maghrib,isha\n";
        std::ifstream d(TARVO_SOURCE_DIR "/data/timetables/dubai.csv");
        std::stringstream s;
        s << d.rdbuf();
        ASSERT_TRUE(DubaiFixedTimes::timetable().replaceFromCsvText(s.str()));
        ASSERT_TRUE(KLFixedTimes::timetable().replaceFromCsvText(""));
    }
};

}  // namespace

TEST(FixedTimetable, LooksUpOnlyExactDayKeys) {
    const auto first = DubaiFixedTimes::getTimingsForEpoch(1514764800);
    EXPECT_EQ(first[0], 5.7);
    EXPECT_EQ(first[5], 19.05);
    EXPECT_EQ(DubaiFixedTimes::getTimingsForEpoch(1514764800 + 3600), kMissing);
    EXPECT_EQ(DubaiFixedTimes::getTimingsForEpoch(1483228800), kMissing);  // 2017-01-01
    EXPECT_EQ(DubaiFixedTimes::getTimingsForEpoch(1609372800)[1], 7);     // 2020-12-31
    EXPECT_EQ(KLFixedTimes::getTimingsForEpoch(1609372800), kMissing);    // past Kuala Lumpur's range
    EXPECT_EQ(DubaiFixedTimes::timetable().firstKey(), 1514764800);
    EXPECT_EQ(KLFixedTimes::timetable().lastKey(), 1609286400);
}

TEST(FixedTimetable, ParserRejectsMalformedRowsWithTheirLine) {
    tarvo::TimetableCsvParser parser(1514764800, 1609372800);
    const auto ok = parser.parse("# comment\ndate,fajr,sunrise,dhuhr,asr,maghrib,isha\n\n"
                                 "2018-01-02,5.7,7,12,15,17,19\n2018-01-01,5,7,12,15,17,19\n");
    ASSERT_TRUE(ok);
    ASSERT_EQ(ok->size(), 2u);
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
        EXPECT_FALSE(parser.parse(text)) << text;
        EXPECT_EQ(parser.error().rfind(message, 0), 0u) << parser.error();
    }
}

TEST(FixedTimetable, BuildStepRejectsABadFileWithFileAndLine) {
    const std::string path = testing::TempDir() + "bad-timetable.csv";
    std::ofstream(path) << "date,fajr,sunrise,dhuhr,asr,maghrib,isha\n2018-01-01,5,7,12,15,17\n";
    const auto result = tarvo::test::runProcess(TARVO_TABLEGEN_PATH,
                                                {path, testing::TempDir() + "out.cpp", "kTable", "2018-01-01", "2020-12-31"});
    EXPECT_NE(result.status, 0);
    EXPECT_NE(result.err.find(path + ":2: expected 7 columns"), std::string::npos) << result.err;
    std::remove(path.c_str());
}

TEST_F(RestoresTimetables, InvalidReplacementKeepsTheCompiledTable) {
    tarvo::test::LogCapture log;
    std::string error;
    EXPECT_FALSE(DubaiFixedTimes::timetable().replaceFromCsvFile("/nonexistent/dubai.csv", &error));
    EXPECT_FALSE(DubaiFixedTimes::timetable().replaceFromCsvText("2018-01-01,1,2,3\n", &error));
    EXPECT_EQ(error, "line 1: expected 7 columns (date and six times), found 4");
    EXPECT_EQ(log.lines().size(), 2u);
    EXPECT_EQ(DubaiFixedTimes::getTimingsForEpoch(1514764800)[0], 5.7);

    const std::string path = testing::TempDir() + "kl.csv";
    std::ofstream(path) << "2019-01-01,5.96666667,7.3,13.31666667,16.7,19.26666667,20.5\n";
    EXPECT_TRUE(KLFixedTimes::timetable().replaceFromCsvFile(path));
    EXPECT_EQ(KLFixedTimes::getTimingsForEpoch(1546300800)[0], 5.96666667);
    std::remove(path.c_str());
}

TEST_F(RestoresTimetables, DubaiUsesItsTimetableOnlyWithTheUAEMethod) {
    const auto dubai = [](int64_t method, int64_t asr, const char* city, double lat, double lng) {
        auto c = std::make_unique<PrayerCalculator>();
        c->setCalcMethod(method);
        c->setAsrJuristic(asr);
        auto t = c->getDatePrayerTimesAsDoubles(noonOn(2018, 1, 1), std::string(city), std::nullopt, lat, lng,
                                                std::string("Asia/Dubai"));
        return std::make_pair(std::move(c), t);
    };
    // Within 14 nautical miles of the reference point, with method 7: the official row.
    auto [uae, t] = dubai(7, 0, "Jumeirah", 25.2, 55.27);
    EXPECT_TRUE(uae->isDubai());
    EXPECT_TRUE(uae->isUsingFixedTimings());
    EXPECT_EQ(t[PrayerCalculator::Fajr], 5.7);
    EXPECT_EQ(t[PrayerCalculator::Sunrise], 7.01666667);
    EXPECT_EQ(t[PrayerCalculator::Asr], 15.4);
    EXPECT_EQ(t[PrayerCalculator::Maghrib], 17.73333333);
    EXPECT_EQ(t[PrayerCalculator::Isha], 19.05);
    EXPECT_NE(t[PrayerCalculator::Sunset], 17.73333333);  // the row has no sunset: computed
    EXPECT_EQ(t[PrayerCalculator::TomorrowFajr], 5.7);     // from 2018-01-02
    EXPECT_EQ(t[PrayerCalculator::TomorrowSunrise], 7.01666667);
    const double night = (24 - 17.73333333 + 5.7) / 3;
    EXPECT_DOUBLE_EQ(t[PrayerCalculator::Qiyam], std::fmod(17.73333333 + 2 * night, 24));

    // Method 1 in Dubai: computed, no timetable.
    auto [league, u] = dubai(1, 0, "Jumeirah", 25.2, 55.27);
    EXPECT_TRUE(league->isDubai());
    EXPECT_FALSE(league->isUsingFixedTimings());
    EXPECT_NE(u[PrayerCalculator::Fajr], 5.7);

    // A user who chose Hanafi keeps the computed Asr; everything else comes from the row.
    auto [hanafi, v] = dubai(7, 2, "Jumeirah", 25.2, 55.27);
    EXPECT_GT(v[PrayerCalculator::Asr], 15.5);
    EXPECT_EQ(v[PrayerCalculator::Isha], 19.05);

    // The Arabic name alone is enough, far from the reference point.
    auto [named, w] = dubai(7, 0, "\u062F\u0628\u064A", 10, 10);
    EXPECT_TRUE(named->isDubai());
    EXPECT_EQ(w[PrayerCalculator::Fajr], 5.7);
}

TEST_F(RestoresTimetables, KualaLumpurMatchesLooselyByNameAndKeepsMinuteFajr) {
    ASSERT_TRUE(KLFixedTimes::timetable().replaceFromCsvText("2019-06-01,5.8,7.05,13.2,16.6,19.4,20.7\n"
                                                             "2019-06-02,5.81,7.06,13.21,16.61,19.41,20.71\n"));
    // "KLang" far from Kuala Lumpur counts as Kuala Lumpur: the name test is deliberately loose.
    PrayerCalculator klang;
    const auto t = klang.getDatePrayerTimesAsDoubles(noonOn(2019, 6, 1), std::string("AKLang Heights"), std::nullopt,
                                                     40, -100, std::string("Asia/Kuala_Lumpur"));
    EXPECT_TRUE(klang.isKualaLumpur());
    EXPECT_TRUE(klang.isUsingFixedTimings());
    EXPECT_EQ(t[PrayerCalculator::Fajr], 5.8);
    EXPECT_EQ(t[PrayerCalculator::TomorrowFajr], 5.81);

    // A custom method with Fajr in minutes keeps the computed Fajr (sunrise minus minutes,
    // with the computed sunrise); the rest comes from the table.
    PrayerCalculator custom;
    custom.setLat(3.14);
    custom.setLng(101.69);
    custom.setFajrMinutes(80);
    const auto u = custom.getDatePrayerTimesAsDoubles(noonOn(2019, 6, 1), std::nullopt, std::nullopt, 3.14, 101.69,
                                                      std::string("Asia/Kuala_Lumpur"));
    EXPECT_TRUE(custom.isKualaLumpur());
    EXPECT_NE(u[PrayerCalculator::Fajr], 5.8);
    EXPECT_NE(u[PrayerCalculator::Sunrise] - u[PrayerCalculator::Fajr], 80.0 / 60);
    EXPECT_EQ(u[PrayerCalculator::Sunrise], 7.05);
    EXPECT_EQ(u[PrayerCalculator::Isha], 20.7);
    EXPECT_EQ(u[PrayerCalculator::TomorrowFajr], 5.81);  // tomorrow's Fajr is replaced regardless

    // A date the table does not cover: computed times, but the flag still says fixed.
    PrayerCalculator outside;
    const auto v = outside.getDatePrayerTimesAsDoubles(noonOn(2021, 6, 1), std::string("KL Sentral"), std::nullopt,
                                                       3.14, 101.69, std::string("Asia/Kuala_Lumpur"));
    EXPECT_TRUE(outside.isUsingFixedTimings());
    EXPECT_NE(v[PrayerCalculator::Fajr], 5.8);
}

TEST_F(RestoresTimetables, TomorrowsKeyIsTakenInUTCNotTheDeviceZone) {
    ASSERT_TRUE(DubaiFixedTimes::timetable().replaceFromCsvText("2019-03-10,5.1,6.1,12.1,15.1,18.1,19.1\n"
                                                                "2019-03-11,5.2,6.2,12.2,15.2,18.2,19.2\n"));
    const tarvo::TimeZone device = tarvo::TimeZone::systemDefault();
    tarvo::TimeZone::setSystemDefault(*tarvo::TimeZone::withName("Pacific/Auckland"));  // UTC+13 in March
    PrayerCalculator c;
    c.setCalcMethod(7);
    const auto t = c.getDatePrayerTimesAsDoubles(noonOn(2019, 3, 10), std::nullopt, std::nullopt, 25.2, 55.27,
                                                 std::string("Asia/Dubai"));
    tarvo::TimeZone::setSystemDefault(device);
    // Today's key is the device-local date, 10 March; tomorrow (11 March, noon in Auckland) is
    // still 10 March in UTC, so tomorrow's entries repeat today's row.
    EXPECT_EQ(t[PrayerCalculator::Fajr], 5.1);
    EXPECT_EQ(t[PrayerCalculator::TomorrowFajr], 5.1);
    EXPECT_EQ(t[PrayerCalculator::TomorrowSunrise], 6.1);
}
