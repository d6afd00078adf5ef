#include "calculation/DayMemo.h"

#include <bit>
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <memory>
#include <optional>
#include <string>

namespace tarvo {

namespace {

// Two days (the day and the next) of a few hundred places, the most a host shows at once,
// with room to spare so that few of them share a slot.
constexpr size_t kSlotBits = 10;
constexpr size_t kSlots = size_t{1} << kSlotBits;

struct Slot {
    uint64_t hash;
    MethodParameters method;
    Place place;
    TimeZone calendarZone = TimeZone::gmt();
    uint64_t moment;
    DayTimes day;
};

uint64_t bitsOf(double value) { return std::bit_cast<uint64_t>(value); }

uint64_t mix(uint64_t h, uint64_t word) { return (h ^ word) * 0x9E3779B97F4A7C15ull; }

uint64_t hashOf(const MethodParameters& method, const Place& place, uint64_t moment) {
    const auto text = [](const std::optional<std::string>& s) {
        return s ? static_cast<uint64_t>(std::hash<std::string>{}(*s)) : uint64_t{0x5bd1e995};
    };
    uint64_t h = mix(0, moment);
    for (const uint64_t word : std::initializer_list<uint64_t>{bitsOf(place.latitude), bitsOf(place.longitude), bitsOf(place.overrideTimeZoneOffset),
          static_cast<uint64_t>(place.overrideDST), static_cast<uint64_t>(method.method),
          static_cast<uint64_t>(method.asrSchool), static_cast<uint64_t>(method.highLatitudeRule),
          static_cast<uint64_t>(method.dhuhrMinutes), static_cast<uint64_t>(method.overriddenNamedMethod),
          static_cast<uint64_t>(method.polarResolution), text(place.cityName), text(place.countryName)}) {
        h = mix(h, word);
    }
    return h;
}

}  // namespace

DayTimes DayMemo::day(const MethodParameters& method, const Place& place, Date date, const Calendar& calendar) {
    thread_local std::unique_ptr<std::optional<Slot>[]> slots = std::make_unique<std::optional<Slot>[]>(kSlots);
    const uint64_t moment = bitsOf(date.timeIntervalSince1970());
    const uint64_t hash = hashOf(method, place, moment);
    std::optional<Slot>& slot = slots[hash >> (64 - kSlotBits)];
    if (slot && slot->hash == hash && slot->moment == moment && slot->place == place && slot->method == method &&
        slot->calendarZone == calendar.timeZone()) {
        return slot->day;
    }
    if (!slot) slot.emplace();
    slot->hash = hash;
    slot->method = method;
    slot->place = place;
    slot->calendarZone = calendar.timeZone();
    slot->moment = moment;
    slot->day = compute(method, place, date, calendar);
    return slot->day;
}

}  // namespace tarvo
