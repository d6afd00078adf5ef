#pragma once

#include <algorithm>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "platform/host/Log.h"

namespace tarvo::test {

/// Collects every log line the library writes while it lives, whatever the level, and
/// keeps them off standard error.
class LogCapture {
public:
    LogCapture() : previousLevel_(Log::level()) {
        Log::setLevel(Log::Level::off);
        Log::setObserver([this](Log::Level level, const std::string& message) {
            std::lock_guard lock(mutex_);
            lines_.emplace_back(level, message);
        });
    }
    ~LogCapture() {
        Log::setObserver({});
        Log::setLevel(previousLevel_);
    }
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    /// The error lines, in order.
    std::vector<std::string> errors() const {
        std::lock_guard lock(mutex_);
        std::vector<std::string> out;
        for (const auto& [level, text] : lines_) {
            if (level == Log::Level::error) out.push_back(text);
        }
        return out;
    }
    /// How many lines, whatever their level, read exactly `text`.
    size_t count(std::string_view text) const {
        std::lock_guard lock(mutex_);
        return static_cast<size_t>(std::ranges::count(lines_, text, &std::pair<Log::Level, std::string>::second));
    }
    /// Whether some error line contains `text`.
    bool hasError(std::string_view text) const {
        return std::ranges::any_of(errors(), [&](const std::string& line) { return line.find(text) != line.npos; });
    }
    void clear() {
        std::lock_guard lock(mutex_);
        lines_.clear();
    }

private:
    Log::Level previousLevel_;
    mutable std::mutex mutex_;
    std::vector<std::pair<Log::Level, std::string>> lines_;
};

}  // namespace tarvo::test
