#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tarvo/Export.h"
#include "tarvo/configuration/SettingDescription.h"

#include "tarvo/platform/Date.h"

namespace tarvo {

class CityDirectory;
class UserDatabase;

/// One place for which prayer times are computed: a named position with a time-zone name, a
/// fixed GMT offset (or a marker meaning "take it from the zone"), a daylight-saving
/// preference and the calculation choices. The same record serves saved cities, the
/// automatic current-location city and directory results.
///
/// The record tracks its changes: each persisting setter that changes a value logs a
/// "DIRTY: ..." line (verbose), marks the record dirty and stamps LastModDate, unless the
/// record is being filled from storage (IsLoadingFromDB). Changes of the seven calculation
/// preferences are mirrored at once into the automatic-city keys of the shared user defaults,
/// so a new automatic city starts with the user's last choices.
///
/// A city is a plain value: not locked, copyable, used by one thread at a time. The database
/// operations below are thin wrappers over the stores (UserDatabase, CityDirectory), which
/// own their statements and serialise their use with their own locks.
class TARVO_EXPORT TarvoCity {
public:
    /// Class name carried by archives of a city.
    static constexpr std::string_view kArchiveClassName = "TarvoCity";
    /// GMT markers: the offset is taken from the time zone.
    static constexpr double kGMTFromTimeZone = 50.0;
    static constexpr double kGMTFromTimeZoneLegacy = -100.0;

    /// An empty city: no names, no dates, all numbers 0.
    TarvoCity();

    // ---- Making cities -------------------------------------------------------------------
    /// London, with the calculation preferences of the automatic-city keys.
    static std::shared_ptr<TarvoCity> InitWithDefaults();
    /// The preferences the automatic city mirrors its settings into ("AutoCityGMT", ...).
    static std::vector<SettingDescription> automaticCitySettings();
    /// Fills the seven calculation preferences from the automatic-city keys, untracked.
    /// Leaves IsLoadingFromDB false afterwards, whatever it was before.
    void loadAutoCityPreferences();
    /// Sets this city's seven calculation preferences on `city` through its tracked setters.
    void copyPrayerPreferencesToCity(const std::shared_ptr<TarvoCity>& city) const;
    /// A copy that starts clean: no dates, not dirty, not busy fetching.
    std::shared_ptr<TarvoCity> copyWithZone() const;

    // ---- Archiving -----------------------------------------------------------------------
    // The keyed archive of a city is written and read by the library's archiver
    // (TarvoCityArchive in the sources): the facade keeps the active city in it.
    static bool supportsSecureCoding() { return true; }

    // ---- Derived values ------------------------------------------------------------------
    /// GMT, or for the two markers the zone's current offset in whole hours (truncated
    /// toward zero); 0 for an unknown or empty zone.
    double getResolvedGMT() const;
    /// Whether the city's zone is in daylight-saving time now (false for an unknown zone).
    bool isInDST() const;
    bool isCountrySaudiArabia() const;
    /// "[ 51.50 N : -0.12 W ]": two decimals, hemisphere letters from the signs.
    std::string getLatLongString() const;
    /// "City, Country", or the city alone when there is no country.
    std::string description() const;

    // ---- Properties ----------------------------------------------------------------------
    /// Every city counts as the automatic current-location city: the getter answers true
    /// and the setter stores true whatever it is given.
    bool IsAutomaticGPSLocation() const { return IsAutomaticGPSLocation_; }
    void setIsAutomaticGPSLocation(bool value);
    bool IsLoadingFromDB() const { return IsLoadingFromDB_; }
    void setIsLoadingFromDB(bool value) { IsLoadingFromDB_ = value; }
    bool isSelectedCity() const { return isSelectedCity_; }
    void setIsSelectedCity(bool value);
    bool isDefaultCity() const { return isDefaultCity_; }
    void setIsDefaultCity(bool value);
    bool IsBusyFetchingGPSCoordinates() const { return IsBusyFetchingGPSCoordinates_; }
    void setIsBusyFetchingGPSCoordinates(bool value) { IsBusyFetchingGPSCoordinates_ = value; }
    bool FoundGPSLocationIsValid() const { return FoundGPSLocationIsValid_; }
    void setFoundGPSLocationIsValid(bool value) { FoundGPSLocationIsValid_ = value; }
    bool IsReverseGeocoded() const { return IsReverseGeocoded_; }
    void setIsReverseGeocoded(bool value) { IsReverseGeocoded_ = value; }
    int64_t primaryKey() const { return primaryKey_; }
    void setPrimaryKey(int64_t value) { primaryKey_ = value; }

