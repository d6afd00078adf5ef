#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>


namespace tarvo {

/// Levelled, asynchronous logging of the library (spdlog behind it), each line carrying
/// the source file, function and line of the call. Lines go to standard error.
///
/// The threshold comes from the environment variable TARVO_LOG_LEVEL (verbose, debug,
/// info, error or off); it defaults to error so that a normal run prints no log noise.
class Log {
public:
    enum class Level { verbose = 0, debug = 1, info = 2, error = 3, off = 4 };

    static void setLevel(Level level);
    static Level level();
    /// "verbose", "debug", "info", "error", "off" (any letter case); nothing for other text.
    static std::optional<Level> levelFromName(std::string_view name);

    /// Receives every line, whatever the threshold, synchronously on the calling thread
    /// (for hosts that keep their own log, and for tests). An empty function removes it.
    using Observer = std::function<void(Level level, const std::string& message)>;
    static void setObserver(Observer observer);

    /// Whether a line at this level would go anywhere.
    static bool isEnabled(Level level);
    static void write(Level level, const char* file, const char* function, int line, const std::string& message);
    /// Waits until every line written so far has reached standard error.
    static void flush();
    /// Whether write() waits until its line has reached standard error (off by default, so
    /// that logging never slows a host's thread). A command-line program turns it on so that
    /// a line saying why something failed comes before the output that shows the failure.
    static void setSynchronous(bool synchronous);
};

}  // namespace tarvo
