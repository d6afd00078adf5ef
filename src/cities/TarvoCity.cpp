#include "tarvo/cities/TarvoCity.h"

#include <cmath>
#include <type_traits>

#include <fmt/format.h>
#include "platform/host/LogMacros.h"
#include "platform/text/Text.h"
#include "tarvo/calculation/CalculationMethod.h"
#include "tarvo/cities/CityDirectory.h"
#include "tarvo/cities/UserDatabase.h"
#include "tarvo/platform/TimeZone.h"
#include "tarvo/platform/UserDefaults.h"

namespace tarvo {

namespace {

// Keys of the automatic-city preferences in the shared user defaults.
constexpr const char* kAutoCityGMT = "AutoCityGMT";
constexpr const char* kAutoCityDST = "AutoCityDST";
constexpr const char* kAutoCityPrayerMethod = "AutoCityPrayerMethod";
constexpr const char* kAutoCityAsrMethod = "AutoCityAsrMethod";
constexpr const char* kAutoCityHighLatMethod = "AutoCityHighLatMethod";
constexpr const char* kAutoCityFajrAngle = "AutoCityFajrAngle";
constexpr const char* kAutoCityIshaAngle = "AutoCityIshaAngle";

std::shared_ptr<UserDefaults> store() { return UserDefaults::sharedUserDefaultsObj(); }

bool isGMTMarker(double gmt) { return gmt == TarvoCity::kGMTFromTimeZone || gmt == TarvoCity::kGMTFromTimeZoneLegacy; }

// How an absent text or date shows in a log line.
std::string describe(const std::optional<std::string>& text) { return text ? *text : "(null)"; }
std::string describe(const std::optional<Date>& date) { return date ? date->description() : "(null)"; }
std::string describeNumber(const std::optional<double>& value) {
    return value ? fmt::format("{:f}", *value) : "(null)";
}

}  // namespace

TarvoCity::TarvoCity() = default;

// ---- Tracked setters ------------------------------------------------------------------

template <typename T, typename Describe>
bool TarvoCity::setTracked(T& field, const T& value, Describe message, std::string_view mirrorKey, T mirrorValue,
                           bool stamp) {
    if (field == value) return false;
    if (!IsLoadingFromDB_) {
        TARVO_LOG_VERBOSE("{}", message());
        dirty_ = true;
        if (!mirrorKey.empty() && IsAutomaticGPSLocation_) {
            if constexpr (std::is_same_v<T, double>) {
                store()->setDouble(mirrorKey, mirrorValue);
            } else if constexpr (std::is_same_v<T, int64_t>) {
                store()->setInteger(mirrorKey, mirrorValue);
            }
            store()->synchronize();
        }
        if (stamp) setLastModDate(Date::now());
    }
    field = value;
    return true;
}

void TarvoCity::setIsAutomaticGPSLocation(bool) {
    // Every city is treated as the automatic current-location city, so the calculation
    // preferences of any city the user edits become the defaults of the next automatic
    // city, and dbSync leaves saved rows alone. The flag cannot be switched off.
    IsAutomaticGPSLocation_ = true;
}

void TarvoCity::setLastModDate(const std::optional<Date>& value) {
    setTracked(LastModDate_, value, [&] { return "DIRTY: SETTING LAST MOD DATE: " + describe(value); }, {}, {},
               false);
}

void TarvoCity::setLastSyncDate(const std::optional<Date>& value) {
    setTracked(LastSyncDate_, value, [&] { return "DIRTY: SETTING LAST SYNC DATE: " + describe(value); }, {}, {},
               false);
}

void TarvoCity::setCountryName(const std::optional<std::string>& value) {
    if (setTracked(countryName_, value, [&] { return "DIRTY: SETTING COUNTRY NAME: " + describe(value); })) {
        // Geocoders name the country in several long forms; the saved rows and the country
        // tables know it by the short one.
        if (countryName_ && countryName_->starts_with("United States")) countryName_ = "United States";
    }
}

void TarvoCity::setCityName(const std::optional<std::string>& value) {
    setTracked(cityName_, value, [&] { return "DIRTY: SETTING CITY NAME: " + describe(value); });
}

void TarvoCity::setStateName(const std::optional<std::string>& value) {
    setTracked(stateName_, value, [&] { return "DIRTY: SETTING STATE NAME: " + describe(value); });
}

void TarvoCity::setTimeZone(const std::optional<std::string>& value) {
    setTracked(TimeZone_, value, [&] { return "DIRTY: SETTING TIME ZONE: " + describe(value); });
}

void TarvoCity::fillMissingTexts(NameOrder order) {
    if (order == NameOrder::cityFirst && !cityName_) setCityName("");
    if (!countryName_) setCountryName("");
    if (order == NameOrder::countryFirst && !cityName_) setCityName("");
    if (!stateName_) setStateName("");
    if (!TimeZone_) setTimeZone("");
}

void TarvoCity::setLatitude(double value) {
    // "LATITUTE" is the established text of this line; log readers match on it.
    setTracked(latitude_, value, [&] { return fmt::format("DIRTY: SETTING LATITUTE: {:f}", value); });
}

void TarvoCity::setLongitude(double value) {
    setTracked(longitude_, value, [&] { return fmt::format("DIRTY: SETTING LONGITUDE: {:f}", value); });
}

void TarvoCity::setCustomFajrAngle(double value) {
    setTracked(customFajrAngle_, value, [&] { return fmt::format("DIRTY: SETTING CUSTOM FAJR: {:f}", value); },
               kAutoCityFajrAngle, value);
}

void TarvoCity::setCustomIshaAngle(double value) {
    setTracked(customIshaAngle_, value, [&] { return fmt::format("DIRTY: SETTING CUSTOM ISHA: {:f}", value); },
               kAutoCityIshaAngle, value);
}

void TarvoCity::setGMT(double value) {
    // Both markers are remembered as 50: the automatic city always resolves them the same way.
    setTracked(GMT_, value, [&] { return fmt::format("DIRTY: SETTING GMT: {:f}", value); }, kAutoCityGMT,
               isGMTMarker(value) ? kGMTFromTimeZone : value);
}

void TarvoCity::setDSTPreference(int64_t value) {
    setTracked(DSTPreference_, value, [&] { return fmt::format("DIRTY: SETTING DST PREF: {}", value); },
               kAutoCityDST, value);
}

void TarvoCity::setPrayerMethod(int64_t value) {
    setTracked(prayerMethod_, value, [&] { return fmt::format("DIRTY: SETTING PRAYER METHOD: {}", value); },
               kAutoCityPrayerMethod, value);
}

void TarvoCity::setAsrMethod(int64_t value) {
    setTracked(asrMethod_, value, [&] { return fmt::format("DIRTY: SETTING ASR METHOD: {}", value); },
               kAutoCityAsrMethod, value);
}

void TarvoCity::setAdjustHighLatitude(int64_t value) {
    setTracked(adjustHighLatitude_, value, [&] { return fmt::format("DIRTY: SETTING HIGH LATITUDE: {}", value); },
               kAutoCityHighLatMethod, value);
}

void TarvoCity::setPolarResolution(int64_t value) {
    setTracked(polarResolution_, value, [&] { return fmt::format("DIRTY: SETTING POLAR RESOLUTION: {}", value); });
}

// The minutes are the city's own: not mirrored into the automatic-city keys, which hold only
// the choices every city has.
void TarvoCity::setMaghribMinutes(const std::optional<double>& value) {
    setTracked(maghribMinutes_, value, [&] { return "DIRTY: SETTING MAGHRIB MINUTES: " + describeNumber(value); });
}

void TarvoCity::setIshaMinutes(const std::optional<double>& value) {
    setTracked(ishaMinutes_, value, [&] { return "DIRTY: SETTING ISHA MINUTES: " + describeNumber(value); });
}

// The overrides, like the minutes, are the city's own and not mirrored.
void TarvoCity::setFajrAngleOverride(const std::optional<double>& value) {
    setTracked(fajrAngleOverride_, value,
               [&] { return "DIRTY: SETTING FAJR ANGLE OVERRIDE: " + describeNumber(value); });
}

void TarvoCity::setIshaAngleOverride(const std::optional<double>& value) {
    setTracked(ishaAngleOverride_, value,
               [&] { return "DIRTY: SETTING ISHA ANGLE OVERRIDE: " + describeNumber(value); });
}

void TarvoCity::setIsSelectedCity(bool value) {
    setTracked(isSelectedCity_, value,
               [&] { return fmt::format("DIRTY: SETTING SELECTED CITY: {}", static_cast<int>(value)); });
}

void TarvoCity::setIsDefaultCity(bool value) {
    setTracked(isDefaultCity_, value,
               [&] { return fmt::format("DIRTY: SETTING DEFAULT CITY: {}", static_cast<int>(value)); });
}

// ---- Making cities --------------------------------------------------------------------

std::shared_ptr<TarvoCity> TarvoCity::InitWithDefaults() {
    auto city = std::make_shared<TarvoCity>();
    city->setIsLoadingFromDB(true);
    city->setIsDefaultCity(true);
    city->setCountryName("United Kingdom");
    city->setCityName("London");
    city->setStateName("");
    city->setTimeZone("Europe/London");
    city->setLatitude(51.5);
    city->setLongitude(-0.1167);
    city->loadAutoCityPreferences();
    city->setIsLoadingFromDB(false);
    return city;
}

std::vector<SettingDescription> TarvoCity::automaticCitySettings() {
    using Type = SettingDescription::Type;
    return {
        {kAutoCityGMT, Type::number, false, kGMTFromTimeZoneLegacy, kGMTFromTimeZone,
         "Hours from GMT of the automatic city (50: the time zone's offset)"},
        {kAutoCityDST, Type::integer, false, 0, 2, "Summer time of the automatic city: 0 the zone's, 1 on, 2 off"},
        {kAutoCityPrayerMethod, Type::integer, false, 0, static_cast<double>(CalculationMethod::highestNumber()),
         "Calculation method of the automatic city (0 automatic; tarvo methods lists them)"},
        {kAutoCityAsrMethod, Type::integer, false, 0, 2, "Asr school of the automatic city: 0 automatic, 1 Shafi, 2 Hanafi"},
        {kAutoCityHighLatMethod, Type::integer, false, 0, 4, "High-latitude rule of the automatic city (0 automatic)"},
        {kAutoCityFajrAngle, Type::number, false, 0, 90, "Custom-method Fajr angle of the automatic city (0: 18)"},
        {kAutoCityIshaAngle, Type::number, false, 0, 90, "Custom-method Isha angle of the automatic city (0: 17)"},
    };
}

void TarvoCity::loadAutoCityPreferences() {
    setIsLoadingFromDB(true);
    setGMT(store()->doubleForKey(kAutoCityGMT));
    setDSTPreference(store()->integerForKey(kAutoCityDST));
    setPrayerMethod(store()->integerForKey(kAutoCityPrayerMethod));
    setAsrMethod(store()->integerForKey(kAutoCityAsrMethod));
    setAdjustHighLatitude(store()->integerForKey(kAutoCityHighLatMethod));
    setCustomFajrAngle(store()->doubleForKey(kAutoCityFajrAngle));
    setCustomIshaAngle(store()->doubleForKey(kAutoCityIshaAngle));
    setIsLoadingFromDB(false);
}

void TarvoCity::copyPrayerPreferencesToCity(const std::shared_ptr<TarvoCity>& city) const {
    if (!city) return;
    city->setGMT(GMT_);
    city->setDSTPreference(DSTPreference_);
    city->setPrayerMethod(prayerMethod_);
    city->setAsrMethod(asrMethod_);
    city->setAdjustHighLatitude(adjustHighLatitude_);
    city->setPolarResolution(polarResolution_);
    city->setMaghribMinutes(maghribMinutes_);
    city->setIshaMinutes(ishaMinutes_);
    city->setFajrAngleOverride(fajrAngleOverride_);
    city->setIshaAngleOverride(ishaAngleOverride_);
    city->setCustomFajrAngle(customFajrAngle_);
    city->setCustomIshaAngle(customIshaAngle_);
}

std::shared_ptr<TarvoCity> TarvoCity::copyWithZone() const {
    auto copy = std::make_shared<TarvoCity>();
    copy->setIsLoadingFromDB(true);
    copy->setPrimaryKey(primaryKey_);
    copy->setIsAutomaticGPSLocation(IsAutomaticGPSLocation_);
    copy->setFoundGPSLocationIsValid(FoundGPSLocationIsValid_);
    copy->setIsReverseGeocoded(IsReverseGeocoded_);
    copy->setCountryName(countryName_);
    copy->setCityName(cityName_);
    copy->setStateName(stateName_);
    copy->setLatitude(latitude_);
    copy->setLongitude(longitude_);
    copy->setGMT(GMT_);
    copy->setDSTPreference(DSTPreference_);
    copy->setPrayerMethod(prayerMethod_);
    copy->setAsrMethod(asrMethod_);
    copy->setAdjustHighLatitude(adjustHighLatitude_);
    copy->setPolarResolution(polarResolution_);
    copy->setMaghribMinutes(maghribMinutes_);
    copy->setIshaMinutes(ishaMinutes_);
    copy->setFajrAngleOverride(fajrAngleOverride_);
    copy->setIshaAngleOverride(ishaAngleOverride_);
    copy->setCustomFajrAngle(customFajrAngle_);
    copy->setCustomIshaAngle(customIshaAngle_);
    copy->setIsSelectedCity(isSelectedCity_);
    copy->setIsDefaultCity(isDefaultCity_);
    copy->setTimeZone(TimeZone_);
    copy->setIsLoadingFromDB(false);
    return copy;
}

// ---- Derived values -------------------------------------------------------------------

double TarvoCity::getResolvedGMT() const {
    if (!isGMTMarker(GMT_)) return GMT_;
    const auto zone = tarvo::TimeZone::withName(TimeZone_.value_or(""));
    if (!zone) return 0.0;
    // Whole hours, truncated toward zero (+5:30 gives 5, -3:30 gives -3): the automatic
    // offset of older versions was an hour count, and stored cities rely on it.
    return static_cast<double>(zone->secondsFromGMT(Date::now()) / 3600);
}

bool TarvoCity::isInDST() const {
    const auto zone = tarvo::TimeZone::withName(TimeZone_.value_or(""));
    return zone && zone->isDaylightSavingTime(Date::now());
}

bool TarvoCity::isCountrySaudiArabia() const {
    if (!countryName_) return false;
    return text::lowercased(*countryName_) == "saudi arabia";
}

std::string TarvoCity::getLatLongString() const {
    // The letter comes from the sign, and the number is still printed as stored, sign and
    // all ("[ -33.87 S : 151.21 E ]"). Intended: the hosts' displays are laid out around this
    // text; zero counts as north and east.
    if (latitude_ >= 0) {
        if (longitude_ >= 0) return fmt::format("[ {:1.2f} N : {:1.2f} E ]", latitude_, longitude_);
        return fmt::format("[ {:1.2f} N : {:1.2f} W ]", latitude_, longitude_);
    }
    if (longitude_ >= 0) return fmt::format("[ {:1.2f} S : {:1.2f} E ]", latitude_, longitude_);
    return fmt::format("[ {:1.2f} S : {:1.2f} W ]", latitude_, longitude_);
}

std::string TarvoCity::description() const {
    if (countryName_ && !countryName_->empty()) return fmt::format("{}, {}", describe(cityName_), *countryName_);
    return describe(cityName_);
}

// ---- Saved cities, cache and last used city: answered by the user database -------------

std::shared_ptr<TarvoCity> TarvoCity::initWithCurrentSelectionUsingDB(UserDatabase& database) {
    return database.currentSelection();
}

int64_t TarvoCity::getLastSessionID(UserDatabase& database) { return database.lastInsertedKey(); }

std::shared_ptr<TarvoCity> TarvoCity::saveNewCity(const std::shared_ptr<TarvoCity>& city, UserDatabase& database) {
    return database.insertCity(city);
}

std::shared_ptr<TarvoCity> TarvoCity::DeleteCity(UserDatabase& database, int64_t primaryKey) {
    return database.removeCity(primaryKey);
}

std::vector<std::shared_ptr<TarvoCity>> TarvoCity::GetSavedCities(UserDatabase& database) {
    return database.listSavedCities();
}

void TarvoCity::finalizeStatements(UserDatabase& database) { database.finalizeStatements(); }

void TarvoCity::resetStatementCache(UserDatabase& database) { database.resetStatementCache(); }

std::shared_ptr<TarvoCity> TarvoCity::initWithPrimaryKey(int64_t primaryKey, UserDatabase& database) {
    return database.cityWithKey(primaryKey);
}

void TarvoCity::dbSync(UserDatabase& database) { database.syncCity(*this); }

std::shared_ptr<TarvoCity> TarvoCity::GetCityForLat(double latitude, double longitude, UserDatabase* database,
                                                    double thresholdKm, bool checkCache) {
    return database && checkCache ? database->cachedCityNear(latitude, longitude, thresholdKm) : nullptr;
}

void TarvoCity::saveCityInReverseGeocodeCache(UserDatabase& database, const std::shared_ptr<TarvoCity>& city) {
    database.cacheCity(city);
}

void TarvoCity::RemoveFromReverseGeocodeCache(UserDatabase& database, const std::shared_ptr<TarvoCity>& city) {
    database.uncacheCity(city);
}

void TarvoCity::DeleteAllReverseGeocodeCache(UserDatabase& database) { database.clearCache(); }

void TarvoCity::SaveLastUsedCity(UserDatabase& database, const std::shared_ptr<TarvoCity>& city) {
    database.saveLastUsed(city);
}

std::shared_ptr<TarvoCity> TarvoCity::GetLastUsedCity(UserDatabase& database) { return database.lastUsed(); }

void TarvoCity::RemoveLastUsedCity(UserDatabase& database) { database.clearLastUsed(); }

// The upgrades run on the user database; the directory is not needed by any of them.
void TarvoCity::updateSchemav3_1(UserDatabase& database, CityDirectory*) { database.upgradeLayout(1); }
void TarvoCity::updateSchemav3_2(UserDatabase& database, CityDirectory*) { database.upgradeLayout(2); }
void TarvoCity::updateSchemav3_3(UserDatabase& database, CityDirectory*) { database.upgradeLayout(3); }
void TarvoCity::updateSchemav3_4(UserDatabase& database, CityDirectory*) { database.upgradeLayout(4); }
void TarvoCity::updateSchemav3_5(UserDatabase& database, CityDirectory*) { database.upgradeLayout(5); }

// ---- City directory: answered by the directory -----------------------------------------

std::vector<std::shared_ptr<TarvoCity>> TarvoCity::GetAllCities(CityDirectory& directory, int64_t countryID,
                                                                const std::string& countryName) {
    return directory.citiesOfCountry(countryID, countryName);
}

std::vector<std::shared_ptr<TarvoCity>> TarvoCity::GetCities(CityDirectory& directory,
                                                             const std::optional<std::string>& search) {
    return directory.citiesContaining(search);
}

std::vector<std::shared_ptr<TarvoCity>> TarvoCity::SearchCities(CityDirectory& directory, std::string_view text) {
    return directory.rankedSearch(text);
}

std::shared_ptr<TarvoCity> TarvoCity::GetCityForLat(double latitude, double longitude, CityDirectory* directory,
                                                    double thresholdKm, bool checkCache) {
    return directory && !checkCache ? directory->nearestCity(latitude, longitude, thresholdKm) : nullptr;
}

}  // namespace tarvo
