#include "platform/time/ZoneRules.h"

#include <algorithm>
#include <chrono>
#include <string>

namespace tarvo {

namespace {

// The table holds the tail rule's transitions up to the end of this year; later moments ask
// the rule itself. Far enough for any calendar a user looks at, small enough to build at once.
constexpr int kTableEndYear = 2200;
// No zone has ever been further than this from UTC (the database's historic extremes are
// about 15 hours; Kiribati's +14 is the furthest today).
constexpr int64_t kMaxOffset = 26 * 3600;

int64_t yearOf(int64_t seconds) {
    using namespace std::chrono;
    const int64_t days = seconds / 86400 - (seconds % 86400 < 0 ? 1 : 0);
    return static_cast<int>(year_month_day{sys_days{std::chrono::days{days}}}.year());
}

// Big-endian fields of a TZif file; every read is bounds-checked by the caller's sizes.
int64_t readBigEndian(std::string_view bytes, size_t pos, size_t width) {
    uint64_t value = 0;
    for (size_t i = 0; i < width; ++i) value = (value << 8) | static_cast<unsigned char>(bytes[pos + i]);
    if (width == 4) return static_cast<int32_t>(static_cast<uint32_t>(value));
    return static_cast<int64_t>(value);
}

struct TzifHeader {
    char version = 0;
    size_t isutcnt = 0, isstdcnt = 0, leapcnt = 0, timecnt = 0, typecnt = 0, charcnt = 0;

