#pragma once

#include <array>

#include "calculation/DayEngine.h"

namespace tarvo {

/// Recent days of the day engine, kept per thread: a day's list asks for its day and for the
/// next day's morning, and the next request (the next day, or the same place again after a
/// round of other places) asks for that next day in full. The engine is a pure function of
/// its inputs, so a day kept for the very same inputs is the day it would compute again.
///
///   Given:    the engine's inputs: method parameters, place, moment, calendar.
///   Returned: the whole day, bit for bit what compute() answers.
///   Notes:    bounded (a fixed number of slots per thread; a newer day replaces the one in
///             its slot) and thread-safe (each thread has its own slots, so no lock is taken).
///             Inputs are compared in full, doubles bit for bit; the hash only picks the slot.
class DayMemo {
public:
    static DayTimes day(const MethodParameters& method, const Place& place, Date date, const Calendar& calendar);
    /// The day of `date` and the next calendar day (its nextDay), as a day's list asks them:
    /// the inputs are hashed once for both.
    static std::array<DayTimes, 2> dayAndNext(const MethodParameters& method, const Place& place, Date date,
                                              const Calendar& calendar);
};

}  // namespace tarvo
