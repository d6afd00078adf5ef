// Qibla, Hijri dates and the moon.
#include <cmath>

#include <fmt/format.h>

#include "Boundary.h"
#include "Calculation.h"
#include "tarvo/astronomy/QiblaCalculator.h"
#include "tarvo/astronomy/SunCalculator.h"
#include "tarvo/facade/TarvoDAO.h"
#include "tarvo/platform/Calendar.h"
#include "tarvo/platform/IslamicCalendar.h"

using namespace tarvo;
using namespace tarvo::capi;

namespace {

// The Hijri calendar a C value names: 0 civil, 1 Umm al-Qura, 2 astronomical.
IslamicCalendar::Kind calendarKind(int32_t calendar) {
    if (calendar < TARVO_HIJRI_CIVIL || calendar > TARVO_HIJRI_ASTRONOMICAL) {
        throw Failure(TARVO_ERROR_INVALID_ARGUMENT, fmt::format("Hijri calendar {} is outside 0 to 2", calendar));
    }
    return static_cast<IslamicCalendar::Kind>(calendar);
}

tarvo_date dateOf(const std::vector<int32_t>& parts) {
    if (parts.size() < 4) throw Failure(TARVO_ERROR_INTERNAL, "the calendar gave no date");
    return tarvo_date{parts[2], parts[1], parts[0], parts[3]};
}

}  // namespace

extern "C" {

tarvo_status tarvo_qibla_for(double latitude, double longitude, tarvo_qibla* out) {
    return guarded([&] {
        require(out, "out");
        checkPosition(latitude, longitude);
        tarvo_qibla q{};
        q.bearing_degrees = static_cast<int32_t>(QiblaCalculator::getQiblaDirection(latitude, longitude));
        q.nautical_miles = QiblaCalculator::CalcKabaDistance(latitude, longitude, false);
        q.statute_miles = QiblaCalculator::CalcKabaDistance(latitude, longitude, true);
        *out = q;
        return TARVO_OK;
    });
}

tarvo_status tarvo_hijri_from_gregorian(int32_t calendar, int32_t year, int32_t month, int32_t day,
                                        tarvo_date* out, char** text) {
    return guarded([&] {
        require(out, "out");
        const IslamicCalendar::Kind kind = calendarKind(calendar);
        checkGregorianDate(year, month, day);
        // Noon of the day on the device's calendar, the day the conversion reads.
        std::lock_guard lock(deviceStateMutex());
        const Calendar device;
        DateComponents noon;
        noon.year = year;
        noon.month = month;
        noon.day = day;
        noon.hour = 12;
        const Date moment = device.dateFromComponents(noon);
        TarvoDAO::getSharedInstance();  // the user's Hijri correction is the configuration's
        const tarvo_date date = dateOf(SunCalculator::getCompsForHijriFromDate(moment, kind));
        char* written = text ? newText(SunCalculator::convertToHijriFromDate(moment, kind)) : nullptr;
        *out = date;
        if (text) *text = written;
        return TARVO_OK;
    });
}

tarvo_status tarvo_gregorian_from_hijri(int32_t calendar, int32_t year, int32_t month, int32_t day,
                                        tarvo_date* out) {
    return guarded([&] {
        require(out, "out");
        const IslamicCalendar::Kind kind = calendarKind(calendar);
        if (month < 1 || month > 12) {
            throw Failure(TARVO_ERROR_INVALID_ARGUMENT, fmt::format("Hijri month {} is outside 1 to 12", month));
        }
        if (day < 1 || day > 30) {
            throw Failure(TARVO_ERROR_INVALID_ARGUMENT, fmt::format("Hijri day {} is outside 1 to 30", day));
        }
        if (year < 1 || year > 9999) {
            throw Failure(TARVO_ERROR_INVALID_ARGUMENT, fmt::format("Hijri year {} is outside 1 to 9999", year));
        }
        // The calendar would roll 30 Safar over into Rabi I; a date that does not exist is refused.
        if (const int64_t length = IslamicCalendar::daysInMonth(month, year, kind); day > length) {
            throw Failure(TARVO_ERROR_INVALID_ARGUMENT, fmt::format("Hijri month {} of {} has {} days: day {} does "
                                                                    "not exist", month, year, length, day));
        }
        std::lock_guard lock(deviceStateMutex());
        TarvoDAO::getSharedInstance();
        *out = dateOf(SunCalculator::getCompsForGregorianFromHijriDay(day, month, year, kind));
        return TARVO_OK;
    });
}

tarvo_status tarvo_moon(double latitude, double longitude, const char* time_zone, int32_t year, int32_t month,
                        int32_t day, tarvo_moon_day* out) {
    return guarded([&] {
        require(out, "out");
        checkPosition(latitude, longitude);
        const TimeZone zone = zoneNamed(time_zone);
        checkGregorianDate(year, month, day);
        const SunCalculator::MoonDay moonDay = SunCalculator::moonRiseSetForDay(day, month, year, zone, latitude, longitude);
        const SunCalculator::MoonPhase phase = SunCalculator::moonPhaseForDay(day, month, year, zone);
        tarvo_moon_day m{};
        m.rise = momentOf(moonDay.rise(), zone);
        m.set = momentOf(moonDay.set(), zone);
        m.up_all_day = moonDay.events.empty() ? (moonDay.upAtStart ? 1 : 0) : -1;
        m.illuminated_fraction = phase.illuminatedFraction;
        m.age_days = phase.ageDays;
        m.phase_angle = phase.phaseAngle;
        copyText(m.phase, sizeof m.phase, phase.name);
        *out = m;
        return TARVO_OK;
    });
}

}  // extern "C"
