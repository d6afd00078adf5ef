#pragma once

#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "tarvo/platform/Log.h"

namespace tarvo::test {

/// Collects every log line the library writes while it lives, whatever the level, and
/// keeps them off standard error.
class LogCapture {
public:
    LogCapture() : previousLevel_(Log::level()) {
        Log::setLevel(Log::Level::off);
        Log::setObserver([this](Log::Level level, const std::string& message) {
            std::lock_guard lock(mutex_);
            lines_.push_back({level, message});
        });
    }
    ~LogCapture() {
        Log::setObserver({});
        Log::setLevel(previousLevel_);
    }
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    /// Every line, in order.
    std::vector<std::string> lines() const { return select([](const Line&) { return true; }); }
    /// The error-level lines, in order.
    std::vector<std::string> errors() const {
        return select([](const Line& l) { return l.level == Log::Level::error; });
    }
    /// The lines that begin with `prefix`, in order.
    std::vector<std::string> startingWith(std::string_view prefix) const {
        return select([&](const Line& l) { return l.message.starts_with(prefix); });
    }
    /// How many lines read exactly `text`.
    size_t count(std::string_view text) const {
        return select([&](const Line& l) { return l.message == text; }).size();
    }
    /// Whether some error line contains `text`.
    bool hasError(std::string_view text) const {
        return !select([&](const Line& l) {
                    return l.level == Log::Level::error && l.message.find(text) != std::string::npos;
                }).empty();
    }
    void clear() {
        std::lock_guard lock(mutex_);
        lines_.clear();
    }

private:
    struct Line {
        Log::Level level;
        std::string message;
    };
    template <typename Predicate>
    std::vector<std::string> select(Predicate keep) const {
        std::lock_guard lock(mutex_);
        std::vector<std::string> out;
        for (const auto& line : lines_) {
            if (keep(line)) out.push_back(line.message);
        }
        return out;
    }

    Log::Level previousLevel_;
    mutable std::mutex mutex_;
    std::vector<Line> lines_;
};

}  // namespace tarvo::test
