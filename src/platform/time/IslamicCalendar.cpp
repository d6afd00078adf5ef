#include "tarvo/platform/IslamicCalendar.h"

#include <mutex>
#include <string>

#include <unicode/calendar.h>
#include <unicode/locid.h>
#include <unicode/timezone.h>
#include <unicode/unistr.h>

#include "platform/host/LogMacros.h"
#include "platform/text/Text.h"

namespace tarvo {

struct IslamicCalendar::Impl {
    mutable std::mutex mutex;
    /// The calendar runs in UTC on local wall-clock time: the zone's offsets come from the
    /// system's database (ICU's built-in copy of the zone rules is years old).
    std::unique_ptr<icu::Calendar> calendar;
    TimeZone zone = TimeZone::gmt();
};

namespace {

constexpr std::string_view kNames[] = {"civil", "umalqura", "astronomical"};
constexpr std::string_view kIdentifiers[] = {"islamic-civil", "islamic-umalqura", "islamic"};

std::unique_ptr<icu::Calendar> makeCalendar(IslamicCalendar::Kind kind) {
    UErrorCode status = U_ZERO_ERROR;
    const std::string locale = "en@calendar=" + std::string(IslamicCalendar::identifierOfKind(kind));
    // The calendar adopts the zone.
    std::unique_ptr<icu::Calendar> calendar(
        icu::Calendar::createInstance(icu::TimeZone::getGMT()->clone(), icu::Locale(locale.c_str()), status));
    if (U_FAILURE(status)) {
        TARVO_LOG_ERROR("Islamic calendar unavailable: {}", u_errorName(status));
        return nullptr;
    }
    calendar->setLenient(true);
    return calendar;
}

}  // namespace

IslamicCalendar::Kind IslamicCalendar::kindOfNumber(int64_t number) {
    return number == 1 ? Kind::ummAlQura : number == 2 ? Kind::astronomical : Kind::civil;
}

std::string_view IslamicCalendar::nameOfKind(Kind kind) { return kNames[static_cast<size_t>(kind)]; }

std::string_view IslamicCalendar::identifierOfKind(Kind kind) { return kIdentifiers[static_cast<size_t>(kind)]; }

std::optional<IslamicCalendar::Kind> IslamicCalendar::kindNamed(std::string_view name) {
    const std::string lower = text::lowercased(text::trimmed(name));
    for (const Kind kind : {Kind::civil, Kind::ummAlQura, Kind::astronomical}) {
        if (lower == nameOfKind(kind)) return kind;
    }
    return std::nullopt;
}

IslamicCalendar::IslamicCalendar() : IslamicCalendar(TimeZone::systemDefault()) {}

IslamicCalendar::IslamicCalendar(const TimeZone& zone, Kind kind) : impl_(std::make_unique<Impl>()), kind_(kind) {
    impl_->calendar = makeCalendar(kind);
    impl_->zone = zone;
}

IslamicCalendar::~IslamicCalendar() = default;

const char* IslamicCalendar::identifier() const { return identifierOfKind(kind_).data(); }

DateComponents IslamicCalendar::components(Date date, int64_t days) const {
    DateComponents c;
    std::lock_guard lock(impl_->mutex);
    icu::Calendar* cal = impl_->calendar.get();
    if (!cal) return c;
    UErrorCode status = U_ZERO_ERROR;
    const double seconds = date.timeIntervalSince1970();
    cal->setTime((seconds + static_cast<double>(impl_->zone.secondsFromGMT(date))) * 1000.0, status);
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
    const double local = cal->getTime(status) / 1000.0;
    if (U_FAILURE(status)) return Date();
    return Date(local - static_cast<double>(impl_->zone.secondsFromGMTForLocalTime(local)));
}

int64_t IslamicCalendar::daysInMonth(int64_t month, int64_t year, Kind kind) {
    if (month < 1 || month > 12 || year < -100000 || year > 100000) return 0;
    std::unique_ptr<icu::Calendar> cal = makeCalendar(kind);
    if (!cal) return 0;
    UErrorCode status = U_ZERO_ERROR;
    cal->clear();
    cal->set(UCAL_EXTENDED_YEAR, static_cast<int32_t>(year));
    cal->set(UCAL_MONTH, static_cast<int32_t>(month - 1));
    cal->set(UCAL_DATE, 1);
    const int32_t days = cal->getActualMaximum(UCAL_DATE, status);
    return U_SUCCESS(status) ? days : 0;
}

bool isDateInRamdan(Date date, const IslamicCalendar& islamicCalendar, int64_t correction) {
    return islamicCalendar.components(date, correction).month == 9;
}

}  // namespace tarvo
