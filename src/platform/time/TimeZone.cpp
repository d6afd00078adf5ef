#include "tarvo/platform/TimeZone.h"

#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <map>
#include <mutex>
#include <sstream>
#include <vector>

#include <unicode/basictz.h>
#include <unicode/timezone.h>
#include <unicode/tzrule.h>
#include <unicode/tztrans.h>
#include <unicode/unistr.h>

#include "platform/host/LogMacros.h"
#include "platform/text/Text.h"
#include "platform/time/ZoneRules.h"

namespace tarvo {

struct TimeZone::Impl {
    std::string name;
    ZoneRules rules;
};

namespace {

// The folder of the system's compiled time-zone database (Debian's tzdata).
std::string zoneFolder() {
    const char* dir = std::getenv("TZDIR");
    return (dir && *dir) ? std::string(dir) : std::string("/usr/share/zoneinfo");
}

// Zone names are paths inside the database folder; a name that could leave it ("../x",
// "/etc/passwd") or that no zone could have is refused before any file is opened.
bool isZoneName(std::string_view name) {
    if (name.empty() || name.size() > 255 || name.front() == '/' || name.back() == '/') return false;
    size_t start = 0;
    while (start <= name.size()) {
        const size_t slash = std::min(name.find('/', start), name.size());
        const std::string_view part = name.substr(start, slash - start);
        if (part.empty() || part == "." || part == "..") return false;
        start = slash + 1;
    }
    for (const char c : name) {
        const bool allowed = (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') ||
                             c == '/' || c == '_' || c == '-' || c == '+' || c == '.';
        if (!allowed) return false;
    }
    return true;
}

std::optional<ZoneRules> readZoneFile(const std::string& path) {
    struct stat info {};
    // Zone files are a few kilobytes; anything else at the path is not one.
    if (::stat(path.c_str(), &info) != 0 || !S_ISREG(info.st_mode) || info.st_size > (1 << 20)) return std::nullopt;
    std::ifstream in(path, std::ios::binary);
    std::ostringstream bytes;
    bytes << in.rdbuf();
    if (!in) return std::nullopt;
    return ZoneRules::fromTzif(bytes.str());
}

// ICU's own copy of the zone data, for a system without the database: the same transitions,
// as ICU knows them, up to the end of the table's range.
std::optional<ZoneRules> icuZoneRules(std::string_view name) {
    std::unique_ptr<icu::TimeZone> zone(icu::TimeZone::createTimeZone(text::toUnicode(name)));
    if (!zone || *zone == icu::TimeZone::getUnknown()) return std::nullopt;
    constexpr double kFrom = -5.0e12;  // 1811, in milliseconds
    constexpr double kUntil = 7.3e12;  // 2201
    UErrorCode status = U_ZERO_ERROR;
    int32_t raw = 0;
    int32_t dst = 0;
    zone->getOffset(kFrom, false, raw, dst, status);
    if (U_FAILURE(status)) return std::nullopt;
    const ZoneTransition initial{INT64_MIN, (raw + dst) / 1000, dst / 1000};
    std::vector<ZoneTransition> transitions;
    if (const auto* basic = dynamic_cast<const icu::BasicTimeZone*>(zone.get())) {
        icu::TimeZoneTransition t;
        for (double from = kFrom; basic->getNextTransition(from, false, t) && t.getTime() < kUntil;
             from = t.getTime()) {
            const icu::TimeZoneRule* to = t.getTo();
            if (!to) break;
            transitions.push_back(ZoneTransition{static_cast<int64_t>(std::floor(t.getTime() / 1000.0)),
                                                 (to->getRawOffset() + to->getDSTSavings()) / 1000,
                                                 to->getDSTSavings() / 1000});
        }
    }
    return ZoneRules::fromTransitions(initial, std::move(transitions));
}

std::optional<ZoneRules> loadZone(std::string_view name) {
    const std::string folder = zoneFolder();
    struct stat info {};
    if (::stat(folder.c_str(), &info) == 0 && S_ISDIR(info.st_mode)) {
        if (!isZoneName(name)) return std::nullopt;
        return readZoneFile(folder + "/" + std::string(name));
    }
    static std::once_flag warned;
    std::call_once(warned, [&folder] {
        TARVO_LOG_ERROR("No time-zone database at {}; using ICU's built-in zone data, which may be out of date",
                        folder);
    });
    return icuZoneRules(name);
}

// Zones are read once per name and kept for the life of the process: the day computation
// asks for the same few zones over and over. No zone data is ever freed.
struct Registry {
    std::mutex mutex;
    std::map<std::string, std::shared_ptr<const TimeZone::Impl>, std::less<>> byName;
    /// Zones made other than by name (the device's own when TZ holds a rule or a path).
    std::vector<std::shared_ptr<const TimeZone::Impl>> unnamed;
    /// Fixed-offset zones by their offset in seconds.
    std::map<int64_t, std::shared_ptr<const TimeZone::Impl>> byOffset;
    /// The device's zone, read without the lock (every Calendar() asks for it); set under it.
    std::atomic<const TimeZone::Impl*> systemDefault{nullptr};
};

Registry& registry() {
    static Registry* r = new Registry();  // never destroyed: zones outlive static teardown
    return *r;
}

// Looks a name up; the caller holds the registry lock.
std::shared_ptr<const TimeZone::Impl> lookUpLocked(Registry& r, std::string_view name) {
    if (auto it = r.byName.find(name); it != r.byName.end()) return it->second;
    std::optional<ZoneRules> rules = loadZone(name);
    if (!rules) return nullptr;
    auto impl = std::make_shared<TimeZone::Impl>(TimeZone::Impl{std::string(name), std::move(*rules)});
    r.byName.emplace(std::string(name), impl);
    return impl;
}

// The device's zone as the C library finds it: the TZ variable (a zone name, ":name", a
// zone file's path or a POSIX rule), else the zone /etc/localtime links to, else UTC.
std::shared_ptr<const TimeZone::Impl> deviceZoneLocked(Registry& r) {
    std::string setting;
    if (const char* tz = std::getenv("TZ"); tz && *tz) {
        setting = tz;
        if (setting.front() == ':') setting.erase(0, 1);
    } else {
        std::vector<char> target(4096);
        const ssize_t n = ::readlink("/etc/localtime", target.data(), target.size() - 1);
        setting = n > 0 ? std::string(target.data(), static_cast<size_t>(n)) : std::string("UTC");
    }
    // A path into a zone database names the zone after the folder ("…/zoneinfo/Asia/Dubai").
    if (const size_t at = setting.rfind("zoneinfo/"); setting.front() == '/' && at != std::string::npos) {
        if (auto impl = lookUpLocked(r, setting.substr(at + 9))) return impl;
    }
    if (auto impl = lookUpLocked(r, setting)) return impl;
    std::optional<ZoneRules> rules;
    if (setting.front() == '/') {
        rules = readZoneFile(setting);
    } else if (auto rule = PosixTimeZoneRule::parse(setting)) {
        rules = ZoneRules::fromPosix(*rule);
    }
    if (!rules) {
        TARVO_LOG_INFO("Unknown device time zone '{}'; using UTC", setting);
        if (auto impl = lookUpLocked(r, "UTC")) return impl;
        rules = ZoneRules::fromTransitions(ZoneTransition{}, {});
        setting = "UTC";
    }
    auto impl = std::make_shared<TimeZone::Impl>(TimeZone::Impl{setting, std::move(*rules)});
    r.unnamed.push_back(impl);
    return impl;
}

// Whole seconds of a moment, rounded down (a Date is a double; offsets change on whole seconds).
int64_t wholeSeconds(double seconds) {
    if (!(seconds > -9.0e18 && seconds < 9.0e18)) return seconds > 0 ? INT64_MAX - 1 : INT64_MIN + 1;
    return static_cast<int64_t>(std::floor(seconds));
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
    static const TimeZone zone = [] {
        if (auto found = withName("GMT")) return *found;
        // No database and no ICU zone: GMT is still GMT.
        Registry& r = registry();
        std::lock_guard lock(r.mutex);
        auto impl = std::make_shared<Impl>(Impl{"GMT", ZoneRules::fromTransitions(ZoneTransition{}, {})});
        r.unnamed.push_back(impl);
        return TimeZone(impl);
    }();
    return zone;
}

std::optional<TimeZone> TimeZone::forSecondsFromGMT(int64_t seconds) {
    constexpr int64_t kLimit = 18 * 3600;
    if (seconds < -kLimit || seconds > kLimit) return std::nullopt;
    Registry& r = registry();
    std::lock_guard lock(r.mutex);
    auto& impl = r.byOffset[seconds];
    if (!impl) {
        const int64_t magnitude = seconds < 0 ? -seconds : seconds;
        std::string name = "GMT";
        if (seconds != 0) {
            name += seconds < 0 ? '-' : '+';
            name += std::to_string(magnitude / 36000) + std::to_string(magnitude / 3600 % 10) + ':' +
                    std::to_string(magnitude % 3600 / 600) + std::to_string(magnitude % 600 / 60);
        }
        const auto offset = static_cast<int32_t>(seconds);
        impl = std::make_shared<Impl>(Impl{name, ZoneRules::fromTransitions(ZoneTransition{INT64_MIN, offset, 0}, {})});
    }
    return TimeZone(impl);
}

TimeZone TimeZone::systemDefault() {
    Registry& r = registry();
    const Impl* impl = r.systemDefault.load(std::memory_order_acquire);
    if (!impl) {
        std::lock_guard lock(r.mutex);
        impl = r.systemDefault.load(std::memory_order_relaxed);
        if (!impl) {
            impl = deviceZoneLocked(r).get();
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
    return impl_->rules.at(wholeSeconds(date.timeIntervalSince1970())).offset;
}

double TimeZone::daylightSavingTimeOffset(Date date) const {
    return impl_->rules.at(wholeSeconds(date.timeIntervalSince1970())).dst;
}

bool TimeZone::isDaylightSavingTime(Date date) const {
    return impl_->rules.at(wholeSeconds(date.timeIntervalSince1970())).dst != 0;
}

int64_t TimeZone::secondsFromGMTForLocalTime(double localSeconds) const {
    return impl_->rules.offsetForLocalTime(wholeSeconds(localSeconds));
}

bool TimeZone::operator==(const TimeZone& other) const { return impl_->name == other.impl_->name; }

}  // namespace tarvo
