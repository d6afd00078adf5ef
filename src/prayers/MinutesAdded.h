#pragma once

#include <cstdint>

#include "tarvo/platform/Calendar.h"
#include "tarvo/platform/Date.h"
#include "tarvo/platform/DateComponents.h"

namespace tarvo {

/// `moment` moved by `minutes` as elapsed time on `calendar` (the same moment for 0): how a
/// record's time takes the user's adjustment and the forenoon delay. `components` is scratch
/// and is left holding the amount added.
inline Date minutesAdded(Date moment, int64_t minutes, const Calendar& calendar, DateComponents& components) {
    if (minutes == 0) return moment;
    components.year = components.month = components.day = components.hour = 0;
    components.minute = minutes;
    return calendar.dateByAddingComponents(components, moment);
}

}  // namespace tarvo
