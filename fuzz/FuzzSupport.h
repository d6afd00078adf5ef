// Shared pieces of the libFuzzer targets: a private data folder, quiet logging, files from
// bytes, and a check that stops the run with a message when an invariant breaks.
#pragma once

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

#include "platform/host/Log.h"

namespace tarvo::fuzz {

/// Stops the run (libFuzzer then saves the input) when an invariant does not hold.
#define TARVO_FUZZ_CHECK(condition, what)                                                      \
    do {                                                                                       \
        if (!(condition)) {                                                                    \
            std::fprintf(stderr, "invariant broken: %s (%s:%d)\n", what, __FILE__, __LINE__); \
            std::abort();                                                                      \
        }                                                                                      \
    } while (false)

/// A folder of this process's own (in /dev/shm when there is one, so that SQLite's writes
/// cost little), made the data folder through TARVO_HOME. Created on the first call.
inline const std::filesystem::path& dataFolder() {
    static const std::filesystem::path folder = [] {
        const std::filesystem::path base =
            std::filesystem::is_directory("/dev/shm") ? std::filesystem::path("/dev/shm") :
                                                        std::filesystem::temp_directory_path();
        std::string name = (base / "tarvo-fuzz-XXXXXX").string();
        if (::mkdtemp(name.data()) == nullptr) std::abort();
        ::setenv("TARVO_HOME", name.c_str(), 1);
        static const std::string keep = name;
        std::atexit([] {
            std::error_code ec;
            std::filesystem::remove_all(keep, ec);
        });
        return std::filesystem::path(name);
    }();
    return folder;
}

/// An empty sub-folder of the data folder, emptied again on every call.
inline std::filesystem::path freshFolder(std::string_view name) {
    const std::filesystem::path folder = dataFolder() / name;
    std::error_code ec;
    std::filesystem::remove_all(folder, ec);
    std::filesystem::create_directories(folder);
    return folder;
}

/// Log lines would drown the fuzzer's own report; failures show as broken invariants.
inline void quietLog() { Log::setLevel(Log::Level::off); }

/// Error lines the library has written since the first call (counted even with the log off).
inline std::atomic<int>& errorLines() {
    static std::atomic<int> count{0};
    static const bool observing = [] {
        Log::setObserver([](Log::Level level, const std::string&) {
            if (level == Log::Level::error) ++count;
        });
        return true;
    }();
    (void)observing;
    return count;
}

inline std::string_view text(const uint8_t* data, size_t size) {
    return {reinterpret_cast<const char*>(data), size};
}

inline void writeFile(const std::filesystem::path& path, std::string_view bytes) {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

inline std::string readFile(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

/// The names in a folder, sorted.
inline std::vector<std::string> folderListing(const std::filesystem::path& folder) {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        names.push_back(entry.path().filename().string());
    }
    std::sort(names.begin(), names.end());
    return names;
}

}  // namespace tarvo::fuzz
