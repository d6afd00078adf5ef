#include "tarvo/calculation/DubaiFixedTimes.h"

namespace tarvo {

namespace generated {
extern const FixedTimetable::CompiledData kDubaiTimetable;
}

FixedTimetable& DubaiFixedTimes::timetable() {
    static FixedTimetable table("Dubai", generated::kDubaiTimetable);
    return table;
}

std::array<double, 6> DubaiFixedTimes::getTimingsForEpoch(double epoch) { return timetable().timingsForEpoch(epoch); }

}  // namespace tarvo
