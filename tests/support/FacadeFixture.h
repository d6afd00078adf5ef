#pragma once

#include <memory>
#include <string>

#include <fmt/format.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "support/DataFolder.h"
#include "support/Dates.h"
#include "tarvo/cities/TarvoCity.h"
#include "tarvo/facade/TarvoDAO.h"
#include "tarvo/platform/Clock.h"
#include "tarvo/platform/TimeZone.h"
#include "tarvo/platform/UserDefaults.h"
#include "platform/storage/PreferenceStore.h"
#include "tarvo/prayers/Prayer.h"

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
        if (!prayer || !prayer->PrayerTime()) return "none";
        const DateComponents c = Calendar().components(*prayer->PrayerTime());
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

}  // namespace tarvo::test
