#pragma once

#include <mutex>

#include "tarvo/Export.h"

namespace tarvo {

/// The one process-wide re-entrant lock that guards the facade's generated timetables and
/// its current and next prayer: the day generation and the current-prayer check both hold
/// it, and the check calls the generation while holding it.
TARVO_EXPORT std::recursive_mutex& globalStateLockObject();

}  // namespace tarvo