    const std::optional<Date>& LastModDate() const { return LastModDate_; }
    void setLastModDate(const std::optional<Date>& value);
    const std::optional<Date>& LastSyncDate() const { return LastSyncDate_; }
    void setLastSyncDate(const std::optional<Date>& value);
    const std::optional<std::string>& countryName() const { return countryName_; }
    /// A name beginning with "United States" is kept as exactly "United States".
    void setCountryName(const std::optional<std::string>& value);
    const std::optional<std::string>& cityName() const { return cityName_; }
    void setCityName(const std::optional<std::string>& value);
    const std::optional<std::string>& stateName() const { return stateName_; }
    void setStateName(const std::optional<std::string>& value);
    /// Time-zone identifier such as "Europe/London".
    const std::optional<std::string>& TimeZone() const { return TimeZone_; }
    void setTimeZone(const std::optional<std::string>& value);
    double latitude() const { return latitude_; }
    void setLatitude(double value);
    double longitude() const { return longitude_; }
    void setLongitude(double value);
    /// Hours from GMT, or kGMTFromTimeZone / kGMTFromTimeZoneLegacy.
    double GMT() const { return GMT_; }
    void setGMT(double value);
    int64_t DSTPreference() const { return DSTPreference_; }
    void setDSTPreference(int64_t value);
    int64_t prayerMethod() const { return prayerMethod_; }
    void setPrayerMethod(int64_t value);
    int64_t asrMethod() const { return asrMethod_; }
    void setAsrMethod(int64_t value);
    int64_t adjustHighLatitude() const { return adjustHighLatitude_; }
    void setAdjustHighLatitude(int64_t value);
    /// The Fajr angle of the custom method (6): applies only while the method in force is 6;
    /// 0 not chosen (the custom method's 18 degrees).
    double customFajrAngle() const { return customFajrAngle_; }
    void setCustomFajrAngle(double value);
    /// The Isha angle of the custom method (6); 0 not chosen (17 degrees).
    double customIshaAngle() const { return customIshaAngle_; }
    void setCustomIshaAngle(double value);
    /// Fajr at this sun depression instead of the method's own, over any method ("Karachi,
    /// but Fajr at 19.5 degrees"); nothing: the method's angle.
    const std::optional<double>& fajrAngleOverride() const { return fajrAngleOverride_; }
    void setFajrAngleOverride(const std::optional<double>& value);
    /// Isha at this sun depression instead of the method's rule, over any method; nothing:
    /// the method's own. Isha minutes, when the city has them too, win.
    const std::optional<double>& ishaAngleOverride() const { return ishaAngleOverride_; }
    void setIshaAngleOverride(const std::optional<double>& value);
    /// The city's choice for times the sun gives none for beyond the polar circles, as stored:
    /// 0 not chosen (the preference "PolarResolution" decides), 1 none, 2 nearest day,
    /// 3 nearest latitude (tarvo/calculation/PolarResolution.h).
    int64_t polarResolution() const { return polarResolution_; }
    void setPolarResolution(int64_t value);
    /// Maghrib this many minutes after sunset instead of the method's rule; nothing: the
    /// method's own.
    const std::optional<double>& maghribMinutes() const { return maghribMinutes_; }
    void setMaghribMinutes(const std::optional<double>& value);
    /// Isha this many minutes after Maghrib instead of the method's rule; nothing: the
    /// method's own.
    const std::optional<double>& ishaMinutes() const { return ishaMinutes_; }
    void setIshaMinutes(const std::optional<double>& value);

