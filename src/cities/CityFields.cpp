#include "tarvo/cities/CityFields.h"

#include "tarvo/cities/CityCalculatorSetup.h"
#include "tarvo/cities/TarvoCity.h"

namespace tarvo {

std::shared_ptr<TarvoCity> CityFields::makeCity() const {
    auto city = std::make_shared<TarvoCity>();
    city->setIsLoadingFromDB(true);
    city->setCityName(name);
    city->setCountryName(country);
    city->setStateName(state);
    city->setLatitude(latitude);
    city->setLongitude(longitude);
    city->setTimeZone(timeZone);
    city->setGMT(calculation.gmt.value_or(TarvoCity::kGMTFromTimeZone));
    city->setDSTPreference(calculation.dst.value_or(0));
    city->setPrayerMethod(calculation.method);
    city->setAsrMethod(calculation.asr);
    city->setAdjustHighLatitude(calculation.highLatitude);
    chooseCityAngles(*city, calculation.fajrAngle, calculation.ishaAngle);
    city->setMaghribMinutes(calculation.maghribMinutes);
    city->setIshaMinutes(calculation.ishaMinutes);
    city->setPolarResolution(calculation.polar);
    city->setIsLoadingFromDB(false);
    return city;
}

}  // namespace tarvo
