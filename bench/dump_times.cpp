// Writes the raw doubles of many day computations to a file, so that a change meant to be
// pure overhead removal can be checked bit for bit: dump before, dump after, `cmp` the two.
//
// Usage: tarvo_bench_dump OUTPUT [PLACES]
// Covers the benchmark workload's first PLACES places (default 40, at most 990) over a
// whole year with a fresh calculator per day, the next 10 with one reused calculator per
// place, and a set of configurations the workload does not reach: every method, Asr school
// and high-latitude rule, custom angles, overrides of the offset and of daylight saving,
// Dhuhr minutes, unknown and missing zones, and the Dubai and Kuala Lumpur timetable paths.
// Then the facade's day lists for the same places, consecutive and scattered, under settings
// that move the records (adjustments, Sunrise or Doha, the Fajr and Isha options) and in a
// device calendar with summer time: each record's type, moment, adjustment and flag.
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <vector>

#include "Workload.h"
#include "tarvo/calculation/PrayerCalculator.h"
#include "tarvo/cities/TarvoCity.h"
#include "tarvo/configuration/PrayerConfiguration.h"
#include "tarvo/facade/TarvoDAO.h"
#include "tarvo/platform/Calendar.h"
#include "tarvo/platform/IslamicCalendar.h"
#include "tarvo/prayers/Prayer.h"

namespace {

using tarvo::PrayerCalculator;

struct Writer {
    std::FILE* out;
    size_t records = 0;
    void day(const PrayerCalculator& c, const std::vector<double>& times) {
        std::fwrite(times.data(), sizeof(double), times.size(), out);
        const double extra[] = {c.isUsingFixedTimings() ? 1.0 : 0.0, static_cast<double>(c.calcMethod()),
                                static_cast<double>(c.asrJuristic()), static_cast<double>(c.adjustHighLats()),
                                c.JDate(), c.TomorrowJDate()};
        std::fwrite(extra, sizeof(double), std::size(extra), out);
        ++records;
    }
    void list(const tarvo::TarvoDAO::DayList& day) {
        for (const auto& prayer : day) {
            const double fields[] = {static_cast<double>(prayer->Type()),
                                     prayer->PrayerTime() ? prayer->PrayerTime()->timeIntervalSince1970() : -1e300,
                                     static_cast<double>(prayer->AdjustmentMinutes()),
                                     prayer->isFixedTimings() ? 1.0 : 0.0};
            std::fwrite(fields, sizeof(double), std::size(fields), out);
        }
        ++lists;
    }
    size_t lists = 0;
};

tarvo::Date noonUtc(int64_t year, int64_t month, int64_t day) {
    tarvo::DateComponents c;
    c.year = year;
    c.month = month;
    c.day = day;
    c.hour = 12;
    return tarvo::Calendar().dateFromComponents(c);
}

}  // namespace

