#pragma once

#include <iterator>
#include <memory>
#include <set>
#include <string>

#include <fmt/format.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "support/DataFolder.h"
#include "support/Dates.h"
#include "tarvo/cities/TarvoCity.h"
#include "tarvo/facade/CurrentAndNextPrayer.h"
#include "tarvo/facade/TarvoDAO.h"
#include "tarvo/platform/Clock.h"
#include "tarvo/platform/IslamicCalendar.h"
#include "tarvo/platform/TimeZone.h"
#include "tarvo/platform/UserDefaults.h"
#include "platform/storage/PreferenceStore.h"
#include "tarvo/prayers/Prayer.h"
#include "tarvo/prayers/PrayerAdjustments.h"
#include "tarvo/summary/SmartPrayerInfo.h"

namespace tarvo::test {

/// A fresh data folder, the device's zone set to Makkah's, and the shared facade's
/// configuration reloaded from the settings the test writes; the clock and the zone are
/// put back afterwards.
class FacadeTest : public ::testing::Test {
protected:
    void SetUp() override {
        TimeZone::setSystemDefault(*TimeZone::withName("Asia/Riyadh"));
        TarvoDAO::getSharedInstance()->reloadConfiguration();
    }
    void TearDown() override {
        Clock::remove();
        data_.reset();
        TarvoDAO::getSharedInstance()->reloadConfiguration();
        TimeZone::setSystemDefault(*TimeZone::withName("UTC"));
    }

    /// Stores the settings (a JSON object) in the shared preferences and reloads.
    static void setPreferences(const nlohmann::json& values) {
        const auto shared = UserDefaults::sharedUserDefaultsObj();
        for (auto it = values.begin(); it != values.end(); ++it) PreferenceStore::of(*shared).setObject(it.key(), it.value());
        TarvoDAO::getSharedInstance()->reloadConfiguration();
    }

    /// A moment on the device's clock.
    static Date at(int64_t year, int64_t month, int64_t day, int64_t hour, int64_t minute) {
        return localTime(year, month, day, hour, minute);
    }

    /// "2016-01-05 05:38" on the device's clock; "none" for a record without a time.
    static std::string local(const std::shared_ptr<Prayer>& prayer) {
        return prayer && prayer->PrayerTime() ? local(*prayer->PrayerTime()) : "none";
    }
    static std::string local(Date moment) {
        const DateComponents c = Calendar().components(moment);
        return fmt::format("{:04}-{:02}-{:02} {:02}:{:02}", c.year, c.month, c.day, c.hour, c.minute);
    }

