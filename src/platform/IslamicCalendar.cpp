#include "tarvo/platform/IslamicCalendar.h"

#include <mutex>
#include <string>

#include <unicode/calendar.h>
#include <unicode/locid.h>
#include <unicode/timezone.h>
#include <unicode/unistr.h>

#include "LogMacros.h"

namespace tarvo {

struct IslamicCalendar::Impl {
    mutable std::mutex mutex;
    std::unique_ptr<icu::Calendar> calendar;
};

namespace {

std::unique_ptr<icu::Calendar> makeCalendar(const std::string& zoneName) {
    UErrorCode status = U_ZERO_ERROR;
    icu::TimeZone* zone = icu::TimeZone::createTimeZone(icu::UnicodeString::fromUTF8(zoneName));
    // The calendar adopts the zone.
    std::unique_ptr<icu::Calendar> calendar(
        icu::Calendar::createInstance(zone, icu::Locale("en@calendar=islamic-civil"), status));
    if (U_FAILURE(status)) {
        TARVO_LOG_ERROR("Islamic calendar unavailable: {}", u_errorName(status));
        return nullptr;
    }
    calendar->setLenient(true);
    return calendar;
}

}  // namespace

IslamicCalendar::IslamicCalendar() : IslamicCalendar(TimeZone::systemDefault()) {}

IslamicCalendar::IslamicCalendar(const TimeZone& zone) : impl_(std::make_unique<Impl>()) {
    impl_->calendar = makeCalendar(zone.name());
}

IslamicCalendar::~IslamicCalendar() = default;

DateComponents IslamicCalendar::components(Date date, int64_t days) const {
    DateComponents c;
    std::lock_guard lock(impl_->mutex);
    icu::Calendar* cal = impl_->calendar.get();
    if (!cal) return c;
    UErrorCode status = U_ZERO_ERROR;
    cal->setTime(date.timeIntervalSince1970() * 1000.0, status);
    if (days != 0) cal->add(UCAL_DATE, static_cast<int32_t>(days), status);
    c.year = cal->get(UCAL_EXTENDED_YEAR, status);
    c.month = cal->get(UCAL_MONTH, status) + 1;
    c.day = cal->get(UCAL_DATE, status);
    c.hour = cal->get(UCAL_HOUR_OF_DAY, status);
    c.minute = cal->get(UCAL_MINUTE, status);
    c.second = cal->get(UCAL_SECOND, status);
    c.weekday = cal->get(UCAL_DAY_OF_WEEK, status);
    if (U_FAILURE(status)) {
        TARVO_LOG_ERROR("Islamic calendar could not split {}: {}", date.description(), u_errorName(status));
        return DateComponents{};
    }
    return c;
}

Date IslamicCalendar::dateFromComponents(const DateComponents& c) const {
    std::lock_guard lock(impl_->mutex);
    icu::Calendar* cal = impl_->calendar.get();
    if (!cal) return Date();
    UErrorCode status = U_ZERO_ERROR;
    cal->clear();
    cal->set(UCAL_EXTENDED_YEAR, static_cast<int32_t>(c.year));
    cal->set(UCAL_MONTH, static_cast<int32_t>(c.month - 1));
    cal->set(UCAL_DATE, static_cast<int32_t>(c.day));
    cal->set(UCAL_HOUR_OF_DAY, static_cast<int32_t>(c.hour));
    cal->set(UCAL_MINUTE, static_cast<int32_t>(c.minute));
    cal->set(UCAL_SECOND, static_cast<int32_t>(c.second));
    const UDate millis = cal->getTime(status);
    if (U_FAILURE(status)) return Date();
    return Date(millis / 1000.0);
}

bool isDateInRamdan(Date date, const IslamicCalendar& islamicCalendar, int64_t correction) {
    return islamicCalendar.components(date, correction).month == 9;
}

}  // namespace tarvo
