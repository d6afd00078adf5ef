#pragma once

#include <any>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

#include "tarvo/Export.h"

namespace tarvo {

/// What a host program drives of the library's own services: the main queue, on which the
/// facade publishes its answers; the library's named notifications; and when log lines reach
/// standard error. The queues, the notification centre and the log themselves stay inside
/// the library, so that their layout is no part of its interface.
class TARVO_EXPORT HostServices {
public:
    // ---- The main queue -------------------------------------------------------------
    /// Runs every block queued on the main queue so far (and those they queue) on the
    /// calling thread; answers how many ran.
    static size_t drainMainQueue();
    /// Runs main-queue blocks as they arrive until `predicate` holds or `timeout` passes;
    /// answers the predicate's last value.
    static bool runMainQueueUntil(const std::function<bool()>& predicate, std::chrono::milliseconds timeout);
    /// From now on the main queue runs on a thread of its own (for hosts without a loop).
    static void runMainQueueOnOwnThread();

    // ---- Notifications --------------------------------------------------------------
    using Observer = std::function<void(const std::string& name, const std::any& object)>;
    /// Identifies one observer for removal; 0 is never handed out.
    using Token = uint64_t;
    /// Calls `observer` synchronously, on the posting thread, whenever the library posts
    /// `name` (TarvoDAO's notification names).
    static Token addObserver(std::string name, Observer observer);
    /// Removes the observer; unknown tokens are ignored.
    static void removeObserver(Token token);

    // ---- Logging --------------------------------------------------------------------
    /// Whether a log line is written before the call that logs it returns (off by default,
    /// so logging never slows a host's thread). A command-line program turns it on so that
    /// a line saying why something failed comes before the output that shows the failure.
    static void setSynchronousLogging(bool synchronous);
    /// Waits until every log line written so far has reached standard error.
    static void flushLog();
};

}  // namespace tarvo
