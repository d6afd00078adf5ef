// The city directory, the saved cities and the lists of cities they answer.
#include <memory>
#include <mutex>
#include <vector>

#include <fmt/format.h>

#include "Boundary.h"
#include "Calculation.h"
#include "tarvo/astronomy/QiblaCalculator.h"
#include "tarvo/cities/CityDirectory.h"
#include "tarvo/cities/PlaceResolver.h"
#include "tarvo/cities/TarvoCity.h"
#include "tarvo/cities/UserDatabase.h"

using namespace tarvo;
using namespace tarvo::capi;

struct tarvo_city_list {
    std::vector<tarvo_city> cities;
};

// A connection serves one statement at a time: calls on one handle take turns.
struct tarvo_directory {
    std::shared_ptr<CityDirectory> directory;
    std::mutex mutex;
};

struct tarvo_saved_cities {
    std::shared_ptr<UserDatabase> user;
    std::mutex mutex;
};

namespace {

tarvo_city cityOf(const TarvoCity& city) {
    tarvo_city c{};
    c.primary_key = city.primaryKey();
    copyText(c.name, sizeof c.name, city.cityName().value_or(""));
    copyText(c.state, sizeof c.state, city.stateName().value_or(""));
    copyText(c.country, sizeof c.country, city.countryName().value_or(""));
    copyText(c.time_zone, sizeof c.time_zone, city.TimeZone().value_or(""));
    c.latitude = city.latitude();
    c.longitude = city.longitude();
    c.method = static_cast<int32_t>(city.prayerMethod());
    c.asr = static_cast<int32_t>(city.asrMethod());
    c.high_latitude = static_cast<int32_t>(city.adjustHighLatitude());
    c.selected = city.isSelectedCity() ? 1 : 0;
    return c;
}

tarvo_city_list* listOf(const std::vector<std::shared_ptr<TarvoCity>>& cities) {
    auto list = std::make_unique<tarvo_city_list>();
    list->cities.reserve(cities.size());
    for (const auto& city : cities) {
        if (city) list->cities.push_back(cityOf(*city));
    }
    return list.release();
}

// A look-up's answer is used only when the directory met no damage while giving it.
void checkIntact(CityDirectory& directory) {
    if (auto why = directory.damage()) throw Failure(TARVO_ERROR_STORAGE, "cannot use the city directory: " + *why);
}

// The directory city a place name stands for, resolved as the tool resolves it (the biggest
// city of the name, narrowed by the country). The one spot where a name becomes a place.
std::shared_ptr<TarvoCity> resolveName(CityDirectory& directory, std::string_view text,
                                       const std::optional<std::string>& country) {
    auto found = PlaceResolver(directory).resolve(text, country);
    if (!found) {
        checkIntact(directory);
        throw Failure(TARVO_ERROR_NOT_FOUND, found.error().message);
    }
    checkIntact(directory);
    const ResolvedPlace::City& chosen = found->city;
    auto city = std::make_shared<TarvoCity>();
    city->setIsLoadingFromDB(true);  // a directory city, not an edit of the automatic city
    city->setCityName(chosen.name);
    city->setStateName(chosen.state);
    city->setCountryName(chosen.country);
    city->setLatitude(chosen.latitude);
    city->setLongitude(chosen.longitude);
    city->setTimeZone(chosen.timeZone);
    city->setIsLoadingFromDB(false);
    return city;
}

template <typename Handle, typename Body>
tarvo_status onHandle(Handle* handle, const char* name, Body&& body) {
    return guarded([&] {
        require(handle, name);
        std::lock_guard lock(handle->mutex);
        return body();
    });
}

void check(const Result<void>& done) {
    if (!done) throw Failure(TARVO_ERROR_STORAGE, done.error().message);
}

// The saved city with this key, or a failure; nothing is changed either way.
void requireSaved(UserDatabase& user, int64_t primaryKey) {
    auto cities = user.savedCities();
    if (!cities) throw Failure(TARVO_ERROR_STORAGE, cities.error().message);
    for (const auto& city : *cities) {
        if (city->primaryKey() == primaryKey) return;
    }
    throw Failure(TARVO_ERROR_NOT_FOUND, fmt::format("no saved city has the primary key {}", primaryKey));
}

}  // namespace