    /// A city record at the position, its offset from its zone; the method when one is given.
    static std::shared_ptr<TarvoCity> place(const std::string& name, double lat, double lon, const std::string& zone,
                                            const std::string& country = "", int64_t method = 0) {
        auto city = std::make_shared<TarvoCity>();
        city->setIsLoadingFromDB(true);
        city->setCityName(name);
        if (!country.empty()) city->setCountryName(country);
        city->setLatitude(lat);
        city->setLongitude(lon);
        city->setTimeZone(zone);
        city->setGMT(TarvoCity::kGMTFromTimeZone);
        if (method != 0) city->setPrayerMethod(method);
        city->setIsLoadingFromDB(false);
        return city;
    }
    /// Makkah with Umm al-Qura.
    static std::shared_ptr<TarvoCity> makkah(const std::string& country = "Saudi Arabia") {
        return place("Makkah", 21.4225, 39.8262, "Asia/Riyadh", country, 4);
    }

private:
    std::unique_ptr<ScopedDataFolder> data_ = std::make_unique<ScopedDataFolder>();
};

// The current and next prayer a fresh facade finds at a moment: among the listed moments, with
// none between them, and the same when computed without process state.

// The stateless answer for the place and moment equals the facade's, whatever the device's
// zone (here one 25 hours from some of the places) and with the clock elsewhere.
inline void expectSameWithoutProcessState(const std::shared_ptr<TarvoDAO>& facade, const std::shared_ptr<TarvoCity>& city,
                                   Date now, const std::string& where) {
    const TimeZone device = TimeZone::systemDefault();
    TimeZone::setSystemDefault(*TimeZone::withName("Pacific/Kiritimati"));
    Clock::installFixed(now.addingTimeInterval(-40000));
    const auto config = facade->globalPrayerConfiguration();
    const auto answer = CurrentAndNextPrayer::at(city, config, PrayerAdjustments::fromConfiguration(config.get()), now, true);
    Clock::installFixed(now);
    TimeZone::setSystemDefault(device);
    const auto same = [](const std::shared_ptr<Prayer>& a, const std::shared_ptr<Prayer>& b) {
        return a && b && a->Type() == b->Type() && a->PrayerTime() == b->PrayerTime();
    };
    EXPECT_TRUE(same(answer.current, facade->CurrentPrayer())) << where << ": another current prayer";
    EXPECT_TRUE(same(answer.next, facade->NextPrayer())) << where << ": another next prayer";
    const auto summary = facade->getLatestSmartInfoForCountdownToNextPrayer(true);
    ASSERT_TRUE(answer.summary && summary) << where;
    EXPECT_EQ(answer.summary->prayerState(), summary->prayerState()) << where;
    EXPECT_EQ(answer.summary->getBestTimeToRefreshComplication(), summary->getBestTimeToRefreshComplication()) << where;
}

// Every moment the day timetables of the day before, the day and the day after list for the
// prayers that can be current (not Sunset, not the tomorrow entries, not a missing time).
inline std::set<double> listedMoments(const std::shared_ptr<TarvoCity>& city, Date noon) {
    std::set<double> moments;
    for (const int64_t d : {-1, 0, 1}) {
        for (const auto& p : TarvoDAO::getPrayerTimesForDate(Calendar().dateByAddingDays(d, noon), city, Calendar(),
                                                             IslamicCalendar())) {
            if (p->PrayerTime() && p->Type() != Prayer::Sunset && p->Type() < Prayer::TomorrowFajr) {
                moments.insert(p->PrayerTime()->timeIntervalSince1970());
            }
        }
    }
    return moments;
}

// A fresh facade at `now` with the city active and today's list made: the current prayer has
// begun, the next has not, both are listed moments with no listed moment between them, and the
// stateless answer agrees. The facade, for further checks.
inline std::shared_ptr<TarvoDAO> expectCurrentAndNextAmong(const std::set<double>& listed,
                                                           const std::shared_ptr<TarvoCity>& city, Date now,
                                                           const std::string& where) {
    Clock::installFixed(now);
    auto facade = std::make_shared<TarvoDAO>();
    facade->setActiveCity(city);
    facade->getPrayerTimesForCurrentDateWithDayOffset(0, city);
    EXPECT_TRUE(facade->determineCurrentAndNextPrayerTimeForCity(city, false)) << where;
    const auto current = facade->CurrentPrayer();
    const auto next = facade->NextPrayer();
    if (!current || !current->PrayerTime() || !next || !next->PrayerTime()) {
        ADD_FAILURE() << where << ": no current or next prayer with a time";
        return facade;
    }
    const double c = current->PrayerTime()->timeIntervalSince1970();
    const double n = next->PrayerTime()->timeIntervalSince1970();
    const double t = now.timeIntervalSince1970();
    EXPECT_LE(c, t) << where << ": the current prayer has not begun";
    EXPECT_GT(n, t) << where << ": the next prayer has passed";
    EXPECT_TRUE(listed.count(c) && listed.count(n)) << where << ": not a listed moment";
    EXPECT_EQ(std::distance(listed.upper_bound(c), listed.lower_bound(n)), 0)
        << where << ": a prayer lies between the current and the next";
    expectSameWithoutProcessState(facade, city, now, where);
    return facade;
}

}  // namespace tarvo::test
