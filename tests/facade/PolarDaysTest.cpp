// Beyond the polar circles: records carry only the moments the engine computed, the current
// and next prayer are among those that exist at every hour, and a polar resolution gives a
// whole, ordered day. The dates are found from the engine's own sunrise.
#include <cmath>
#include <optional>
#include <set>
#include <vector>

#include "support/FacadeFixture.h"
#include "tarvo/calculation/PrayerCalculator.h"
#include "tarvo/platform/IslamicCalendar.h"
#include "tarvo/summary/SmartPrayerInfo.h"

using namespace tarvo;
using tarvo::test::FacadeTest;

namespace {

struct ArcticPlace {
    const char* name;
    double latitude, longitude;
    const char* zone;
};

constexpr ArcticPlace kPlaces[] = {
    {"Tromso", 69.6492, 18.9553, "Europe/Oslo"},         {"Longyearbyen", 78.2232, 15.6267, "Arctic/Longyearbyen"},
    {"Murmansk", 68.9585, 33.0827, "Europe/Moscow"},     {"Norilsk", 69.3558, 88.1893, "Asia/Krasnoyarsk"},
    {"Utqiagvik", 71.2906, -156.7886, "America/Anchorage"}, {"Kiruna", 67.8558, 20.2253, "Europe/Stockholm"},
};

class PolarDays : public FacadeTest {
protected:
    std::shared_ptr<TarvoCity> cityAt(const ArcticPlace& p, int64_t polar) {
        TimeZone::setSystemDefault(*TimeZone::withName(p.zone));
        auto city = place(p.name, p.latitude, p.longitude, p.zone, "", 1);
        city->setIsLoadingFromDB(true);
        city->setPolarResolution(polar);
        city->setIsLoadingFromDB(false);
        return city;
    }
    // The engine's own day (no resolution), at noon of the device-local date.
    static std::vector<double> engine(const ArcticPlace& p, Date noon) {
        PrayerCalculator c;
        c.setCalcMethod(1);
        return c.getDatePrayerTimes(noon, std::nullopt, std::nullopt, p.latitude, p.longitude, std::string(p.zone));
    }
    static TarvoDAO::DayList dayOf(const std::shared_ptr<TarvoCity>& city, Date noon) {
        return TarvoDAO::getPrayerTimesForDate(noon, city, Calendar(), IslamicCalendar());
    }
    // The dates of 2023-24 the sun does not rise on (polar night and midnight sun alike), by
    // the engine's own sunrise: for each span the day before it, its first, middle and last
    // day and the day after it, as noons. `spans` names the spans found.
    static std::vector<Date> polarDates(const ArcticPlace& p, std::string& spans) {
        const auto text = [](Date d) { return local(d).substr(0, 10); };
        std::vector<Date> dates;
        Date first;
        bool inSpan = false;
        for (Date noon = at(2023, 9, 1, 12, 0); noon < at(2024, 9, 1, 12, 0); noon = Calendar().dateByAddingDays(1, noon)) {
            const bool rises = std::isfinite(engine(p, noon)[PrayerCalculator::Sunrise]);
            if (!rises && !inSpan) first = noon, inSpan = true;
            if (rises && inSpan) {
                const Date last = Calendar().dateByAddingDays(-1, noon);
                const auto days = static_cast<int64_t>(std::lround(last.timeIntervalSinceDate(first) / 86400));
                spans += " " + text(first) + ".." + text(last);
                for (const Date d : {Calendar().dateByAddingDays(-1, first), first,
                                     Calendar().dateByAddingDays(days / 2, first), last, noon}) {
                    dates.push_back(d);
                }
                inSpan = false;
            }
        }
        return dates;
    }
};

}  // namespace

// The stored choices: 1 none, 2 nearest day, 3 nearest latitude; 0 not chosen (the default).
constexpr int64_t kNone = 1;
constexpr int64_t kNearestDay = 2;
constexpr int64_t kNearestLatitude = 3;

// Each time that exists follows the one before it.
static void expectInDayOrder(const TarvoDAO::DayList& list, const std::string& where) {
    std::optional<Date> previous;
    for (const auto& p : list) {
        if (!p->PrayerTime()) continue;
        if (previous) {
            EXPECT_LE(*previous, *p->PrayerTime()) << where << ": entry " << p->Type() << " before the one it follows";
        }
        previous = p->PrayerTime();
    }
}

