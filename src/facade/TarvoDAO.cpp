#include "tarvo/facade/TarvoDAO.h"

#include <utility>

#include "tarvo/cities/TarvoCity.h"
#include "tarvo/configuration/PrayerConfiguration.h"
#include "tarvo/facade/TarvoDAODelegate.h"
#include "tarvo/platform/Calendar.h"
#include "platform/host/DispatchQueue.h"
#include "tarvo/platform/IslamicCalendar.h"
#include "cities/TarvoCityArchive.h"
#include "platform/storage/KeyedArchiver.h"
#include "platform/storage/KeyedUnarchiver.h"
#include "platform/host/NotificationCenter.h"
#include "tarvo/platform/UserDefaults.h"
#include "platform/storage/PreferenceStore.h"
#include "tarvo/prayers/Prayer.h"
#include "tarvo/summary/SmartPrayerInfo.h"

namespace tarvo {

namespace {
constexpr const char* kDatabaseQueueLabel = "org.tarvo.core.TarvoDAO.dbaccess";
}  // namespace

std::shared_ptr<TarvoDAO> TarvoDAO::getSharedInstance() {
    // A function-local static is initialised exactly once, even with several threads asking.
    static const std::shared_ptr<TarvoDAO> instance = std::make_shared<TarvoDAO>();
    return instance;
}

TarvoDAO::TarvoDAO() {
    lastDayOfDate_ = -1;
    initSingletons();
}

// The facade never observes the notification centre, so it has nothing to unregister.
TarvoDAO::~TarvoDAO() = default;

struct TarvoDAO::Queues {
    explicit Queues(const char* label) : database(label) {}
    DispatchQueue database;
};

void TarvoDAO::initSingletons() {
    auto queues = std::make_shared<Queues>(kDatabaseQueueLabel);
    {
        std::lock_guard lock(fieldsMutex_);
        queues_ = std::move(queues);
    }
    reloadConfiguration();
}

void TarvoDAO::reloadConfiguration() { reloadConfigurationAndBroadcast(false); }

void TarvoDAO::reloadConfigurationAndBroadcast(bool broadcast) {
    setGlobalPrayerConfiguration(std::make_shared<PrayerConfiguration>());
    if (broadcast) NotificationCenter::defaultCenter().post(kConfigurationUpdatedNotification);
}

void TarvoDAO::saveConfigurationInSharedPreferences() {
    if (const auto configuration = globalPrayerConfiguration()) configuration->saveIntoPreferences();
}

void TarvoDAO::saveActiveCityInSharedPreferences() {
    const auto city = ActiveCity();
    if (!city) return;
    KeyedArchiver archiver{std::string(TarvoCity::kArchiveClassName)};
    TarvoCityArchive::encode(*city, archiver);
    const auto shared = UserDefaults::sharedUserDefaultsObj();
    shared->setData(kSharedActiveCityKey, archiver.encodedData());
    shared->synchronize();
}

std::shared_ptr<TarvoCity> TarvoDAO::getActiveCityFromSharedPreferences() const {
    const auto data = UserDefaults::sharedUserDefaultsObj()->dataForKey(kSharedActiveCityKey);
    if (!data) return nullptr;
    // An archive of any other class reads as nothing.
    const auto unarchiver = KeyedUnarchiver::forReadingFromData(*data, TarvoCity::kArchiveClassName);
    if (!unarchiver) return nullptr;
    return TarvoCityArchive::decode(*unarchiver);
}

void TarvoDAO::updateSharedValues() {
    const auto standard = UserDefaults::standardUserDefaults();
    if (standard->boolForKey(kHasUpdatedSharedCopyKey)) return;
    const auto shared = UserDefaults::sharedUserDefaultsObj();
    const PreferenceStore::Value everything = PreferenceStore::of(*standard).dictionaryRepresentation();
    for (auto it = everything.begin(); it != everything.end(); ++it) {
        if (!it.value().is_null()) PreferenceStore::of(*shared).setObject(it.key(), it.value());
    }
    shared->synchronize();
    standard->setBool(kHasUpdatedSharedCopyKey, true);
    standard->synchronize();
}

std::shared_ptr<SmartPrayerInfo> TarvoDAO::getLatestSmartInfoForCountdownToNextPrayer(bool forCountdown) const {
    std::shared_ptr<Prayer> current;
    std::shared_ptr<Prayer> next;
    {
        std::lock_guard lock(fieldsMutex_);
        if (!ActiveCity_ || !CurrentPrayer_ || !NextPrayer_) return nullptr;
        current = CurrentPrayer_;
        next = NextPrayer_;
    }
    return std::make_shared<SmartPrayerInfo>(current, next, forCountdown);
}

// ---- Fields ----------------------------------------------------------------------------

#define TARVO_DAO_FIELD(Type, Getter, Setter, member)          \
    Type TarvoDAO::Getter() const {                            \
        std::lock_guard lock(fieldsMutex_);                    \
        return member;                                         \
    }                                                          \
    void TarvoDAO::Setter(Type value) {                        \
        std::lock_guard lock(fieldsMutex_);                    \
        member = std::move(value);                             \
    }

TARVO_DAO_FIELD(int64_t, lastDayOfDate, setLastDayOfDate, lastDayOfDate_)
TARVO_DAO_FIELD(int64_t, testDateIncrementalHour, setTestDateIncrementalHour, testDateIncrementalHour_)
TARVO_DAO_FIELD(bool, useSharedUserDefaults, setUseSharedUserDefaults, useSharedUserDefaults_)
TARVO_DAO_FIELD(std::shared_ptr<PrayerConfiguration>, globalPrayerConfiguration, setGlobalPrayerConfiguration,
                globalPrayerConfiguration_)
TARVO_DAO_FIELD(std::shared_ptr<TarvoCity>, ActiveCity, setActiveCity, ActiveCity_)
TARVO_DAO_FIELD(std::optional<Date>, DateAndTimeForLastGeneratedPrayerTimes, setDateAndTimeForLastGeneratedPrayerTimes,
                DateAndTimeForLastGeneratedPrayerTimes_)
TARVO_DAO_FIELD(TarvoDAO::DayList, LastGeneratedPrayerTimes, setLastGeneratedPrayerTimes, LastGeneratedPrayerTimes_)
TARVO_DAO_FIELD(TarvoDAO::DayList, TodayAndTomorrowGeneratedPrayerTimes, setTodayAndTomorrowGeneratedPrayerTimes,
                TodayAndTomorrowGeneratedPrayerTimes_)
TARVO_DAO_FIELD(std::shared_ptr<Prayer>, CurrentPrayer, setCurrentPrayer, CurrentPrayer_)
TARVO_DAO_FIELD(std::shared_ptr<Prayer>, PrevCurrPrayer, setPrevCurrPrayer, PrevCurrPrayer_)
TARVO_DAO_FIELD(std::shared_ptr<Prayer>, NextPrayer, setNextPrayer, NextPrayer_)

#undef TARVO_DAO_FIELD

std::shared_ptr<Calendar> TarvoDAO::gregorianCalendar() const {
    std::lock_guard lock(fieldsMutex_);
    return gregorianCalendar_;
}

std::shared_ptr<IslamicCalendar> TarvoDAO::islamicCal() const {
    std::lock_guard lock(fieldsMutex_);
    return islamicCal_;
}

std::shared_ptr<TarvoDAODelegate> TarvoDAO::daodelegate() const {
    std::lock_guard lock(fieldsMutex_);
    return daodelegate_.lock();
}

void TarvoDAO::setDaodelegate(const std::weak_ptr<TarvoDAODelegate>& delegate) {
    std::lock_guard lock(fieldsMutex_);
    daodelegate_ = delegate;
}

void TarvoDAO::ensureCalendars() {
    std::lock_guard lock(fieldsMutex_);
    if (gregorianCalendar_) return;
    // Both calendars are made together and live as long as the facade.
    gregorianCalendar_ = std::make_shared<Calendar>();
    islamicCal_ = std::make_shared<IslamicCalendar>();
}

}  // namespace tarvo
