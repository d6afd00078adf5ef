#include "tarvo/prayers/PlaceDayTimes.h"

#include <chrono>
#include <cmath>

#include "tarvo/calculation/PrayerCalculator.h"
#include "tarvo/cities/CityCalculatorSetup.h"
#include "tarvo/cities/TarvoCity.h"
#include "tarvo/platform/Calendar.h"
#include "tarvo/platform/DateComponents.h"
#include "tarvo/prayers/Prayer.h"

namespace tarvo {

std::optional<PlaceDayTimes> PlaceDayTimes::compute(const TarvoCity& city, int64_t year, int64_t month, int64_t day,
                                                    const PrayerAdjustments& adjustments, int64_t timeFormat) {
    PrayerCalculator calculator;
    configureCalculatorFromCity(calculator, city);
    calculator.setTimeFormat(timeFormat);
    // The day asked about is the calculator's calendar day holding noon of the date.
    DateComponents noon;
    noon.year = year;
    noon.month = month;
    noon.day = day;
    noon.hour = 12;
    const Date moment = calculator.globalGregCal().dateFromComponents(noon);
    const std::vector<double> engine = calculator.getDatePrayerTimesAsDoubles(
        moment, city.cityName(), city.countryName(), city.latitude(), city.longitude(), city.TimeZone());
    if (engine.size() < Prayer::TomorrowSunrise + 1) return std::nullopt;

    PlaceDayTimes t;
    t.year = year;
    t.month = month;
    t.day = day;
    t.hours = adjustments.adjustedHours(engine);
    t.text = calculator.adjustTimesFormat(t.hours);
    t.names = calculator.getTimeNames();
    // Tomorrow's entries may be written on another offset on the night the clocks change.
    t.utcOffsetSeconds = static_cast<int64_t>(std::llround(calculator.getTimeZoneOffset(moment) * 3600.0));
    // The method the place computes by. An override of one angle or interval runs through
    // the calculator's custom-method slot, but Karachi with a 19.5 degree Fajr is still
    // Karachi's method with one number changed, and is reported as such.
    t.method = city.prayerMethod() != 0
                   ? city.prayerMethod()
                   : PrayerCalculator::getAutoMethodFromLocation(city.latitude(), city.longitude());
    t.asr = calculator.asrJuristic();
    t.highLatitude = calculator.adjustHighLats();
    t.fixedTimings = calculator.isUsingFixedTimings();
    t.dubai = calculator.isDubai();
    return t;
}

std::optional<Date> PlaceDayTimes::moment(size_t index) const {
    if (index > Prayer::Qiyam || index >= hours.size() || !std::isfinite(hours[index])) return std::nullopt;
    using namespace std::chrono;
    const sys_days midnight{year_month_day{std::chrono::year(static_cast<int>(year)),
                                           std::chrono::month(static_cast<unsigned>(month)),
                                           std::chrono::day(static_cast<unsigned>(day))}};
    // A time of day on the day's clock: that reading less the clock's offset.
    const double midnightSeconds = static_cast<double>(midnight.time_since_epoch().count()) * 86400.0;
    return Date(midnightSeconds + hours[index] * 3600.0 - static_cast<double>(utcOffsetSeconds));
}

}  // namespace tarvo