TEST_F(PolarDays, RecordsCarryOnlyTheMomentsTheEngineComputed) {
    setPreferences({{"ShowQiyam", true}, {"UseSunrise", true}});
    // Tromso, 12 December 2023, in the polar night: no sunrise, Asr, sunset, Maghrib or Qiyam.
    // Noon there: 11:44 CET by longitude 18.9553, less the equation of time (+6.6 min): 11:38.
    const auto tromso = cityAt(kPlaces[0], kNone);
    const auto december = dayOf(tromso, at(2023, 12, 12, 12, 0));
    std::string missing;
    for (const auto& p : december) missing += p->PrayerTime() ? "" : std::to_string(p->Type());
    EXPECT_EQ(missing, "134579");  // 13 December has no sunrise either
    EXPECT_EQ(local(december[Prayer::Dhuhr]), "2023-12-12 11:38");

    std::string spans;
    for (const ArcticPlace& place : kPlaces) {
        const auto none = cityAt(place, kNone);
        const auto byDay = cityAt(place, kNearestDay);
        const auto byLatitude = cityAt(place, kNearestLatitude);
        spans += std::string(" ") + place.name + ":";
        const std::vector<Date> dates = polarDates(place, spans);
        ASSERT_EQ(dates.size(), 10u) << place.name << ": a polar night and a midnight sun";
        for (const Date noon : dates) {
            const std::string where = std::string(place.name) + " " + noon.description();
            const auto today = engine(place, noon);
            const auto tomorrow = engine(place, Calendar().dateByAddingDays(1, noon));
            const auto list = dayOf(none, noon);
            for (size_t i = 0; i < list.size(); ++i) {
                const double computed = i < Prayer::TomorrowFajr ? today[i] : tomorrow[i - Prayer::TomorrowFajr];
                EXPECT_EQ(list[i]->PrayerTime().has_value(), std::isfinite(computed)) << where << " entry " << i;
            }
            expectInDayOrder(list, where + " none");
            for (const auto& city : {byDay, byLatitude}) {
                const auto filled = dayOf(city, noon);
                for (const auto& p : filled) EXPECT_TRUE(p->PrayerTime()) << where << " entry " << p->Type();
                expectInDayOrder(filled, where + " resolution " + std::to_string(city->polarResolution()));
                // Nothing that exists is changed.
                for (size_t i = 0; i < list.size(); ++i) {
                    if (list[i]->PrayerTime() && i != Prayer::Maghrib && i != Prayer::Qiyam) {
                        EXPECT_EQ(*list[i]->PrayerTime(), *filled[i]->PrayerTime()) << where << " entry " << i;
                    }
                }
            }
        }
    }
    std::cout << "[ polar dates ]" << spans << "\n";
}

TEST_F(PolarDays, CurrentAndNextAmongExistingPrayersAtEveryHour) {
    setPreferences({{"ShowQiyam", true}, {"UseSunrise", true}});
    // The two checks of the report: Tromso in the polar night at 10:00 and at 00:30.
    {
        const auto tromso = cityAt(kPlaces[0], kNone);
        auto facade = std::make_shared<TarvoDAO>();
        for (const auto& [moment, expected] : {std::pair{at(2023, 12, 12, 10, 0), "2023-12-12 06:19 0, 2023-12-12 11:38 2"},
                                               std::pair{at(2023, 12, 12, 0, 30), "2023-12-11 16:44 6, 2023-12-12 06:19 0"}}) {
            Clock::installFixed(moment);
            facade->getPrayerTimesForCurrentDateWithDayOffset(0, tromso);
            ASSERT_TRUE(facade->determineCurrentAndNextPrayerTimeForCity(tromso, false));
            EXPECT_EQ(local(facade->CurrentPrayer()) + " " + std::to_string(facade->CurrentPrayer()->Type()) + ", " +
                          local(facade->NextPrayer()) + " " + std::to_string(facade->NextPrayer()->Type()),
                      expected);
        }
    }
    for (const int64_t polar : {kNone, int64_t{0}}) {
        for (const ArcticPlace& place : kPlaces) {
            const auto city = cityAt(place, polar);
            std::string spans;
            for (const Date noon : polarDates(place, spans)) {
                const std::set<double> listed = tarvo::test::listedMoments(city, noon);
                const DateComponents c = Calendar().components(noon);
                for (int64_t hour = 0; hour < 24; ++hour) {
                    const Date now = at(c.year, c.month, c.day, hour, 0);
                    const std::string where = std::string(place.name) + " " + now.description() + " polar " +
                                              std::to_string(polar);
                    const auto facade = tarvo::test::expectCurrentAndNextAmong(listed, city, now, where);
                    const auto info = facade->getLatestSmartInfoForCountdownToNextPrayer(true);
                    ASSERT_TRUE(info && facade->NextPrayer() && facade->NextPrayer()->PrayerTime()) << where;
                    EXPECT_EQ(info->secondsToNextPrayer(), facade->NextPrayer()->PrayerTime()->timeIntervalSinceDate(now))
                        << where << ": the countdown is not the wait";
                    EXPECT_TRUE(std::isfinite(info->getBestTimeToRefreshComplication().timeIntervalSince1970())) << where;
                }
            }
        }
    }
}
