#include "tarvo/platform/Clock.h"

#include <chrono>
#include <memory>
#include <mutex>

namespace tarvo {

namespace {

// The source is shared, so a reader calls its own reference even while another thread
// replaces it.
std::mutex& sourceMutex() {
    static std::mutex mutex;
    return mutex;
}

std::shared_ptr<const Clock::Source>& installedSource() {
    static std::shared_ptr<const Clock::Source> source;
    return source;
}

}  // namespace

Date Clock::systemNow() {
    using namespace std::chrono;
    return Date(duration<double>(system_clock::now().time_since_epoch()).count());
}

Date Clock::now() {
    std::shared_ptr<const Source> source;
    {
        std::lock_guard lock(sourceMutex());
        source = installedSource();
    }
    return source ? (*source)() : systemNow();
}

void Clock::installFixed(Date moment) {
    install([moment] { return moment; });
}

void Clock::install(Source source) {
    std::lock_guard lock(sourceMutex());
    installedSource() = source ? std::make_shared<const Source>(std::move(source)) : nullptr;
}

void Clock::remove() { install(nullptr); }

bool Clock::hasSource() {
    std::lock_guard lock(sourceMutex());
    return installedSource() != nullptr;
}

}  // namespace tarvo
