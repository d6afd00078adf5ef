#pragma once

#include "tarvo/Export.h"

namespace tarvo {

/// Receives the facade's change reports (held weakly by the facade).
class TARVO_EXPORT TarvoDAODelegate {
public:
    virtual ~TarvoDAODelegate() = default;
    /// The current prayer's type differs from the previous check's. Called on the thread that
    /// ran the check, while the global state lock is held.
    virtual void tarvoDAOCurrentPrayerChanged() = 0;
    /// The host should regenerate and redisplay the timetable: the day changed, or the
    /// sequence wrapped to Fajr. Always called on the main queue.
    virtual void tarvoDAOPrayerTimesShouldRefreshAsDateChanged() = 0;
};

}  // namespace tarvo
