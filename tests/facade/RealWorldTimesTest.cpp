// The facade against the real world: nights when the clocks change, sunsets after midnight,
// and the current and next prayer through them.
#include <set>
#include <vector>

#include "support/FacadeFixture.h"
#include "tarvo/platform/IslamicCalendar.h"

using namespace tarvo;
using tarvo::test::FacadeTest;

namespace {

class RealWorldTimes : public FacadeTest {
protected:
    // Every moment the day timetables of the day before, the day and the day after list for
    // the prayers that can be current (not Sunset, not the tomorrow entries).
    static std::set<double> listed(const std::shared_ptr<TarvoCity>& city, Date noon) {
        std::set<double> moments;
        for (int64_t d = -1; d <= 1; ++d) {
            const Date day = noon.addingTimeInterval(static_cast<double>(d) * 86400);
            for (const auto& p : TarvoDAO::getPrayerTimesForDate(day, city, Calendar(), IslamicCalendar())) {
                if (p->Type() != Prayer::Sunset && p->Type() < Prayer::TomorrowFajr) {
                    moments.insert(p->PrayerTime()->timeIntervalSince1970());
                }
            }
        }
        return moments;
    }
};

}  // namespace

TEST_F(RealWorldTimes, SunsetAfterMidnightBelongsToTheNextDay) {
    // Reykjavik at midsummer: the sun sets four minutes after midnight (published 00:04).
    TimeZone::setSystemDefault(*TimeZone::withName("Atlantic/Reykjavik"));
    const auto list = TarvoDAO::getPrayerTimesForDate(at(2024, 6, 21, 12, 0), place("Reykjavik", 64.1466, -21.9426, "Atlantic/Reykjavik"),
                                                      Calendar(), IslamicCalendar());
    EXPECT_EQ(local(list[Prayer::Sunset]), "2024-06-22 00:04");
    EXPECT_EQ(local(list[Prayer::Maghrib]), "2024-06-22 00:04");
    for (size_t i = 1; i < Prayer::TomorrowFajr; ++i) {
        EXPECT_LE(*list[i - 1]->PrayerTime(), *list[i]->PrayerTime()) << "entry " << i << " before the one it follows";
    }
}

TEST_F(RealWorldTimes, CurrentAndNextThroughClockChangeNights) {
    setPreferences({{"ShowQiyam", true}, {"UseSunrise", true}});
    struct Place {
        const char* zone;
        double latitude;
        double longitude;
    };
    const std::vector<Place> changing = {{"Europe/London", 51.5074, -0.1278},      {"America/New_York", 40.7128, -74.006},
                                         {"Australia/Sydney", -33.8688, 151.2093}, {"America/Santiago", -33.4489, -70.6693},
                                         {"Europe/Berlin", 52.52, 13.405},         {"America/Chicago", 41.8781, -87.6298}};
    struct Night {
        Place place;
        int64_t year, month, day;
    };
    std::vector<Night> nights;
    for (const Place& p : changing) {
        TimeZone::setSystemDefault(*TimeZone::withName(p.zone));
        for (Date noon = at(2024, 1, 1, 12, 0); Calendar().components(noon).year < 2027; noon = Calendar().dateByAddingDays(1, noon)) {
            const Date next = Calendar().dateByAddingDays(1, noon);
            if (TimeZone::systemDefault().secondsFromGMT(noon) != TimeZone::systemDefault().secondsFromGMT(next)) {
                const DateComponents c = Calendar().components(next);
                nights.push_back({p, c.year, c.month, c.day});
            }
        }
    }
    ASSERT_EQ(nights.size(), 36u);  // two changes a year, three years, six places
    for (const int64_t year : {2024, 2025, 2026}) {
        nights.push_back({{"Atlantic/Reykjavik", 64.1466, -21.9426}, year, 6, 21});
        nights.push_back({{"America/Anchorage", 64.8378, -147.7164}, year, 6, 21});  // Fairbanks
    }

    for (const Night& n : nights) {
        TimeZone::setSystemDefault(*TimeZone::withName(n.place.zone));
        const auto city = place(n.place.zone, n.place.latitude, n.place.longitude, n.place.zone);
        const std::set<double> moments = listed(city, at(n.year, n.month, n.day, 12, 0));
        // Every half hour from 20:00 on the eve to 08:00 on the day.
        const Date eve = at(n.year, n.month, n.day - 1, 20, 0);
        for (int step = 0; step <= 24; ++step) {
            const Date now = eve.addingTimeInterval(step * 1800.0);
            Clock::installFixed(now);
            auto facade = std::make_shared<TarvoDAO>();
            facade->getPrayerTimesForCurrentDateWithDayOffset(0, city);
            ASSERT_TRUE(facade->determineCurrentAndNextPrayerTimeForCity(city, false));
            const std::string where = std::string(n.place.zone) + " " + now.description();
            ASSERT_TRUE(facade->CurrentPrayer() && facade->NextPrayer()) << where;
            const double current = facade->CurrentPrayer()->PrayerTime()->timeIntervalSince1970();
            const double next = facade->NextPrayer()->PrayerTime()->timeIntervalSince1970();
            const double t = now.timeIntervalSince1970();
            EXPECT_LE(current, t) << where << ": the current prayer has not begun";
            EXPECT_GT(next, t) << where << ": the next prayer has passed";
            EXPECT_TRUE(moments.count(current) && moments.count(next)) << where << ": not a listed moment";
            const auto between = std::distance(moments.upper_bound(current), moments.lower_bound(next));
            EXPECT_EQ(between, 0) << where << ": a prayer lies between the current and the next";
        }
    }
}