extern "C" {

size_t tarvo_city_list_size(const tarvo_city_list* list) { return list ? list->cities.size() : 0; }

tarvo_status tarvo_city_list_get(const tarvo_city_list* list, size_t index, tarvo_city* out) {
    return guarded([&] {
        require(list, "list");
        require(out, "out");
        if (index >= list->cities.size()) {
            throw Failure(TARVO_ERROR_INVALID_ARGUMENT,
                          fmt::format("index {} is past the list's {} cities", index, list->cities.size()));
        }
        *out = list->cities[index];
        return TARVO_OK;
    });
}

void tarvo_city_list_destroy(tarvo_city_list* list) { delete list; }

tarvo_status tarvo_directory_open(const char* path, tarvo_directory** out) {
    return guarded([&] {
        require(out, "out");
        auto opened = CityDirectory::open(path ? path : "");
        if (!opened) throw Failure(TARVO_ERROR_STORAGE, "cannot use the city directory: " + opened.error().message);
        auto handle = std::make_unique<tarvo_directory>();
        handle->directory = std::move(*opened);
        *out = handle.release();
        return TARVO_OK;
    });
}

void tarvo_directory_destroy(tarvo_directory* directory) { delete directory; }

tarvo_status tarvo_directory_search(tarvo_directory* directory, const char* text, tarvo_city_list** out) {
    return onHandle(directory, "directory", [&] {
        require(text, "text");
        require(out, "out");
        const auto cities = TarvoCity::SearchCities(*directory->directory, text);
        checkIntact(*directory->directory);
        *out = listOf(cities);
        return TARVO_OK;
    });
}

tarvo_status tarvo_directory_nearest(tarvo_directory* directory, double latitude, double longitude, double radius_km,
                                     tarvo_city* out) {
    return onHandle(directory, "directory", [&] {
        require(out, "out");
        checkPosition(latitude, longitude);
        if (!(radius_km >= 0 && radius_km <= 20000)) {
            throw Failure(TARVO_ERROR_INVALID_ARGUMENT, fmt::format("radius {} km is outside 0 to 20000", radius_km));
        }
        CityDirectory& d = *directory->directory;
        const auto city = TarvoCity::GetCityForLat(latitude, longitude, &d, radius_km);
        checkIntact(d);
        if (!city) {
            throw Failure(TARVO_ERROR_NOT_FOUND,
                          fmt::format("no directory city within {} km of {}, {}", radius_km, latitude, longitude));
        }
        city->setStateName(d.stateName(*city));
        tarvo_city c = cityOf(*city);
        c.distance_km = QiblaCalculator::getDistanceBetweenTwoLocations(latitude, longitude, city->latitude(),
                                                                        city->longitude(), false);
        *out = c;
        return TARVO_OK;
    });
}

tarvo_status tarvo_directory_resolve(tarvo_directory* directory, const char* text, const char* country,
                                     tarvo_city* out) {
    return onHandle(directory, "directory", [&] {
        require(text, "text");
        require(out, "out");
        const auto city = resolveName(*directory->directory, text,
                                      country ? std::optional<std::string>(country) : std::nullopt);
        *out = cityOf(*city);
        return TARVO_OK;
    });
}

tarvo_status tarvo_saved_cities_open(const char* path, tarvo_saved_cities** out) {
    return guarded([&] {
        require(out, "out");
        auto opened = path && *path ? UserDatabase::open(path) : UserDatabase::openDefault();
        if (!opened) throw Failure(TARVO_ERROR_STORAGE, opened.error().message);
        auto handle = std::make_unique<tarvo_saved_cities>();
        handle->user = std::move(*opened);
        *out = handle.release();
        return TARVO_OK;
    });
}

void tarvo_saved_cities_destroy(tarvo_saved_cities* saved) { delete saved; }

tarvo_status tarvo_saved_cities_list(tarvo_saved_cities* saved, tarvo_city_list** out) {
    return onHandle(saved, "saved", [&] {
        require(out, "out");
        auto cities = saved->user->savedCities();
        if (!cities) throw Failure(TARVO_ERROR_STORAGE, cities.error().message);
        *out = listOf(*cities);
        return TARVO_OK;
    });
}

tarvo_status tarvo_saved_cities_add(tarvo_saved_cities* saved, const tarvo_place* place,
                                    const tarvo_settings* settings, tarvo_city* out) {
    return onHandle(saved, "saved", [&] {
        require(place, "place");
        const auto city = cityFor(*place, settingsOrDefault(settings));
        // Saved and selected together, or not at all.
        auto added = saved->user->addCity(city);
        if (!added) throw Failure(TARVO_ERROR_STORAGE, added.error().message);
        if (out) *out = cityOf(**added);
        return TARVO_OK;
    });
}

tarvo_status tarvo_saved_cities_select(tarvo_saved_cities* saved, int64_t primary_key) {
    return onHandle(saved, "saved", [&] {
        requireSaved(*saved->user, primary_key);
        check(saved->user->selectCity(primary_key));
        return TARVO_OK;
    });
}

tarvo_status tarvo_saved_cities_delete(tarvo_saved_cities* saved, int64_t primary_key) {
    return onHandle(saved, "saved", [&] {
        requireSaved(*saved->user, primary_key);
        check(saved->user->deleteCity(primary_key));
        return TARVO_OK;
    });
}

}  // extern "C"