    /// Whether a persisting setter changed the record outside loading. Only the primary-key
    /// reader clears it.
    bool isDirty() const { return dirty_; }

    // ---- Saved cities (table savedcities of the user database) ---------------------------
    // The user database is opened and owned by the caller. Each statement is prepared once
    // per connection, on first use, and reused afterwards.
    // Failures are logged ("[DB] ...") and answered with London, -1 or an empty list.

    /// The row marked current, or London when there is none.
    static std::shared_ptr<TarvoCity> initWithCurrentSelectionUsingDB(UserDatabase& database);
    /// The row id of the last insert on the database, -1 on failure.
    static int64_t getLastSessionID(UserDatabase& database);
    /// Inserts `city` as the current city and answers it with its new primary key. Other
    /// rows keep their selection marks (see dbSync).
    static std::shared_ptr<TarvoCity> saveNewCity(const std::shared_ptr<TarvoCity>& city, UserDatabase& database);
    /// Deletes the row (if any) and answers a new London city.
    static std::shared_ptr<TarvoCity> DeleteCity(UserDatabase& database, int64_t primaryKey);
    /// Every saved city in primary-key order.
    static std::vector<std::shared_ptr<TarvoCity>> GetSavedCities(UserDatabase& database);
    /// Finalises the database's cached statements. Meant for a database closed for good: most
    /// slots keep their finalised statements, and a later operation that meets one fails with a
    /// logged error.
    static void finalizeStatements(UserDatabase& database);
    /// Finalises and empties the database's cached statements so that the next operation
    /// prepares afresh.
    static void resetStatementCache(UserDatabase& database);
    /// The row with this primary key, read through the tracked setters; London when absent.
    static std::shared_ptr<TarvoCity> initWithPrimaryKey(int64_t primaryKey, UserDatabase& database);
    /// Writes a changed city back to its row.
    void dbSync(UserDatabase& database);

    // ---- City directory, reverse-geocode cache, last used city ---------------------------
    // The directory's look-ups are CityDirectory's, answered through it; the cache
    // (`cachedcities`) and the last used city (`lastused`) live in the user database. Cities
    // come back filled silently (no DIRTY tracking). Failures are logged and answered with
    // nothing or an empty list.

    /// CityDirectory::citiesOfCountry.
    static std::vector<std::shared_ptr<TarvoCity>> GetAllCities(CityDirectory& directory, int64_t countryID,
                                                                const std::string& countryName);
    /// CityDirectory::citiesContaining.
    static std::vector<std::shared_ptr<TarvoCity>> GetCities(CityDirectory& directory,
                                                             const std::optional<std::string>& search);
    /// CityDirectory::rankedSearch.
    static std::vector<std::shared_ptr<TarvoCity>> SearchCities(CityDirectory& directory, std::string_view text);
    static constexpr size_t kMaxSearchResults = 75;
    /// The nearest directory city within `thresholdKm` (CityDirectory::nearestCity); nothing
    /// without a directory. The directory has no reverse-geocode cache: with `checkCache`
    /// nothing is found.
    static std::shared_ptr<TarvoCity> GetCityForLat(double latitude, double longitude, CityDirectory* directory,
                                                    double thresholdKm, bool checkCache = false);
    /// The nearest place of the user database's reverse-geocode cache (`checkCache`), within
    /// `thresholdKm` widened by 6 per cent, found at the very position for any threshold from
    /// 0 up; nothing without a database or without `checkCache` (the user database holds no
    /// directory).
    static std::shared_ptr<TarvoCity> GetCityForLat(double latitude, double longitude, UserDatabase* database,
                                                    double thresholdKm, bool checkCache);
    /// Adds the city (names, position, zone and its name's Soundex code) to the cache.
    static void saveCityInReverseGeocodeCache(UserDatabase& database, const std::shared_ptr<TarvoCity>& city);
    /// Removes the cached places at exactly the city's position.
    static void RemoveFromReverseGeocodeCache(UserDatabase& database, const std::shared_ptr<TarvoCity>& city);
    static void DeleteAllReverseGeocodeCache(UserDatabase& database);
    /// Makes the city the only row of `lastused` (missing names become "").
    static void SaveLastUsedCity(UserDatabase& database, const std::shared_ptr<TarvoCity>& city);
    /// The last used city, or nothing. It comes back with IsLoadingFromDB still true, so the
    /// caller's later edits are not tracked until it clears the flag.
    static std::shared_ptr<TarvoCity> GetLastUsedCity(UserDatabase& database);
    static void RemoveLastUsedCity(UserDatabase& database);

