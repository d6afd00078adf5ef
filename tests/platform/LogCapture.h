#pragma once

#include <mutex>
#include <string>
#include <vector>

#include "tarvo/platform/Log.h"

namespace tarvo::test {

/// Collects the error lines the library logs while the object lives (and keeps them off
/// standard error).
class LogCapture {
public:
    LogCapture() : previousLevel_(Log::level()) {
        Log::setLevel(Log::Level::off);
        Log::setObserver([this](Log::Level level, const std::string& message) {
            if (level != Log::Level::error) return;
            std::lock_guard lock(mutex_);
            errors_.push_back(message);
        });
    }
    ~LogCapture() {
        Log::setObserver({});
        Log::setLevel(previousLevel_);
    }
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    std::vector<std::string> errors() const {
        std::lock_guard lock(mutex_);
        return errors_;
    }
    /// Whether some error line contains `text`.
    bool hasError(const std::string& text) const {
        std::lock_guard lock(mutex_);
        for (const auto& line : errors_) {
            if (line.find(text) != std::string::npos) return true;
        }
        return false;
    }

private:
    Log::Level previousLevel_;
    mutable std::mutex mutex_;
    std::vector<std::string> errors_;
};

}  // namespace tarvo::test