int main(int argc, char** argv) {
    const long fresh = argc == 3 ? std::atol(argv[2]) : 40;
    if ((argc != 2 && argc != 3) || fresh < 0 || fresh > 990) {
        std::fprintf(stderr, "usage: %s OUTPUT [PLACES]\n", argv[0]);
        return 2;
    }
    const auto freshPlaces = static_cast<size_t>(fresh);
    setenv("TZ", "UTC", 0);  // the device zone: UTC unless TZ says otherwise
    std::FILE* out = std::fopen(argv[1], "wb");
    if (!out) {
        std::perror(argv[1]);
        return 1;
    }
    Writer w{out};
    const auto workload = tarvo::bench::makeWorkload(1000, 365);

    // The workload: fresh calculators for the first places, reused ones for the next 10.
    for (size_t p = 0; p < freshPlaces + 10; ++p) {
        const auto& place = workload.places[p];
        PrayerCalculator reused;
        reused.setCalcMethod(1);
        reused.setAsrJuristic(1);
        for (const auto& day : workload.days) {
            if (p < freshPlaces) {
                PrayerCalculator c;
                c.setCalcMethod(1);
                c.setAsrJuristic(1);
                w.day(c, c.getDatePrayerTimesAsDoubles(day.noon, place.city, std::nullopt, place.latitude,
                                                       place.longitude, place.timeZone));
            } else {
                w.day(reused, reused.getDatePrayerTimesAsDoubles(day.noon, place.city, std::nullopt, place.latitude,
                                                                 place.longitude, place.timeZone));
            }
        }
    }

    // Configurations around a few places, on days either side of summer-time changes.
    struct Site {
        double lat, lng;
        const char* city;
        const char* country;
        const char* zone;
    };
    const Site sites[] = {
        {51.5, -0.1167, "London", "United Kingdom", "Europe/London"},
        {21.4225, 39.8262, "Makkah", "Saudi Arabia", "Asia/Riyadh"},
        {59.91, 10.75, "Oslo", "Norway", "Europe/Oslo"},
        {-33.87, 151.21, "Sydney", "Australia", "Australia/Sydney"},
        {24.86, 67.01, "Karachi", "Pakistan", "Asia/Karachi"},
        {64.1, -21.9, "Reykjavik", nullptr, "Atlantic/Reykjavik"},
        {40.7, -74.0, "New York", "United States", "No/Such_Zone"},
        {30.0, 31.2, nullptr, "Egypt", nullptr},
    };
    const tarvo::Date dates[] = {noonUtc(2023, 3, 25), noonUtc(2023, 3, 26), noonUtc(2023, 6, 21),
                                 noonUtc(2023, 10, 28), noonUtc(2023, 10, 29), noonUtc(2023, 12, 21)};
    const std::vector<std::function<void(PrayerCalculator&)>> setups = {
        [](PrayerCalculator&) {},
        [](PrayerCalculator& c) { c.setCalcMethod(2); },
        [](PrayerCalculator& c) { c.setCalcMethod(3); c.setAsrJuristic(2); },
        [](PrayerCalculator& c) { c.setCalcMethod(4); },
        [](PrayerCalculator& c) { c.setCalcMethod(5); c.setAdjustHighLats(4); },
        [](PrayerCalculator& c) { c.setCalcMethod(7); c.setAdjustHighLats(2); },
        [](PrayerCalculator& c) { c.setAdjustHighLats(1); c.setDhuhrMinutes(3); },
        [](PrayerCalculator& c) { c.setAdjustHighLats(3); c.setFajrAngle(16.5); c.setIshaMinutes(75); },
        [](PrayerCalculator& c) { c.setCalcMethod(4); c.setFajrMinutes(90); c.setMaghribAngle(4); },
        [](PrayerCalculator& c) { c.setIshaAngle(15); c.setMaghribMinutes(3); },
        [](PrayerCalculator& c) { c.setOverrideDST(1); },
        [](PrayerCalculator& c) { c.setOverrideDST(2); },
        [](PrayerCalculator& c) { c.setOverrideTimeZoneOffset(3.5); },
        [](PrayerCalculator& c) { c.setOverrideTimeZoneOffset(-4.0); c.setOverrideDST(1); },
    };
    for (const auto& setup : setups) {
        for (const Site& s : sites) {
            for (const auto& date : dates) {
                PrayerCalculator c;
                setup(c);
                const auto city = s.city ? std::optional<std::string>(s.city) : std::nullopt;
                const auto country = s.country ? std::optional<std::string>(s.country) : std::nullopt;
                const auto zone = s.zone ? std::optional<std::string>(s.zone) : std::nullopt;
                w.day(c, c.getDatePrayerTimesAsDoubles(date, city, country, s.lat, s.lng, zone));
            }
        }
    }

    // The official timetable paths: Dubai by distance and by name, with method 7 and 1 and a
    // Hanafi user; Kuala Lumpur by distance and by a name containing "KL".
    const tarvo::Date timetableDates[] = {noonUtc(2018, 1, 1), noonUtc(2018, 1, 2), noonUtc(2020, 12, 30),
                                          noonUtc(2020, 12, 31), noonUtc(2019, 5, 5)};
    for (const auto& date : timetableDates) {
        for (int variant = 0; variant < 6; ++variant) {
            PrayerCalculator c;
            std::optional<std::string> city;
            double lat = 25.2, lng = 55.27;
            std::string zone = "Asia/Dubai";
            switch (variant) {
                case 0: c.setCalcMethod(7); break;
                case 1: c.setCalcMethod(1); break;
                case 2: c.setCalcMethod(7); c.setAsrJuristic(2); c.setFajrMinutes(80); break;
                case 3: c.setCalcMethod(7); city = "Dubai Marina"; lat = 10; lng = 10; break;
                case 4: lat = 3.14; lng = 101.69; zone = "Asia/Kuala_Lumpur"; break;
                case 5: city = "KLang"; lat = 48; lng = 2; zone = "Europe/Paris"; break;
            }
            w.day(c, c.getDatePrayerTimesAsDoubles(date, city, std::nullopt, lat, lng, zone));
        }
    }

    // The facade's lists: each setting over the first places' year, in both orders, on the UTC
    // and the London device calendar; then the sites above on the summer-time dates.
    const std::vector<std::vector<std::pair<std::string, int64_t>>> settings = {
        {},
        {{"UsePrayerAdjustments", 1}, {"FajrAdj", -7}, {"SunriseAdj", 3}, {"DhuhrAdj", 1}, {"AsrAdj", -2},
         {"MaghribAdj", 4}, {"IshaAdj", 30}, {"QiyamAdj", -45}, {"UseSunrise", 1}},
        {{"15HourBeforeSunrise", 1}, {"15HourAfterMaghrib", 1}},
        {{"20HourAfterMaghrib", 1}, {"UsePrayerAdjustments", 1}, {"MaghribAdj", -3}, {"SunriseAdj", -20}},
        {{"20HourAfterMaghribAuto", 1}},
    };
    const tarvo::IslamicCalendar islamic;
    const tarvo::Calendar deviceCalendars[] = {tarvo::Calendar(tarvo::TimeZone::gmt()),
                                               tarvo::Calendar(*tarvo::TimeZone::withName("Europe/London"))};
    const auto text = [](const char* s) { return s ? std::optional<std::string>(s) : std::nullopt; };
    const auto cityAt = [](const std::optional<std::string>& name, const std::optional<std::string>& country,
                           double lat, double lng, const std::optional<std::string>& zone, int64_t method) {
        auto city = std::make_shared<tarvo::TarvoCity>();
        city->setIsLoadingFromDB(true);
        city->setCityName(name);
        city->setCountryName(country);
        city->setLatitude(lat);
        city->setLongitude(lng);
        city->setTimeZone(zone);
        city->setGMT(tarvo::TarvoCity::kGMTFromTimeZone);
        city->setPrayerMethod(method);
        city->setAsrMethod(1);
        city->setIsLoadingFromDB(false);
        return city;
    };
    const size_t listPlaces = std::min<size_t>(freshPlaces, 20);
    for (const auto& values : settings) {
        const auto config = tarvo::PrayerConfiguration::withValues(values);
        for (const auto& calendar : deviceCalendars) {
            std::vector<std::shared_ptr<tarvo::TarvoCity>> cities;
            for (size_t p = 0; p < listPlaces; ++p) {
                const auto& place = workload.places[p];
                cities.push_back(cityAt(place.city, std::string("Nowhere"), place.latitude, place.longitude,
                                        place.timeZone, 1));
            }
            for (const auto& city : cities) {
                for (const auto& day : workload.days) {
                    w.list(tarvo::TarvoDAO::dayTimetable(day.noon, city, calendar, islamic, config));
                }
            }
            for (const auto& day : workload.days) {
                for (const auto& city : cities) {
                    w.list(tarvo::TarvoDAO::dayTimetable(day.noon, city, calendar, islamic, config));
                }
            }
            for (const Site& s : sites) {
                for (const int64_t method : {0, 2, 4, 7}) {
                    const auto city = cityAt(text(s.city), text(s.country), s.lat, s.lng, text(s.zone), method);
                    for (const auto& date : dates) {
                        w.list(tarvo::TarvoDAO::dayTimetable(date, city, calendar, islamic, config));
                    }
                }
            }
        }
    }

    std::fclose(out);
    std::fprintf(stderr, "%zu day records and %zu day lists written to %s\n", w.records, w.lists, argv[1]);
    return 0;
}
