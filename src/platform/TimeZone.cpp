#include "tarvo/platform/TimeZone.h"

#include <array>
#include <atomic>
#include <cmath>
#include <map>
#include <mutex>
#include <optional>
#include <vector>

#include <unicode/basictz.h>
#include <unicode/timezone.h>
#include <unicode/tztrans.h>
#include <unicode/unistr.h>

#include "platform/Text.h"

namespace tarvo {

struct TimeZone::Impl {
    std::string name;
    std::unique_ptr<icu::TimeZone> zone;
    /// The same zone as a BasicTimeZone when it is one (found once, not per question).
    const icu::BasicTimeZone* basic = nullptr;
    /// A zone that never changes its offset (UTC, GMT, Etc/GMT-3, ...) answers every
    /// question with these, without ICU and without the cache.
    bool fixed = false;
    int32_t fixedRaw = 0;
    int32_t fixedDst = 0;
};

namespace {

// Zones are created once per name and kept for the life of the process: ICU zone
// creation is slow, and the day computation asks for the same few zones over and over.
// No zone data is ever freed (the offset cache below relies on it).
struct Registry {
    std::mutex mutex;
    std::map<std::string, std::shared_ptr<const TimeZone::Impl>, std::less<>> byName;
    /// Zones made other than by name (the system's own default), kept here for ever.
    std::vector<std::shared_ptr<const TimeZone::Impl>> unnamed;
    /// The device's zone, read without the lock (every Calendar() asks for it); set under it.
    std::atomic<const TimeZone::Impl*> systemDefault{nullptr};
};

Registry& registry() {
    static Registry* r = new Registry();  // never destroyed: zones outlive static teardown
    return *r;
}

std::shared_ptr<const TimeZone::Impl> makeImpl(std::unique_ptr<icu::TimeZone> zone) {
    auto impl = std::make_shared<TimeZone::Impl>();
    icu::UnicodeString id;
    zone->getID(id);
    id.toUTF8String(impl->name);
    impl->basic = dynamic_cast<const icu::BasicTimeZone*>(zone.get());
    if (impl->basic && !zone->useDaylightTime()) {
        // No transition rules and no transition at any time: the offset is one constant.
        UErrorCode status = U_ZERO_ERROR;
        icu::TimeZoneTransition transition;
        if (impl->basic->countTransitionRules(status) == 0 && U_SUCCESS(status) &&
            !impl->basic->getNextTransition(-1.0e18, true, transition) &&
            !impl->basic->getPreviousTransition(1.0e18, true, transition)) {
            zone->getOffset(0.0, false, impl->fixedRaw, impl->fixedDst, status);
            impl->fixed = U_SUCCESS(status);
        }
    }
    impl->zone = std::move(zone);
    return impl;
}

// Looks a name up; the caller holds the registry lock.
std::shared_ptr<const TimeZone::Impl> lookUpLocked(Registry& r, std::string_view name) {
    if (auto it = r.byName.find(name); it != r.byName.end()) return it->second;
    std::unique_ptr<icu::TimeZone> zone(icu::TimeZone::createTimeZone(text::toUnicode(name)));
    if (!zone || *zone == icu::TimeZone::getUnknown()) return nullptr;
    auto impl = makeImpl(std::move(zone));
    r.byName.emplace(std::string(name), impl);
    return impl;
}

struct Offsets {
    int32_t raw = 0;
    int32_t dst = 0;
};

// A small per-thread cache of the periods asked about: each entry holds a zone's offsets
// and the span of time [from, to) between two of its transitions over which they hold, so
// that the days of a year ask ICU only when summer time begins or ends. Zone data is never
// freed, so its address identifies the zone for as long as the process runs.
struct CacheEntry {
    const TimeZone::Impl* zone = nullptr;
    double from = 0.0;  // seconds since 1970, inclusive
    double to = 0.0;    // exclusive
    Offsets offsets;
};
struct OffsetCache {
    std::array<CacheEntry, 4> entries{};
    size_t next = 0;
};

OffsetCache& offsetCache() {
    thread_local OffsetCache cache;  // one thread-local object: one TLS address look-up per call
    return cache;
}

constexpr double kForever = 1.0e300;

Offsets offsetsAt(const TimeZone::Impl& impl, double seconds) {
    if (impl.fixed) return Offsets{impl.fixedRaw, impl.fixedDst};
    OffsetCache& c = offsetCache();
    for (const CacheEntry& e : c.entries) {
        if (e.zone == &impl && seconds >= e.from && seconds < e.to) return e.offsets;
    }
    Offsets o;
    UErrorCode status = U_ZERO_ERROR;
    const double ms = seconds * 1000.0;
    impl.zone->getOffset(ms, false, o.raw, o.dst, status);
    if (U_FAILURE(status)) return Offsets{};
    // The period around the moment: from the last transition at or before it to the next.
    CacheEntry entry{&impl, seconds, std::nextafter(seconds, kForever), o};
    if (impl.basic && std::isfinite(seconds)) {
        icu::TimeZoneTransition transition;
        entry.from = impl.basic->getPreviousTransition(ms, true, transition) ? transition.getTime() / 1000.0
                                                                             : -kForever;
        entry.to = impl.basic->getNextTransition(ms, false, transition) ? transition.getTime() / 1000.0 : kForever;
    }
    c.entries[c.next] = entry;
    c.next = (c.next + 1) % c.entries.size();
    return o;
}

// The offset of a wall-clock time from a cached period, when that answer is beyond doubt:
// the moment it gives lies two days or more inside the period, so no summer-time change
// (which moves the clock by far less) can make the time skipped or repeated.
std::optional<int64_t> cachedOffsetForLocalTime(const TimeZone::Impl& impl, double localSeconds) {
    constexpr double kMargin = 2 * 86400.0;
    for (const CacheEntry& e : offsetCache().entries) {
        if (e.zone != &impl) continue;
        const int64_t offset = (static_cast<int64_t>(e.offsets.raw) + e.offsets.dst) / 1000;
        const double utc = localSeconds - static_cast<double>(offset);
        if (utc >= e.from + kMargin && utc < e.to - kMargin) return offset;
    }
    return std::nullopt;
}

}  // namespace

TimeZone::TimeZone(std::shared_ptr<const Impl> impl) : impl_(std::move(impl)) {}

std::optional<TimeZone> TimeZone::withName(std::string_view name) {
    // The last zone this thread found, so that asking for the same zone again and again
    // takes neither the registry lock nor the map search. Registered zones are never
    // removed, so a remembered one stays valid.
    struct LastFound {
        std::string name;
        std::shared_ptr<const Impl> impl;
    };
    thread_local LastFound last;
    LastFound& l = last;
    if (l.impl && l.name == name) return TimeZone(l.impl);

    Registry& r = registry();
    std::shared_ptr<const Impl> impl;
    {
        std::lock_guard lock(r.mutex);
        impl = lookUpLocked(r, name);
    }
    if (!impl) return std::nullopt;
    l.name.assign(name);
    l.impl = impl;
    return TimeZone(std::move(impl));
}

TimeZone TimeZone::gmt() {
    static const TimeZone zone = *withName("GMT");
    return zone;
}

TimeZone TimeZone::systemDefault() {
    Registry& r = registry();
    const Impl* impl = r.systemDefault.load(std::memory_order_acquire);
    if (!impl) {
        std::lock_guard lock(r.mutex);
        impl = r.systemDefault.load(std::memory_order_relaxed);
        if (!impl) {
            auto created = makeImpl(std::unique_ptr<icu::TimeZone>(icu::TimeZone::createDefault()));
            impl = created.get();
            r.unnamed.push_back(std::move(created));
            r.systemDefault.store(impl, std::memory_order_release);
        }
    }
    // The registry keeps the zone for ever, so this TimeZone need not own it: an aliasing
    // pointer without a control block (copies of it count no references).
    return TimeZone(std::shared_ptr<const Impl>(std::shared_ptr<const Impl>(), impl));
}

void TimeZone::setSystemDefault(const TimeZone& zone) {
    // Every TimeZone's data is kept by the registry for ever, so storing the address is safe.
    Registry& r = registry();
    std::lock_guard lock(r.mutex);
    r.systemDefault.store(zone.impl_.get(), std::memory_order_release);
}

const std::string& TimeZone::name() const { return impl_->name; }

int64_t TimeZone::secondsFromGMT(Date date) const {
    const Offsets o = offsetsAt(*impl_, date.timeIntervalSince1970());
    return (static_cast<int64_t>(o.raw) + o.dst) / 1000;
}

double TimeZone::daylightSavingTimeOffset(Date date) const {
    return offsetsAt(*impl_, date.timeIntervalSince1970()).dst / 1000.0;
}

bool TimeZone::isDaylightSavingTime(Date date) const {
    return offsetsAt(*impl_, date.timeIntervalSince1970()).dst != 0;
}

int64_t TimeZone::secondsFromGMTForLocalTime(double localSeconds) const {
    if (impl_->fixed) return (static_cast<int64_t>(impl_->fixedRaw) + impl_->fixedDst) / 1000;
    if (auto cached = cachedOffsetForLocalTime(*impl_, localSeconds)) return *cached;
    int32_t raw = 0;
    int32_t dst = 0;
    UErrorCode status = U_ZERO_ERROR;
    if (const icu::BasicTimeZone* basic = impl_->basic) {
        basic->getOffsetFromLocal(localSeconds * 1000.0, UCAL_TZ_LOCAL_FORMER, UCAL_TZ_LOCAL_LATTER, raw,
                                  dst, status);
    } else {
        impl_->zone->getOffset(localSeconds * 1000.0, true, raw, dst, status);
    }
    if (U_FAILURE(status)) return 0;
    return (static_cast<int64_t>(raw) + dst) / 1000;
}

bool TimeZone::operator==(const TimeZone& other) const { return impl_->name == other.impl_->name; }

}  // namespace tarvo
