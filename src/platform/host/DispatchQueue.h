#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>


namespace tarvo {

/// Queues of work, standing in for the platform's dispatch queues.
///
/// A serial queue runs its blocks one at a time in the order they were added. The main
/// queue is serial and belongs to the host: it runs its blocks when the host drives it from
/// its own loop (drain, runUntil), or on a thread of its own once the host calls
/// startOwnThread. Other serial queues (the facade's database queue) run on a thread of their
/// own from the first block on. The background queue is a small pool of threads that runs
/// blocks concurrently.
class DispatchQueue {
public:
    using Block = std::function<void()>;

    /// The main queue.
    static DispatchQueue& main();
    /// The shared background pool.
    static DispatchQueue& background();

    /// A serial queue that runs on its own thread.
    explicit DispatchQueue(std::string label);
    ~DispatchQueue();
    DispatchQueue(const DispatchQueue&) = delete;
    DispatchQueue& operator=(const DispatchQueue&) = delete;

    const std::string& label() const;

    /// Adds the block; it runs later, never inside this call.
    void async(Block block);
    /// Whether the calling thread is running this queue's blocks right now (for the main
    /// queue: the host thread while it drains, or the queue's own thread).
    bool isCurrent() const;

    // ---- Driving the main queue from the host's loop --------------------------------
    /// Runs every block queued so far (and those they queue) on the calling thread;
    /// answers how many ran. Does nothing once the queue runs on its own thread.
    size_t drain();
    /// Runs blocks as they arrive until `predicate` holds or `timeout` passes; answers the
    /// predicate's last value.
    bool runUntil(const std::function<bool()>& predicate, std::chrono::milliseconds timeout);
    /// From now on the queue runs on a thread of its own.
    void startOwnThread();
    /// Blocks queued and not yet run.
    size_t pendingCount() const;

    struct Impl;

private:
    enum class Mode { hostDriven, ownThread, pool };
    DispatchQueue(std::string label, Mode mode);
    std::unique_ptr<Impl> impl_;
};

/// The shared utilities' queue helpers.
/// Runs the block later on the main queue.
void runAsyncOnMainQueue(DispatchQueue::Block block);
/// Runs the block at once when called on the main queue, else later on it (so a caller on
/// the main queue never waits on itself).
void runAsyncOnMainQueueWithoutDeadlocking(DispatchQueue::Block block);
/// Runs the block on the background pool.
void runAsyncInBackgroundQueue(DispatchQueue::Block block);

}  // namespace tarvo
