#pragma once

#include <algorithm>
#include <mutex>
#include <string>
#include <vector>

#include "tarvo/platform/Log.h"

namespace tarvo::test {

/// Collects every log line written while it lives, whatever the level.
class LogCapture {
public:
    LogCapture() {
        Log::setObserver([this](Log::Level, const std::string& message) {
            std::lock_guard lock(mutex_);
            lines_.push_back(message);
        });
    }
    ~LogCapture() { Log::setObserver({}); }
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    std::vector<std::string> lines() const {
        std::lock_guard lock(mutex_);
        return lines_;
    }
    size_t count(const std::string& line) const {
        std::lock_guard lock(mutex_);
        return static_cast<size_t>(std::count(lines_.begin(), lines_.end(), line));
    }

private:
    mutable std::mutex mutex_;
    std::vector<std::string> lines_;
};

}  // namespace tarvo::test
