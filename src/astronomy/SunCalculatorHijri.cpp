// Hijri and Gregorian dates: an Islamic calendar (the arithmetical one, Umm al-Qura or the
// astronomical one) moved by a Hijri correction, as dates, texts and date parts. The caller
// names both; the forms without them answer by the user's stored choice.
#include <memory>
#include <mutex>
#include <optional>
#include <utility>

#include "tarvo/astronomy/SunCalculator.h"
#include "tarvo/platform/Calendar.h"
#include "tarvo/platform/DateFormatter.h"
#include "tarvo/platform/IslamicCalendar.h"
#include "tarvo/platform/Locale.h"
#include "tarvo/platform/TimeZone.h"
#include "tarvo/platform/UserDefaults.h"

namespace tarvo {

namespace {

constexpr const char* kGregorianTextFormat = "dd MMM YYYY";
constexpr const char* kHijriTextFormat = "d MMMM y";

// The objects every operation shares. The formatter is made once for the process: its
// locale is decided by the locale current at that moment. The Islamic calendar follows the
// device's zone, so it is made again when the zone changes.
struct Shared {
    std::mutex mutex;
    std::optional<DateFormatter> formatter;
    std::unique_ptr<IslamicCalendar> islamic;
    std::string islamicZone;

    static Shared& instance() {
        static Shared* shared = new Shared();  // lives as long as the process
        return *shared;
    }

    // Call with the mutex held.
    DateFormatter& dateFormatter() {
        if (!formatter) {
            formatter.emplace();
            formatter->setDateStyle(DateFormatter::LongStyle);
            formatter->setTimeStyle(DateFormatter::NoStyle);
            formatter->setCalendarIdentifier("gregorian");
            const Locale current = Locale::currentLocale();
            // A device set to Arabic digits gets Saudi Arabic dates; any other keeps its own
            // locale with lower-case day periods.
            if (current.identifier().ends_with("numbers=arab")) {
                formatter->setLocale(Locale("ar_SA"));
            } else {
                formatter->setLocale(current);
                formatter->setAMSymbol("am");
                formatter->setPMSymbol("pm");
            }
        }
        return *formatter;
    }

