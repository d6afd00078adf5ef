#pragma once

// Logging macros of the library: the message is formatted only when the line goes somewhere.
#include <fmt/format.h>

#include "platform/host/Log.h"

#define TARVO_LOG(level, ...)                                                                  \
    do {                                                                                       \
        if (::tarvo::Log::isEnabled(level))                                                    \
            ::tarvo::Log::write(level, __FILE__, __func__, __LINE__, fmt::format(__VA_ARGS__)); \
    } while (false)

#define TARVO_LOG_VERBOSE(...) TARVO_LOG(::tarvo::Log::Level::verbose, __VA_ARGS__)
#define TARVO_LOG_DEBUG(...) TARVO_LOG(::tarvo::Log::Level::debug, __VA_ARGS__)
#define TARVO_LOG_INFO(...) TARVO_LOG(::tarvo::Log::Level::info, __VA_ARGS__)
#define TARVO_LOG_ERROR(...) TARVO_LOG(::tarvo::Log::Level::error, __VA_ARGS__)
