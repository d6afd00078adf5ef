#include "Workload.h"

#include <cmath>
#include <random>
#include <stdexcept>
#include <string_view>

#include <fmt/format.h>

#include "tarvo/platform/Calendar.h"
#include "tarvo/platform/TimeZone.h"

namespace tarvo::bench {

namespace {

struct ZoneRef {
    std::string_view name;
    double longitude;  ///< longitude of the zone's namesake city
};

// Real zones spread round the globe, with and without daylight saving, whole and
// fractional offsets. Each place takes the zone whose city is nearest in longitude.
constexpr ZoneRef kZones[] = {
    {"Pacific/Pago_Pago", -170.70},  {"Pacific/Honolulu", -157.86},  {"America/Anchorage", -149.90},
    {"America/Los_Angeles", -118.24}, {"America/Denver", -104.99},   {"America/Chicago", -87.63},
    {"America/New_York", -74.01},    {"America/Halifax", -63.57},    {"America/Sao_Paulo", -46.63},
    {"America/Noronha", -32.42},     {"Atlantic/Azores", -25.67},    {"Africa/Dakar", -17.44},
    {"Europe/London", -0.13},        {"Europe/Paris", 2.35},         {"Europe/Berlin", 13.40},
    {"Africa/Cairo", 31.24},         {"Europe/Moscow", 37.62},       {"Asia/Riyadh", 46.72},
    {"Asia/Tehran", 51.39},          {"Asia/Dubai", 55.27},          {"Asia/Karachi", 67.01},
    {"Asia/Kolkata", 77.21},         {"Asia/Kathmandu", 85.32},      {"Asia/Dhaka", 90.41},
    {"Asia/Bangkok", 100.50},        {"Asia/Shanghai", 116.40},      {"Asia/Tokyo", 139.69},
    {"Australia/Sydney", 151.21},    {"Pacific/Noumea", 166.46},     {"Pacific/Auckland", 174.76},
    {"Pacific/Tongatapu", -175.20},
};

std::string_view zoneForLongitude(double longitude) {
    std::string_view best;
    double bestDistance = 1e9;
    for (const ZoneRef& z : kZones) {
        double d = std::fabs(z.longitude - longitude);
        if (d > 180) d = 360 - d;
        if (d < bestDistance) {
            bestDistance = d;
            best = z.name;
        }
    }
    return best;
}

// A double uniform in [0, 1) from 53 bits of the generator: the same on every platform,
// unlike std::uniform_real_distribution.
double unit(std::mt19937_64& rng) { return static_cast<double>(rng() >> 11) * 0x1p-53; }

}  // namespace

Workload makeWorkload(size_t placeCount, size_t dayCount) {
    Workload w;
    std::mt19937_64 rng(kWorkloadSeed);
    w.places.reserve(placeCount);
    for (size_t i = 0; i < placeCount; ++i) {
        Place p;
        p.latitude = -55.0 + 120.0 * unit(rng);
        p.longitude = -180.0 + 360.0 * unit(rng);
        p.city = fmt::format("Place {}", i);
        p.timeZone = std::string(zoneForLongitude(p.longitude));
        w.places.push_back(std::move(p));
    }

    const Calendar device;  // the device zone, UTC when TZ=UTC
    w.days.reserve(dayCount);
    for (size_t i = 0; i < dayCount; ++i) {
        DateComponents c;
        c.year = kWorkloadYear;
        c.month = 1;
        c.day = 1 + static_cast<int64_t>(i);  // rolls over into the following months
        c.hour = 12;
        const Date noon = device.dateFromComponents(c);
        const DateComponents back = device.components(noon);
        w.days.push_back(Day{noon, static_cast<int>(back.year), static_cast<int>(back.month),
                             static_cast<int>(back.day)});
    }

    w.offsetHours.reserve(w.placeDays());
    for (const Place& p : w.places) {
        const auto zone = TimeZone::withName(*p.timeZone);
        if (!zone) throw std::runtime_error("unknown time zone " + *p.timeZone);
        for (const Day& d : w.days) w.offsetHours.push_back(static_cast<double>(zone->secondsFromGMT(d.noon)) / 3600.0);
    }
    return w;
}

}  // namespace tarvo::bench
