#include "platform/host/GlobalStateLock.h"

namespace tarvo {

std::recursive_mutex& globalStateLockObject() {
    // Never destroyed, so a thread still running at exit can take it.
    static auto* lock = new std::recursive_mutex();
    return *lock;
}

}  // namespace tarvo
