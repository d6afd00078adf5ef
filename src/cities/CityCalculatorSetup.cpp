#include "tarvo/cities/CityCalculatorSetup.h"

#include "tarvo/calculation/PrayerCalculator.h"
#include "tarvo/cities/TarvoCity.h"

namespace tarvo {

void configureCalculatorFromCity(PrayerCalculator& calculator, const TarvoCity& city) {
    // Position first: the automatic method and high-latitude rule depend on it, and the
    // custom-angle test below reads the method as resolved.
    calculator.setLat(city.latitude());
    calculator.setLng(city.longitude());
    calculator.setTimeFormat(0);
    calculator.setCalcMethod(city.prayerMethod());
    calculator.setAsrJuristic(city.asrMethod());
    calculator.setAdjustHighLats(city.adjustHighLatitude());
    if (city.DSTPreference() == 1) {
        calculator.setOverrideDST(1);
    } else if (city.DSTPreference() == 2) {
        calculator.setOverrideDST(2);
    }
    // Older saved cities carry -100 for "offset from the zone"; the calculator knows only
    // 50 as that marker, and -100 taken literally would be an offset of minus a hundred hours.
    const double gmt = city.GMT() == TarvoCity::kGMTFromTimeZoneLegacy ? TarvoCity::kGMTFromTimeZone : city.GMT();
    calculator.setOverrideTimeZoneOffset(gmt);
    if (calculator.calcMethod() == 6) {
        calculator.setFajrAngle(city.customFajrAngle());
        calculator.setIshaAngle(city.customIshaAngle());
    }
}

}  // namespace tarvo
