#include "calculation/DayMemo.h"

#include "tarvo/calculation/FixedTimetable.h"

#include <array>
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
    MethodParameters method;
    Place place;
    TimeZone calendarZone = TimeZone::gmt();
    uint64_t moment;
    uint64_t timetables;  // FixedTimetable::replacements() when the day was computed
    DayTimes day;
};

uint64_t bitsOf(double value) { return std::bit_cast<uint64_t>(value); }

uint64_t mix(uint64_t h, uint64_t word) { return (h ^ word) * 0x9E3779B97F4A7C15ull; }

// The inputs apart from the moment, hashed once per request.
uint64_t hashOf(const MethodParameters& method, const Place& place) {
    const auto text = [](const std::optional<std::string>& s) {
        return s ? static_cast<uint64_t>(std::hash<std::string>{}(*s)) : uint64_t{0x5bd1e995};
    };
    uint64_t h = 0;
    for (const uint64_t word : std::initializer_list<uint64_t>{
             bitsOf(place.latitude), bitsOf(place.longitude), bitsOf(place.overrideTimeZoneOffset),
             static_cast<uint64_t>(place.overrideDST), static_cast<uint64_t>(method.method),
             static_cast<uint64_t>(method.asrSchool), static_cast<uint64_t>(method.highLatitudeRule),
             static_cast<uint64_t>(method.dhuhrMinutes), static_cast<uint64_t>(method.overriddenNamedMethod),
             static_cast<uint64_t>(method.polarResolution), text(place.cityName), text(place.countryName)}) {
        h = mix(h, word);
    }
    return h;
}

// The slot's hash: the moment mixed into the inputs' hash, its high bits stirred into the low
// ones before the last multiplication so that days a few mantissa bits apart spread over the
// pairs. Odd, as 0 marks an empty slot.
uint64_t slotHash(uint64_t inputs, uint64_t moment) {
    uint64_t h = mix(inputs, moment);
    h ^= h >> 29;
    return (h * 0x9E3779B97F4A7C15ull) | 1;
}

DayTimes dayFor(const MethodParameters& method, const Place& place, uint64_t inputsHash, Date date,
                const Calendar& calendar) {
    // The slots' hashes apart from the slots, in a few cache lines: a request whose hash is not
    // there reads no slot at all. A hash of 0 marks an empty slot. Slots go in pairs (a day may
    // sit in either of its pair), and a new day replaces the one of the pair used less recently.
    struct Memo {
        std::array<uint64_t, kSlots> hashes{};
        std::array<uint8_t, kSlots / 2> recent{};  // the way of each pair used last
        std::unique_ptr<std::optional<Slot>[]> slots = std::make_unique<std::optional<Slot>[]>(kSlots);
    };
    // The thread's memo is looked up once: each use of a thread-local name in a shared
    // library is a call into the loader.
    thread_local Memo threadMemo;
    Memo& memo = threadMemo;
    // The official timetables are the one input outside the arguments: a day computed before
    // a host replaced their rows is not reused.
    const uint64_t timetables = FixedTimetable::replacements();
    const uint64_t moment = bitsOf(date.timeIntervalSince1970());
    const uint64_t hash = slotHash(inputsHash, moment);
    const size_t pair = hash >> (64 - kSlotBits + 1);
    for (size_t way = 0; way < 2; ++way) {
        const size_t index = 2 * pair + way;
        if (memo.hashes[index] != hash) continue;
        const Slot& slot = *memo.slots[index];
        if (slot.moment == moment && slot.timetables == timetables && slot.place == place && slot.method == method &&
            slot.calendarZone == calendar.timeZone()) {
            memo.recent[pair] = static_cast<uint8_t>(way);
            return slot.day;
        }
    }
    // Computed before the slot is touched, and the hash written last, so that a computation
    // that fails leaves no slot pairing these inputs with another day. The slot to be
    // replaced is fetched into the cache while the day is computed: a slot is a few hundred
    // bytes somewhere in a quarter of a megabyte, and would otherwise be read from memory.
    const size_t way = memo.recent[pair] == 0 ? 1 : 0;
    const size_t index = 2 * pair + way;
    std::optional<Slot>& slot = memo.slots[index];
    for (size_t offset = 0; offset < sizeof(slot); offset += 64) {
        __builtin_prefetch(reinterpret_cast<const char*>(&slot) + offset, 1);
    }
    DayTimes day = compute(method, place, date, calendar);
    memo.hashes[index] = 0;
    if (!slot) slot.emplace();
    slot->method = method;
    slot->place = place;
    slot->calendarZone = calendar.timeZone();
    slot->moment = moment;
    slot->timetables = timetables;
    slot->day = day;
    memo.hashes[index] = hash;
    memo.recent[pair] = static_cast<uint8_t>(way);
    return day;
}

}  // namespace

DayTimes DayMemo::day(const MethodParameters& method, const Place& place, Date date, const Calendar& calendar) {
    return dayFor(method, place, hashOf(method, place), date, calendar);
}

std::array<DayTimes, 2> DayMemo::dayAndNext(const MethodParameters& method, const Place& place, Date date,
                                            const Calendar& calendar) {
    const uint64_t inputs = hashOf(method, place);
    const DayTimes day = dayFor(method, place, inputs, date, calendar);
    return {day, dayFor(method, place, inputs, day.nextDay, calendar)};
}

}  // namespace tarvo
