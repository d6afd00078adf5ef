#pragma once

#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "tarvo/platform/Log.h"

namespace tarvo::test {

/// Collects every line the library logs, whatever its level, while the object lives (and
/// keeps them off standard error).
class LogLines {
public:
    struct Line {
        Log::Level level;
        std::string text;
    };

    LogLines() : previousLevel_(Log::level()) {
        Log::setLevel(Log::Level::off);
        Log::setObserver([this](Log::Level level, const std::string& text) {
            std::lock_guard lock(mutex_);
            lines_.push_back({level, text});
        });
    }
    ~LogLines() {
        Log::setObserver({});
        Log::setLevel(previousLevel_);
    }
    LogLines(const LogLines&) = delete;
    LogLines& operator=(const LogLines&) = delete;

    std::vector<Line> lines() const {
        std::lock_guard lock(mutex_);
        return lines_;
    }
    /// The texts that begin with `prefix`, in order.
    std::vector<std::string> startingWith(std::string_view prefix) const {
        std::vector<std::string> out;
        for (const Line& line : lines()) {
            if (line.text.starts_with(prefix)) out.push_back(line.text);
        }
        return out;
    }
    /// How many lines read exactly `text`.
    size_t count(std::string_view text) const {
        size_t n = 0;
        for (const Line& line : lines()) n += line.text == text ? 1 : 0;
        return n;
    }
    void clear() {
        std::lock_guard lock(mutex_);
        lines_.clear();
    }

private:
    Log::Level previousLevel_;
    mutable std::mutex mutex_;
    std::vector<Line> lines_;
};

}  // namespace tarvo::test
