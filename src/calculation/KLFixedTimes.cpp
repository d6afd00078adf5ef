#include "tarvo/calculation/KLFixedTimes.h"

namespace tarvo {

namespace generated {
extern const FixedTimetable::CompiledData kKualaLumpurTimetable;
}

FixedTimetable& KLFixedTimes::timetable() {
    static FixedTimetable table("Kuala Lumpur", generated::kKualaLumpurTimetable);
    return table;
}

std::array<double, 6> KLFixedTimes::getTimingsForEpoch(double epoch) { return timetable().timingsForEpoch(epoch); }

}  // namespace tarvo
