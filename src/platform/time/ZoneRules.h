#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "platform/time/PosixTimeZoneRule.h"
#include "platform/time/ZoneTransition.h"

namespace tarvo {

/// All of one zone's offsets through time: the table of its transitions (searched by
/// bisection), and the yearly rule that continues the table past its end.
///
/// Built from a compiled zone file of the IANA time-zone database (TZif, RFC 8536), from a
/// POSIX TZ rule, or from a list of transitions. Immutable once built.
class ZoneRules {
public:
    /// The rules in a TZif file's bytes (versions 1 to 4), or nothing when the bytes are not one.
    static std::optional<ZoneRules> fromTzif(std::string_view bytes);
    /// The rules of a POSIX TZ text such as "CET-1CEST,M3.5.0,M10.5.0/3".
    static ZoneRules fromPosix(const PosixTimeZoneRule& rule);
    /// `initial` before the first transition, then each of `transitions` (in order of time).
    static ZoneRules fromTransitions(ZoneTransition initial, std::vector<ZoneTransition> transitions);

    /// The offset and summer-time part in force at the moment (seconds since 1970, UTC).
    ZoneTransition at(int64_t utcSeconds) const;
    /// The offset for a wall-clock time given as seconds since 1970 in local time. A time
    /// skipped by a change takes the offset before it (so 02:30 reads as 03:30); a time that
    /// happens twice takes the later reading.
    int32_t offsetForLocalTime(int64_t localSeconds) const;
    /// Whether the offset never changes.
    bool isFixed() const { return table_.empty() && !(tail_ && tail_->hasTransitions()); }

private:
    void extendWithTail();

    ZoneTransition initial_;
    std::vector<int64_t> starts_;  // the moments of table_, apart for a compact search
    std::vector<ZoneTransition> table_;
    std::optional<PosixTimeZoneRule> tail_;
    /// Past this moment the tail rule answers (the table holds its transitions until then).
    int64_t tailFrom_ = INT64_MAX;
};

}  // namespace tarvo