    // The size of the data block after this header, with `timeSize`-byte times.
    size_t blockSize(size_t timeSize) const {
        return timecnt * timeSize + timecnt + typecnt * 6 + charcnt + leapcnt * (timeSize + 4) + isstdcnt + isutcnt;
    }
};

constexpr size_t kHeaderSize = 44;

std::optional<TzifHeader> readHeader(std::string_view bytes, size_t pos) {
    if (bytes.size() < pos + kHeaderSize || bytes.substr(pos, 4) != "TZif") return std::nullopt;
    TzifHeader h;
    h.version = bytes[pos + 4];
    size_t* counts[] = {&h.isutcnt, &h.isstdcnt, &h.leapcnt, &h.timecnt, &h.typecnt, &h.charcnt};
    for (size_t i = 0; i < 6; ++i) {
        const auto n = static_cast<uint32_t>(readBigEndian(bytes, pos + 20 + 4 * i, 4));
        if (n > 100000) return std::nullopt;  // no real zone comes near; keeps the sizes small
        *counts[i] = n;
    }
    if (h.typecnt == 0) return std::nullopt;
    return h;
}

struct LocalTimeType {
    int32_t offset = 0;
    bool isDst = false;
};

// The summer-time part of each period's offset. The files flag summer time but do not say
// from which standard offset it is counted, so it is measured from the neighbouring periods:
// a flagged period from the last unflagged one before it (the next one when there is none);
// an unflagged period lying between flagged periods with lower offsets is itself summer
// time (Dublin and Casablanca flag their winter, a "negative" summer time), measured from
// the lower of them. Hosts that ask "is it summer time?" get the answer people expect.
std::vector<int32_t> summerTimeParts(const std::vector<LocalTimeType>& periods) {
    std::vector<int32_t> parts(periods.size(), 0);
    for (size_t i = 0; i < periods.size(); ++i) {
        const LocalTimeType& p = periods[i];
        if (p.isDst) {
            std::optional<int32_t> standard;
            for (size_t j = i; j-- > 0 && !standard;) {
                if (!periods[j].isDst) standard = periods[j].offset;
            }
            for (size_t j = i + 1; j < periods.size() && !standard; ++j) {
                if (!periods[j].isDst) standard = periods[j].offset;
            }
            if (standard) parts[i] = std::max(0, p.offset - *standard);
            continue;
        }
        const bool hasBefore = i > 0;
        const bool hasAfter = i + 1 < periods.size();
        if (!hasBefore && !hasAfter) continue;
        bool sandwiched = true;
        int32_t lowest = p.offset;
        for (size_t j : {i - 1, i + 1}) {
            if ((j == i - 1 && !hasBefore) || (j == i + 1 && !hasAfter)) continue;
            sandwiched = sandwiched && periods[j].isDst && periods[j].offset < p.offset;
            lowest = std::min(lowest, periods[j].offset);
        }
        if (sandwiched) parts[i] = p.offset - lowest;
    }
    return parts;
}

}  // namespace

std::optional<ZoneRules> ZoneRules::fromTzif(std::string_view bytes) {
    std::optional<TzifHeader> h = readHeader(bytes, 0);
    if (!h) return std::nullopt;
    size_t pos = kHeaderSize;
    size_t timeSize = 4;
    if (h->version != 0) {
        // Version 2 and later repeat the data with 64-bit times, then the POSIX rule.
        pos += h->blockSize(4);
        if (bytes.size() < pos) return std::nullopt;
        h = readHeader(bytes, pos);
        if (!h) return std::nullopt;
        pos += kHeaderSize;
        timeSize = 8;
    }
    if (bytes.size() < pos + h->blockSize(timeSize)) return std::nullopt;
    const size_t timesAt = pos;
    const size_t indicesAt = timesAt + h->timecnt * timeSize;
    const size_t typesAt = indicesAt + h->timecnt;

    std::vector<LocalTimeType> types(h->typecnt);
    for (size_t i = 0; i < h->typecnt; ++i) {
        const int64_t offset = readBigEndian(bytes, typesAt + 6 * i, 4);
        if (offset < -kMaxOffset || offset > kMaxOffset) return std::nullopt;
        types[i] = LocalTimeType{static_cast<int32_t>(offset), bytes[typesAt + 6 * i + 4] != 0};
    }
    // Period 0 is the time before the first transition, which the first type describes.
    std::vector<LocalTimeType> periods{types[0]};
    std::vector<int64_t> moments;
    for (size_t i = 0; i < h->timecnt; ++i) {
        const int64_t at = readBigEndian(bytes, timesAt + i * timeSize, timeSize);
        const auto type = static_cast<unsigned char>(bytes[indicesAt + i]);
        if (type >= types.size() || (!moments.empty() && at <= moments.back())) return std::nullopt;
        moments.push_back(at);
        periods.push_back(types[type]);
    }
    const std::vector<int32_t> parts = summerTimeParts(periods);
    std::vector<ZoneTransition> transitions;
    for (size_t i = 0; i < moments.size(); ++i) {
        transitions.push_back(ZoneTransition{moments[i], periods[i + 1].offset, parts[i + 1]});
    }
    ZoneRules rules = fromTransitions(ZoneTransition{INT64_MIN, periods[0].offset, parts[0]}, std::move(transitions));

    if (timeSize == 8) {
        const size_t footerAt = pos + h->blockSize(8);
        if (footerAt < bytes.size() && bytes[footerAt] == '\n') {
            const size_t end = bytes.find('\n', footerAt + 1);
            if (end != std::string_view::npos) {
                rules.tail_ = PosixTimeZoneRule::parse(bytes.substr(footerAt + 1, end - footerAt - 1));
                rules.extendWithTail();
            }
        }
    }
    return rules;
}

ZoneRules ZoneRules::fromPosix(const PosixTimeZoneRule& rule) {
    ZoneRules rules;
    rules.initial_ = rule.at(INT64_MIN / 2);
    rules.initial_.at = INT64_MIN;
    rules.tail_ = rule;
    rules.extendWithTail();
    return rules;
}

ZoneRules ZoneRules::fromTransitions(ZoneTransition initial, std::vector<ZoneTransition> transitions) {
    ZoneRules rules;
    rules.initial_ = initial;
    ZoneTransition last = initial;
    for (const ZoneTransition& t : transitions) {
        // Changes of name alone (same offset, same summer time) are not changes here.
        if (t.offset == last.offset && t.dst == last.dst) continue;
        rules.table_.push_back(t);
        rules.starts_.push_back(t.at);
        last = t;
    }
    return rules;
}

void ZoneRules::extendWithTail() {
    if (!tail_ || !tail_->hasTransitions()) return;
    // A file without transitions of its own (or a bare rule) follows the rule from 1900 on.
    const int64_t firstYear = table_.empty() ? 1900 : yearOf(table_.back().at);
    std::vector<ZoneTransition> added;
    for (int64_t year = firstYear; year <= kTableEndYear; ++year) {
        for (const ZoneTransition& t : tail_->transitionsInYear(year)) {
            if (table_.empty() || t.at > table_.back().at) added.push_back(t);
        }
    }
    ZoneTransition last = table_.empty() ? initial_ : table_.back();
    for (const ZoneTransition& t : added) {
        if (t.offset == last.offset && t.dst == last.dst) continue;
        table_.push_back(t);
        starts_.push_back(t.at);
        last = t;
    }
    tailFrom_ = tail_->transitionsInYear(kTableEndYear + 1).front().at;
}

ZoneTransition ZoneRules::at(int64_t utcSeconds) const {
    if (utcSeconds >= tailFrom_) return tail_->at(utcSeconds);
    const auto next = std::upper_bound(starts_.begin(), starts_.end(), utcSeconds);
    if (next == starts_.begin()) return initial_;
    return table_[static_cast<size_t>(next - starts_.begin()) - 1];
}

int32_t ZoneRules::offsetForLocalTime(int64_t localSeconds) const {
    if (isFixed()) return initial_.offset;
    // The moment is local - offset, within kMaxOffset of `localSeconds`; the offsets in force
    // just before and just after that window are the only candidates (changes are days apart).
    const int32_t before = at(localSeconds - kMaxOffset - 3600).offset;
    const int32_t after = at(localSeconds + kMaxOffset + 3600).offset;
    const bool beforeFits = at(localSeconds - before).offset == before;
    const bool afterFits = at(localSeconds - after).offset == after;
    if (beforeFits && afterFits) return std::min(before, after);  // repeated: the later moment
    if (afterFits) return after;
    return before;  // fits, or the time was skipped: read it with the offset before the change
}

}  // namespace tarvo
