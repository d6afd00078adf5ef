#include "CityJson.h"

#include <optional>
#include <string>

#include "tarvo/calculation/PolarResolution.h"
#include "tarvo/cities/TarvoCity.h"

namespace tarvo::cli {

namespace {

nlohmann::ordered_json optionalText(const std::optional<std::string>& text) {
    return text ? nlohmann::ordered_json(*text) : nullptr;
}

nlohmann::ordered_json optionalNumber(const std::optional<double>& number) {
    return number ? nlohmann::ordered_json(*number) : nullptr;
}

}  // namespace

nlohmann::ordered_json cityJson(const TarvoCity& city) {
    nlohmann::ordered_json j;
    j["primaryKey"] = city.primaryKey();
    j["cityName"] = optionalText(city.cityName());
    j["countryName"] = optionalText(city.countryName());
    j["stateName"] = optionalText(city.stateName());
    j["latitude"] = city.latitude();
    j["longitude"] = city.longitude();
    j["TimeZone"] = optionalText(city.TimeZone());
    j["GMT"] = city.GMT();
    j["DSTPreference"] = city.DSTPreference();
    j["prayerMethod"] = city.prayerMethod();
    j["asrMethod"] = city.asrMethod();
    j["adjustHighLatitude"] = city.adjustHighLatitude();
    // Applied on the custom method only; 0: not chosen (the custom method's 18 and 17).
    j["customFajrAngle"] = city.customFajrAngle();
    j["customIshaAngle"] = city.customIshaAngle();
    j["fajrAngleOverride"] = optionalNumber(city.fajrAngleOverride());  // null: the method's angle
    j["ishaAngleOverride"] = optionalNumber(city.ishaAngleOverride());
    // null: not chosen (the PolarResolution setting decides).
    const auto polar = polarResolutionFromStored(city.polarResolution());
    j["polarResolution"] = polar ? nlohmann::ordered_json(std::string(polarResolutionName(*polar))) : nullptr;
    j["maghribMinutes"] = optionalNumber(city.maghribMinutes());  // null: the method's rule
    j["ishaMinutes"] = optionalNumber(city.ishaMinutes());
    j["isSelectedCity"] = city.isSelectedCity();
    return j;
}

}  // namespace tarvo::cli
