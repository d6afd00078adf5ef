#include "tarvo/platform/Log.h"

#include <atomic>
#include <cstdlib>
#include <memory>
#include <mutex>

#include <spdlog/async.h>
#include <spdlog/sinks/stdout_sinks.h>
#include <spdlog/spdlog.h>

#include "platform/Text.h"

namespace tarvo {

namespace {

struct LogState {
    std::atomic<int> threshold{static_cast<int>(Log::Level::error)};
    std::atomic<bool> hasObserver{false};
    std::mutex observerMutex;
    Log::Observer observer;
    std::once_flag loggerOnce;
    std::shared_ptr<spdlog::logger> logger;
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
        auto sink = std::make_shared<spdlog::sinks::stderr_sink_mt>();
        s.logger = std::make_shared<spdlog::async_logger>("tarvo", std::move(sink), spdlog::thread_pool(),
                                                          spdlog::async_overflow_policy::block);
        s.logger->set_pattern("[%Y-%m-%d %H:%M:%S.%e] [%l] [%s:%# %!] %v");
        s.logger->set_level(spdlog::level::trace);
        s.logger->flush_on(spdlog::level::err);
        std::atexit([] { spdlog::shutdown(); });
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
    logger().log(spdlog::source_loc{file, line, function}, toSpdlog(level), message);
}

void Log::flush() {
    if (state().logger) logger().flush();
}

}  // namespace tarvo
