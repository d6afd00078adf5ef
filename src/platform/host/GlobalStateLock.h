#pragma once

#include <mutex>


namespace tarvo {

/// The one process-wide re-entrant lock that guards the facade's generated timetables and
/// its current and next prayer: the day generation and the current-prayer check both hold
/// it, and the check calls the generation while holding it.
std::recursive_mutex& globalStateLockObject();

}  // namespace tarvo
