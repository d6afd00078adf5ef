// The keyed archive of a city, the form in which the facade keeps the active city in the shared
// preferences.
#include "cities/TarvoCityArchive.h"

#include <cmath>
#include <limits>

#include "platform/host/LogMacros.h"
#include "platform/storage/KeyedArchiver.h"
#include "platform/storage/KeyedUnarchiver.h"
#include "tarvo/cities/TarvoCity.h"

namespace tarvo {

namespace {

// The integer of a decoded number object, as the platform's integerValue gives it: the
// fraction cut off; out-of-range values and NaN pinned instead of undefined.
int64_t integerOfNumber(double value) {
    if (std::isnan(value)) return 0;
    if (value >= 9223372036854775807.0) return std::numeric_limits<int64_t>::max();
    if (value <= -9223372036854775808.0) return std::numeric_limits<int64_t>::min();
    return static_cast<int64_t>(value);
}

// Archived GMT and custom angles pass through single precision on the way in: archives made
// by older versions stored them as floats, and readers compare them with values that went
// the same way (so 5.75 comes back exactly, 3.3 as 3.2999999523).
double throughSinglePrecision(double value) { return static_cast<double>(static_cast<float>(value)); }

}  // namespace

void TarvoCityArchive::encode(const TarvoCity& city, KeyedArchiver& coder) {
    coder.encodeDouble(city.GMT(), "GMT");
    coder.encodeInteger(city.DSTPreference(), "DSTPreference");
    coder.encodeInteger(city.prayerMethod(), "prayerMethod");
    coder.encodeInteger(city.asrMethod(), "asrMethod");
    coder.encodeInteger(city.adjustHighLatitude(), "adjustHighLatitude");
    coder.encodeDouble(city.customFajrAngle(), "customFajrAngle");
    coder.encodeDouble(city.customIshaAngle(), "customIshaAngle");
    coder.encodeDouble(city.latitude(), "latitude");
    coder.encodeDouble(city.longitude(), "longitude");
    // Written only when chosen, so that archives of cities without them read as before.
    if (city.polarResolution() != 0) coder.encodeInteger(city.polarResolution(), "polarResolution");
    if (city.maghribMinutes()) coder.encodeDouble(*city.maghribMinutes(), "maghribMinutes");
    if (city.ishaMinutes()) coder.encodeDouble(*city.ishaMinutes(), "ishaMinutes");
    if (city.fajrAngleOverride()) coder.encodeDouble(*city.fajrAngleOverride(), "fajrAngleOverride");
    if (city.ishaAngleOverride()) coder.encodeDouble(*city.ishaAngleOverride(), "ishaAngleOverride");
    coder.encodeObject(city.cityName().value_or(""), "cityName");
    coder.encodeObject(city.countryName().value_or(""), "countryName");
    coder.encodeObject(city.TimeZone().value_or(""), "TimeZone");
}

std::shared_ptr<TarvoCity> TarvoCityArchive::decode(const KeyedUnarchiver& coder) {
    auto city = std::make_shared<TarvoCity>();
    city->setIsLoadingFromDB(true);
    auto number = [&coder](std::string_view key) { return coder.decodeNumber(key).value_or(0.0); };
    try {
        city->setGMT(throughSinglePrecision(number("GMT")));
        city->setDSTPreference(integerOfNumber(number("DSTPreference")));
        city->setPrayerMethod(integerOfNumber(number("prayerMethod")));
        city->setAsrMethod(integerOfNumber(number("asrMethod")));
        city->setAdjustHighLatitude(integerOfNumber(number("adjustHighLatitude")));
        city->setCustomFajrAngle(throughSinglePrecision(number("customFajrAngle")));
        city->setCustomIshaAngle(throughSinglePrecision(number("customIshaAngle")));
        city->setLatitude(number("latitude"));
        city->setLongitude(number("longitude"));
        // Absent from archives made before cities kept them: not chosen. Full precision: no
        // older reader compares them through single precision.
        city->setPolarResolution(integerOfNumber(number("polarResolution")));
        city->setMaghribMinutes(coder.decodeNumber("maghribMinutes"));
        city->setIshaMinutes(coder.decodeNumber("ishaMinutes"));
        city->setFajrAngleOverride(coder.decodeNumber("fajrAngleOverride"));
        city->setIshaAngleOverride(coder.decodeNumber("ishaAngleOverride"));
    } catch (const KeyedUnarchiver::DecodingError&) {
        // Keep what was decoded so far and go on with the names.
        TARVO_LOG_ERROR("Error tring to decode city obj");
    }
    auto text = [&coder](std::string_view key) -> std::optional<std::string> {
        try {
            return coder.decodeString(key);
        } catch (const KeyedUnarchiver::DecodingError&) {
            TARVO_LOG_ERROR("Error tring to decode city obj");
            return std::nullopt;
        }
    };
    city->setCityName(text("cityName"));
    city->setCountryName(text("countryName"));
    city->setTimeZone(text("TimeZone"));
    city->setIsLoadingFromDB(false);
    return city;
}

}  // namespace tarvo
