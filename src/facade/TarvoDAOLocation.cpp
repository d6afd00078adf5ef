// The facade's naming of a position fix: local data first (the directory and the user's
// reverse-geocode cache), then a web geocoder and a fallback in the background, with the
// answer published on the main queue.
#include <mutex>

#include "platform/host/LogMacros.h"
#include "platform/text/Text.h"
#include "platform/host/LogMacros.h"
#include "platform/text/Text.h"
#include "tarvo/cities/CityDirectory.h"
#include "tarvo/cities/Geocoder.h"
#include "tarvo/cities/OfflineGeocoder.h"
#include "tarvo/cities/TarvoCity.h"
#include "tarvo/cities/WebGeocoder.h"
#include "tarvo/facade/TarvoDAO.h"
#include "platform/host/DispatchQueue.h"
#include "platform/host/NotificationCenter.h"
#include "tarvo/cities/UserDatabase.h"
#include "tarvo/platform/TimeZone.h"

namespace tarvo {

namespace {

using Database = std::shared_ptr<UserDatabase>;

std::mutex& indicatorMutex() {
    static std::mutex mutex;
    return mutex;
}

std::function<void(bool)>& indicatorHandler() {
    static std::function<void(bool)> handler;
    return handler;
}

void showNetworkActivity(bool visible) {
    std::function<void(bool)> handler;
    {
        std::lock_guard lock(indicatorMutex());
        handler = indicatorHandler();
    }
    if (handler) handler(visible);
}

void hideIndicatorOnMainQueue() {
    runAsyncOnMainQueueWithoutDeadlocking([] { showNetworkActivity(false); });
}

// A city whose offset comes from its zone (the marker 50) takes the device's zone.
void useDeviceZoneIfFollowingZone(TarvoCity& city) {
    if (city.GMT() == TarvoCity::kGMTFromTimeZone) city.setTimeZone(TimeZone::systemDefault().name());
}

// The local look-ups in their fixed order: an exact directory match, the cache (within the
// caller's distance up to 2 km, else 8 km); beyond 2 km also the directory within 3 km and
// the cache within 4 km. The caller's larger distances are deliberately never used as such:
// the fixed steps keep a moving device from jumping between far neighbours.
std::shared_ptr<TarvoCity> lookUpLocally(const TarvoCity& city, double thresholdKm, UserDatabase* user,
                                         CityDirectory* directory, TarvoDAO::LocationSource& source) {
    const double lat = city.latitude();
    const double lon = city.longitude();
    struct Step {
        double km;
        bool cache;
        bool onlyBeyondTwoKm;
    };
    const Step steps[] = {
        {0.0, false, false},
        {thresholdKm <= 2.0 ? thresholdKm : 8.0, true, false},
        {3.0, false, true},
        {4.0, true, true},
    };
    for (const Step& step : steps) {
        if (step.onlyBeyondTwoKm && !(thresholdKm > 2.0)) continue;
        auto found = step.cache ? TarvoCity::GetCityForLat(lat, lon, user, step.km, true)
                                : TarvoCity::GetCityForLat(lat, lon, directory, step.km);
        if (found) {
            source = step.cache ? TarvoDAO::LocationSource::cache : TarvoDAO::LocationSource::directory;
            return found;
        }
    }
    return nullptr;
}

// Fills the city's names from one answered place.
void takeNames(TarvoCity& city, const Geocoder::Place& place, const std::string& logged) {
    city.setCityName(place.locality.empty() ? place.administrativeArea : place.locality);
    city.setCountryName(place.country);
    city.setIsReverseGeocoded(true);
    TARVO_LOG_DEBUG("Got reverse address: {}", logged);
    useDeviceZoneIfFollowingZone(city);
}

}  // namespace

void TarvoDAO::setNetworkActivityIndicatorHandler(std::function<void(bool visible)> handler) {
    std::lock_guard lock(indicatorMutex());
    indicatorHandler() = std::move(handler);
}

void TarvoDAO::setWebGeocoder(std::shared_ptr<Geocoder> geocoder) {
    std::lock_guard lock(fieldsMutex_);
    webGeocoder_ = std::move(geocoder);
}

void TarvoDAO::setFallbackGeocoder(std::shared_ptr<Geocoder> geocoder) {
    std::lock_guard lock(fieldsMutex_);
    fallbackGeocoder_ = std::move(geocoder);
}

TarvoDAO::LocationSource TarvoDAO::lastLocationSource() const {
    std::lock_guard lock(fieldsMutex_);
    return lastLocationSource_;
}

void TarvoDAO::updateCityWithReverseGeocodedInformation(const std::shared_ptr<TarvoCity>& city, double thresholdKm,
                                                        Database database,
                                                        std::shared_ptr<CityDirectory> staticDB) {
    if (!city) return;
    TARVO_LOG_DEBUG(" [LocationController] START REVERSE GEOCODER: {:f}, {:f}", city->latitude(), city->longitude());
    LocationSource source = LocationSource::none;
    const auto found = lookUpLocally(*city, thresholdKm, database.get(), staticDB.get(), source);
    if (found && !text::trimmed(found->cityName().value_or("")).empty()) {
        TARVO_LOG_DEBUG("Got reverse address: {}", found->cityName().value_or(""));
        city->setCityName(found->cityName());
        city->setCountryName(found->countryName());
        city->setTimeZone(found->TimeZone());
        city->setIsReverseGeocoded(true);
        city->setFoundGPSLocationIsValid(true);
        // The device's own zone wins over the place's for a city that follows its zone: the
        // fix is where the device is, and the device knows its zone best.
        useDeviceZoneIfFollowingZone(*city);
        auto active = city->copyWithZone();
        active->setIsReverseGeocoded(true);
        active->setFoundGPSLocationIsValid(true);
        setActiveCity(active);
        if (database) {
            TarvoCity::saveCityInReverseGeocodeCache(*database, city);
            TarvoCity::SaveLastUsedCity(*database, city);
        }
        std::lock_guard lock(fieldsMutex_);
        lastLocationSource_ = source;
        return;
    }

    if (city->latitude() == 0.0 && city->longitude() == 0.0) return;  // no fix
    useDeviceZoneIfFollowingZone(*city);

    std::shared_ptr<Geocoder> web;
    std::shared_ptr<Geocoder> fallback;
    {
        std::lock_guard lock(fieldsMutex_);
        web = webGeocoder_ ? webGeocoder_ : std::make_shared<WebGeocoder>();
        fallback = fallbackGeocoder_ ? fallbackGeocoder_ : std::make_shared<OfflineGeocoder>(staticDB);
    }
    const std::weak_ptr<TarvoDAO> self = weak_from_this();
    // The publish step: cache, active city, last used city, then the announcement.
    auto publish = [self, city, database](LocationSource from) {
        runAsyncOnMainQueueWithoutDeadlocking([self, city, database, from] {
            if (database) TarvoCity::saveCityInReverseGeocodeCache(*database, city);
            if (auto dao = self.lock()) {
                auto active = city->copyWithZone();
                active->setIsReverseGeocoded(true);
                active->setFoundGPSLocationIsValid(true);
                dao->setActiveCity(active);
                std::lock_guard lock(dao->fieldsMutex_);
                dao->lastLocationSource_ = from;
            }
            if (database) TarvoCity::SaveLastUsedCity(*database, city);
            NotificationCenter::defaultCenter().post(kGPSCityUpdatedNotification, city);
        });
    };

    showNetworkActivity(true);
    runAsyncInBackgroundQueue([city, web, fallback, publish, staticDB] {
        const double lat = city->latitude();
        const double lon = city->longitude();
        const Geocoder::Places answer = web->reverseGeocode(lat, lon);
        if (answer && !answer->empty()) {
            takeNames(*city, answer->front(), answer->front().formattedAddress);
            publish(LocationSource::web);
            hideIndicatorOnMainQueue();
            return;
        }
        if (!answer) {
            TARVO_LOG_VERBOSE("Error: {}", answer.error().message);
        } else {
            TARVO_LOG_INFO("Reverse geocoder found nothing");
        }
        TARVO_LOG_VERBOSE("Using fallback geocoder");
        const Geocoder::Places places = fallback->reverseGeocode(lat, lon);
        // Every place is published in turn, so the city ends with the last one's names
        // (hosts show the last place the geocoder gave).
        for (const auto& place : places.valueOr(std::vector<Geocoder::Place>{})) {
            takeNames(*city, place, place.formattedAddress);
            publish(LocationSource::fallback);
        }
        hideIndicatorOnMainQueue();
    });
}

}  // namespace tarvo
