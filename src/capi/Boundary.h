#pragma once

// What every function of the C interface shares: the calling thread's last error, the guard
// that keeps exceptions from crossing into C, and the copying of text into fixed buffers.

#include <cstddef>
#include <exception>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>

#include "tarvo/tarvo.h"

namespace tarvo::capi {

/// A failure on its way to the boundary, where it becomes the call's status and message.
class Failure : public std::exception {
public:
    Failure(tarvo_status status, std::string message) : status_(status), message_(std::move(message)) {}
    tarvo_status status() const { return status_; }
    const char* what() const noexcept override { return message_.c_str(); }

private:
    tarvo_status status_;
    std::string message_;
};

/// Records the calling thread's failure and answers its status.
tarvo_status fail(tarvo_status status, std::string_view message);
/// Clears the calling thread's message after a call that succeeded.
void succeed();
/// Once per process: the library's log lines go to the host's handler only, never to the terminal.
void quietLogging();

/// Held by the calls that set or read the process's device zone and clock (the current
/// prayer sets both for its request; the Hijri date reads the zone), so that they take turns.
std::mutex& deviceStateMutex();

/// Runs `body` (which answers a status or throws a Failure) so that nothing but a status
/// leaves it.
template <typename Body>
tarvo_status guarded(Body&& body) noexcept {
    try {
        quietLogging();
        const tarvo_status status = body();
        if (status == TARVO_OK) succeed();
        return status;
    } catch (const Failure& failure) {
        return fail(failure.status(), failure.what());
    } catch (const std::bad_alloc&) {
        return fail(TARVO_ERROR_INTERNAL, "out of memory");
    } catch (const std::exception& e) {
        return fail(TARVO_ERROR_INTERNAL, e.what());
    } catch (...) {
        return fail(TARVO_ERROR_INTERNAL, "unexpected failure");
    }
}

/// Throws a Failure naming the argument when `pointer` is NULL.
void require(const void* pointer, const char* name);
/// Copies `text` into a buffer of `size` bytes, cut at a whole UTF-8 character, NUL-terminated.
void copyText(char* buffer, size_t size, std::string_view text);
/// A copy the caller frees with tarvo_string_free.
char* newText(std::string_view text);

}  // namespace tarvo::capi
