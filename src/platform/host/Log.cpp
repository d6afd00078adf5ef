#include "platform/host/Log.h"

#include <atomic>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <mutex>

#include <spdlog/async.h>
#include <spdlog/sinks/base_sink.h>
#include <spdlog/sinks/stdout_sinks.h>
#include <spdlog/spdlog.h>

#include "platform/text/Text.h"

namespace tarvo {

namespace {

// Time, level, then the source file, line and function of the call.
constexpr const char* kPattern = "[%Y-%m-%d %H:%M:%S.%e] [%l] [%s:%# %!] %v";

// Standard error, counting the lines it has written so that Log::flush can wait for exactly
// the lines handed to the background writer before it was called (spdlog's own flush of an
// asynchronous logger only queues the request and returns).
class CountingStderrSink final : public spdlog::sinks::base_sink<std::mutex> {
public:
    void waitFor(uint64_t lines) {
        std::unique_lock lock(countMutex_);
        written_.wait(lock, [&] { return count_ >= lines; });
    }

private:
    void sink_it_(const spdlog::details::log_msg& message) override {
        spdlog::memory_buf_t formatted;
        formatter_->format(message, formatted);
        std::fwrite(formatted.data(), 1, formatted.size(), stderr);
        std::fflush(stderr);
        {
            std::lock_guard lock(countMutex_);
            ++count_;
        }
        written_.notify_all();
    }
    void flush_() override { std::fflush(stderr); }

    std::mutex countMutex_;
    std::condition_variable written_;
    uint64_t count_ = 0;
};

struct LogState {
    std::atomic<int> threshold{static_cast<int>(Log::Level::error)};
    std::atomic<bool> hasObserver{false};
    std::mutex observerMutex;
    Log::Observer observer;
    std::once_flag loggerOnce;
    std::shared_ptr<spdlog::logger> logger;
    std::shared_ptr<CountingStderrSink> sink;
    // Lines handed to the logger so far; the sink's count catches up with it.
    std::atomic<uint64_t> posted{0};
    std::atomic<bool> synchronous{false};
    std::shared_ptr<spdlog::logger> direct;
    std::atomic<bool> closed{false};
    std::atomic<bool> ready{false};
};

LogState& state() {
    static LogState* s = [] {
        auto* st = new LogState();  // never destroyed: lines may be written during teardown
        if (const char* env = std::getenv("TARVO_LOG_LEVEL")) {
            if (auto level = Log::levelFromName(env)) st->threshold = static_cast<int>(*level);
        }
        return st;
    }();
    return *s;
}

spdlog::level::level_enum toSpdlog(Log::Level level) {
    switch (level) {
        case Log::Level::verbose: return spdlog::level::trace;
        case Log::Level::debug: return spdlog::level::debug;
        case Log::Level::info: return spdlog::level::info;
        case Log::Level::error: return spdlog::level::err;
        case Log::Level::off: break;
    }
    return spdlog::level::off;
}

spdlog::logger& logger() {
    LogState& s = state();
    std::call_once(s.loggerOnce, [&s] {
        spdlog::init_thread_pool(8192, 1);
        s.sink = std::make_shared<CountingStderrSink>();
        // Blocking when the queue is full: no line is ever dropped, which the counting needs.
        s.logger = std::make_shared<spdlog::async_logger>("tarvo", s.sink, spdlog::thread_pool(),
                                                          spdlog::async_overflow_policy::block);
        s.logger->set_pattern(kPattern);
        s.logger->set_level(spdlog::level::trace);
        // Lines written after the background writer has stopped (by destructors at exit)
        // go straight to standard error.
        s.direct = std::make_shared<spdlog::logger>("tarvo-direct", std::make_shared<spdlog::sinks::stderr_sink_mt>());
        s.direct->set_pattern(kPattern);
        s.direct->set_level(spdlog::level::trace);
        std::atexit([] {
            Log::flush();
            state().closed = true;
            spdlog::shutdown();
        });
        s.ready.store(true, std::memory_order_release);
    });
    return *s.logger;
}

}  // namespace

void Log::setLevel(Level level) { state().threshold = static_cast<int>(level); }

Log::Level Log::level() { return static_cast<Level>(state().threshold.load()); }

std::optional<Log::Level> Log::levelFromName(std::string_view name) {
    const std::string lower = text::lowercased(name);
    if (lower == "verbose" || lower == "trace") return Level::verbose;
    if (lower == "debug") return Level::debug;
    if (lower == "info") return Level::info;
    if (lower == "error") return Level::error;
    if (lower == "off" || lower == "none") return Level::off;
    return std::nullopt;
}

void Log::setObserver(Observer observer) {
    LogState& s = state();
    std::lock_guard lock(s.observerMutex);
    s.hasObserver = static_cast<bool>(observer);
    s.observer = std::move(observer);
}

bool Log::isEnabled(Level level) {
    const LogState& s = state();
    return static_cast<int>(level) >= s.threshold.load(std::memory_order_relaxed) ||
           s.hasObserver.load(std::memory_order_relaxed);
}

void Log::write(Level level, const char* file, const char* function, int line, const std::string& message) {
    LogState& s = state();
    if (s.hasObserver) {
        std::lock_guard lock(s.observerMutex);
        if (s.observer) s.observer(level, message);
    }
    if (level == Level::off || static_cast<int>(level) < s.threshold.load()) return;
    spdlog::logger& target = logger();
    if (s.closed) {
        s.direct->log(spdlog::source_loc{file, line, function}, toSpdlog(level), message);
        return;
    }
    target.log(spdlog::source_loc{file, line, function}, toSpdlog(level), message);
    ++s.posted;  // counted once queued: flush never waits for a line that is not in the queue
    if (s.synchronous.load(std::memory_order_relaxed)) flush();
}

void Log::setSynchronous(bool synchronous) {
    state().synchronous = synchronous;
    if (synchronous) flush();
}

void Log::flush() {
    LogState& s = state();
    if (!s.ready.load(std::memory_order_acquire) || s.closed) return;
    s.sink->waitFor(s.posted.load());
}

}  // namespace tarvo
