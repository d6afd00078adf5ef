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

    /// The lines that begin with `prefix` (all of them by default), in order.
    std::vector<std::string> lines(std::string_view prefix = {}, bool errorsOnly = false) const {
        std::lock_guard lock(mutex_);
        std::vector<std::string> out;
        for (const auto& [level, text] : lines_) {
            if (text.starts_with(prefix) && (!errorsOnly || level == Log::Level::error)) out.push_back(text);
        }
        return out;
    }
    std::vector<std::string> errors() const { return lines({}, true); }
    /// How many lines read exactly `text`.
    size_t count(std::string_view text) const {
        const auto all = lines(text);
        return static_cast<size_t>(std::count(all.begin(), all.end(), text));
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