    // ---- Schema upgrades of the user database --------------------------------------------
    // All statements run on `database`; `staticDatabase` is accepted and not used. UserDatabase
    // runs them itself when it opens a file; a second run logs each step it cannot redo. Each step
    // is attempted and its outcome logged; a failing step never stops the upgrade.
    static void updateSchemav3_1(UserDatabase& database, CityDirectory* staticDatabase);
    static void updateSchemav3_2(UserDatabase& database, CityDirectory* staticDatabase);
    static void updateSchemav3_3(UserDatabase& database, CityDirectory* staticDatabase);
    /// Adds the columns of the city's polar resolution and Maghrib and Isha minutes; a host
    /// that runs the upgrades itself runs this one after the three above.
    static void updateSchemav3_4(UserDatabase& database, CityDirectory* staticDatabase);
    /// Adds the columns of the city's Fajr and Isha angles over any method; runs after
    /// updateSchemav3_4.
    static void updateSchemav3_5(UserDatabase& database, CityDirectory* staticDatabase);

private:
    // The user database reads and writes rows through the setters, fills the missing texts
    // before a write and marks a city read by its key clean.
    friend class UserDatabase;
    void markClean() { dirty_ = false; }

    // Stores `value` in `field`. Outside loading, a change is logged, marks the record dirty,
    // is mirrored under `mirrorKey` (when given) and stamps LastModDate (when `stamp`).
    // Answers whether the value changed.
    template <typename T, typename Describe>
    bool setTracked(T& field, const T& value, Describe message, std::string_view mirrorKey = {}, T mirrorValue = T{},
                    bool stamp = true);
    // Before a row is written: each missing name and the missing zone become the empty text,
    // through the tracked setters. The saved-cities rows set the country before the city, the
    // last-used row the city before the country; each keeps its order (and so its log lines).
    enum class NameOrder { countryFirst, cityFirst };
    void fillMissingTexts(NameOrder order);

    bool dirty_ = false;
    bool IsAutomaticGPSLocation_ = true;
    bool IsLoadingFromDB_ = false;
    bool isSelectedCity_ = false;
    bool isDefaultCity_ = false;
    bool IsBusyFetchingGPSCoordinates_ = false;
    bool FoundGPSLocationIsValid_ = false;
    bool IsReverseGeocoded_ = false;
    int64_t primaryKey_ = 0;
    std::optional<Date> LastModDate_;
    std::optional<Date> LastSyncDate_;
    std::optional<std::string> countryName_;
    std::optional<std::string> cityName_;
    std::optional<std::string> stateName_;
    std::optional<std::string> TimeZone_;
    double latitude_ = 0.0;
    double longitude_ = 0.0;
    double GMT_ = 0.0;
    int64_t DSTPreference_ = 0;
    int64_t prayerMethod_ = 0;
    int64_t asrMethod_ = 0;
    int64_t adjustHighLatitude_ = 0;
    int64_t polarResolution_ = 0;
    std::optional<double> maghribMinutes_;
    std::optional<double> ishaMinutes_;
    std::optional<double> fajrAngleOverride_;
    std::optional<double> ishaAngleOverride_;
    double customFajrAngle_ = 0.0;
    double customIshaAngle_ = 0.0;
};

}  // namespace tarvo