    // Call with the mutex held; `kind` asked for outside it.
    const IslamicCalendar& islamicCalendar(IslamicCalendar::Kind kind) {
        const TimeZone zone = TimeZone::systemDefault();
        if (!islamic || islamicZone != zone.name() || islamic->kind() != kind) {
            islamic = std::make_unique<IslamicCalendar>(zone, kind);
            islamicZone = zone.name();
        }
        return *islamic;
    }
};

// The start of the Hijri day in the device's zone, before any correction.
Date startOfHijriDay(Shared& shared, IslamicCalendar::Kind kind, int64_t day, int64_t month, int64_t year) {
    DateComponents c;
    c.year = year;
    c.month = month;
    c.day = day;
    return shared.islamicCalendar(kind).dateFromComponents(c);
}

std::vector<int32_t> parts(const DateComponents& c) {
    return {static_cast<int32_t>(c.day), static_cast<int32_t>(c.month), static_cast<int32_t>(c.year),
            static_cast<int32_t>(c.weekday)};
}

}  // namespace

SunCalculator::HijriReckoning SunCalculator::userHijriReckoning() {
    // The keys the configuration stores the two choices under.
    const auto store = UserDefaults::sharedUserDefaultsObj();
    return HijriReckoning{IslamicCalendar::kindOfNumber(store->integerForKey("HijriCalendar")),
                          store->integerForKey("HijriCorrection")};
}

Date SunCalculator::getDateForDay(int64_t day, int64_t month, int64_t year) {
    DateComponents c;
    c.year = year;
    c.month = month;
    c.day = day;
    return Calendar().dateFromComponents(c);
}

Date SunCalculator::getDateFromHijriDay(int64_t day, int64_t month, int64_t year) {
    return getDateFromHijriDay(day, month, year, userHijriReckoning());
}

Date SunCalculator::getDateFromHijriDay(int64_t day, int64_t month, int64_t year, const HijriReckoning& reckoning) {
    Shared& shared = Shared::instance();
    std::lock_guard lock(shared.mutex);
    // The shared formatter gets the text pattern here too, so its state is the same whichever
    // of the two Hijri operations ran last.
    shared.dateFormatter().setDateFormat(kGregorianTextFormat);
    return Calendar().dateByAddingDays(-reckoning.correction,
                                       startOfHijriDay(shared, reckoning.kind, day, month, year));
}

std::string SunCalculator::convertToGregorianFromHijriDay(int64_t day, int64_t month, int64_t year) {
    return convertToGregorianFromHijriDay(day, month, year, userHijriReckoning());
}

std::string SunCalculator::convertToGregorianFromHijriDay(int64_t day, int64_t month, int64_t year,
                                                          const HijriReckoning& reckoning) {
    const Date date = getDateFromHijriDay(day, month, year, reckoning);
    Shared& shared = Shared::instance();
    std::lock_guard lock(shared.mutex);
    DateFormatter& formatter = shared.dateFormatter();
    formatter.setDateFormat(kGregorianTextFormat);
    return formatter.stringFromDate(date);
}

std::vector<int32_t> SunCalculator::getCompsForGregorianFromHijriDay(int64_t day, int64_t month, int64_t year) {
    return getCompsForGregorianFromHijriDay(day, month, year, userHijriReckoning());
}

std::vector<int32_t> SunCalculator::getCompsForGregorianFromHijriDay(int64_t day, int64_t month, int64_t year,
                                                                     IslamicCalendar::Kind kind) {
    return getCompsForGregorianFromHijriDay(day, month, year,
                                            HijriReckoning{kind, userHijriReckoning().correction});
}

std::vector<int32_t> SunCalculator::getCompsForGregorianFromHijriDay(int64_t day, int64_t month, int64_t year,
                                                                     const HijriReckoning& reckoning) {
    Shared& shared = Shared::instance();
    std::lock_guard lock(shared.mutex);
    const Calendar gregorian;
    DateComponents offset;
    offset.day = -reckoning.correction;
    const Date date =
        gregorian.dateByAddingComponents(offset, startOfHijriDay(shared, reckoning.kind, day, month, year));
    return parts(gregorian.components(date));
}

std::vector<int32_t> SunCalculator::getCompsForHijriFromDate(Date date) {
    return getCompsForHijriFromDate(date, userHijriReckoning());
}

std::vector<int32_t> SunCalculator::getCompsForHijriFromDate(Date date, IslamicCalendar::Kind kind) {
    return getCompsForHijriFromDate(date, HijriReckoning{kind, userHijriReckoning().correction});
}

std::vector<int32_t> SunCalculator::getCompsForHijriFromDate(Date date, const HijriReckoning& reckoning) {
    Shared& shared = Shared::instance();
    std::lock_guard lock(shared.mutex);
    DateComponents hijri = shared.islamicCalendar(reckoning.kind).components(date, reckoning.correction);
    // The weekday is the moment's own: the correction moves the Hijri date, not the day.
    hijri.weekday = Calendar().components(date).weekday;
    return parts(hijri);
}

std::string SunCalculator::convertToHijriFromDate(Date date) {
    return convertToHijriFromDate(date, userHijriReckoning());
}

std::string SunCalculator::convertToHijriFromDate(Date date, IslamicCalendar::Kind kind) {
    return convertToHijriFromDate(date, HijriReckoning{kind, userHijriReckoning().correction});
}

std::string SunCalculator::convertToHijriFromDate(Date date, const HijriReckoning& reckoning) {
    Shared& shared = Shared::instance();
    std::lock_guard lock(shared.mutex);
    DateFormatter hijri(shared.dateFormatter());
    hijri.setCalendarIdentifier(IslamicCalendar::identifierOfKind(reckoning.kind));
    hijri.setDateFormat(kHijriTextFormat);
    return hijri.stringFromDate(Calendar().dateByAddingDays(reckoning.correction, date));
}

}  // namespace tarvo
