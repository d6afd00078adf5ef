// The boundary of the C interface: per-thread messages, quiet logging, version and strings.
#include "Boundary.h"

#include <cstdlib>
#include <cstring>
#include <mutex>

#include "tarvo/Version.h"
#include "platform/host/Log.h"

namespace tarvo::capi {

namespace {

std::string& lastError() {
    thread_local std::string message;
    return message;
}

struct LogRoute {
    std::mutex mutex;
    tarvo_log_handler handler = nullptr;
    void* userData = nullptr;
    tarvo_log_level level = TARVO_LOG_OFF;
};

LogRoute& logRoute() {
    static LogRoute route;
    return route;
}

void forward(Log::Level level, const std::string& message) {
    LogRoute& route = logRoute();
    tarvo_log_handler handler = nullptr;
    void* userData = nullptr;
    {
        std::lock_guard lock(route.mutex);
        if (static_cast<int>(level) < static_cast<int>(route.level)) return;
        handler = route.handler;
        userData = route.userData;
    }
    if (handler) handler(userData, static_cast<int32_t>(level), message.c_str());
}

}  // namespace

tarvo_status fail(tarvo_status status, std::string_view message) {
    try {
        lastError().assign(message);
    } catch (...) {
        lastError().clear();
    }
    return status;
}

void succeed() { lastError().clear(); }

void quietLogging() {
    // A C host has no terminal of ours to write to: the library's own standard-error sink
    // is off, and lines reach the host's handler when it installs one.
    static std::once_flag once;
    std::call_once(once, [] { Log::setLevel(Log::Level::off); });
}

std::mutex& deviceStateMutex() {
    static std::mutex mutex;
    return mutex;
}

void require(const void* pointer, const char* name) {
    if (!pointer) throw Failure(TARVO_ERROR_NULL_ARGUMENT, std::string(name) + " is NULL");
}

void copyText(char* buffer, size_t size, std::string_view text) {
    if (!buffer || size == 0) return;
    size_t length = text.size() < size ? text.size() : size - 1;
    // Never cut a multi-byte character: back up over continuation bytes.
    if (length < text.size()) {
        while (length > 0 && (static_cast<unsigned char>(text[length]) & 0xC0) == 0x80) --length;
    }
    std::memcpy(buffer, text.data(), length);
    buffer[length] = '\0';
}

char* newText(std::string_view text) {
    auto* copy = static_cast<char*>(std::malloc(text.size() + 1));
    if (!copy) throw Failure(TARVO_ERROR_INTERNAL, "out of memory");
    std::memcpy(copy, text.data(), text.size());
    copy[text.size()] = '\0';
    return copy;
}

}  // namespace tarvo::capi

using namespace tarvo;
using namespace tarvo::capi;

extern "C" {

const char* tarvo_version(void) { return reinterpret_cast<const char*>(TarvoCoreVersionString); }

const char* tarvo_last_error(void) { return lastError().c_str(); }

void tarvo_string_free(char* text) { std::free(text); }

tarvo_status tarvo_set_log_handler(tarvo_log_handler handler, void* user_data, int32_t level) {
    return guarded([&] {
        if (level < TARVO_LOG_VERBOSE || level > TARVO_LOG_OFF) {
            throw Failure(TARVO_ERROR_INVALID_ARGUMENT, "log level " + std::to_string(level) + " is outside 0 to 4");
        }
        LogRoute& route = logRoute();
        {
            std::lock_guard lock(route.mutex);
            route.handler = handler;
            route.userData = user_data;
            route.level = handler ? static_cast<tarvo_log_level>(level) : TARVO_LOG_OFF;
        }
        // The observer sees every line whatever the threshold, and makes every line be
        // formatted: it is installed only while a handler wants lines. (Outside the route's
        // lock: a line being written holds the observer's lock while it asks the route.)
        if (handler && level != TARVO_LOG_OFF) {
            // A closure rather than the function pointer, whose type would be exported.
            Log::setObserver([](Log::Level at, const std::string& message) { forward(at, message); });
        } else {
            Log::setObserver({});
        }
        return TARVO_OK;
    });
}

}  // extern "C"
