#include "platform/host/DispatchQueue.h"

#include <algorithm>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>
#include <vector>

namespace tarvo {

struct DispatchQueue::Impl {
    std::string label;
    Mode mode;
    mutable std::mutex mutex;
    std::condition_variable wake;
    std::deque<Block> blocks;
    std::vector<std::thread> threads;
    bool stopping = false;
};

namespace {

// The queue whose block (or drain) the calling thread is running.
thread_local const DispatchQueue::Impl* tlsCurrentQueue = nullptr;

class CurrentQueueScope {
public:
    explicit CurrentQueueScope(const DispatchQueue::Impl* queue) : previous_(tlsCurrentQueue) {
        tlsCurrentQueue = queue;
    }
    ~CurrentQueueScope() { tlsCurrentQueue = previous_; }
    CurrentQueueScope(const CurrentQueueScope&) = delete;
    CurrentQueueScope& operator=(const CurrentQueueScope&) = delete;

private:
    const DispatchQueue::Impl* previous_;
};

void workerLoop(DispatchQueue::Impl* impl) {
    CurrentQueueScope scope(impl);
    std::unique_lock lock(impl->mutex);
    for (;;) {
        impl->wake.wait(lock, [impl] { return impl->stopping || !impl->blocks.empty(); });
        // A queue going away still runs what it was given.
        if (impl->blocks.empty()) return;
        DispatchQueue::Block block = std::move(impl->blocks.front());
        impl->blocks.pop_front();
        lock.unlock();
        if (block) block();
        lock.lock();
    }
}

// Starts the worker threads of a queue that runs on its own (caller holds the lock).
void startThreadsLocked(DispatchQueue::Impl* impl, size_t count) {
    // A closure rather than the function pointer: its type, local to this file, keeps the
    // thread state type (and its typeinfo) out of the exported symbols.
    while (impl->threads.size() < count) impl->threads.emplace_back([impl] { workerLoop(impl); });
}

size_t poolSize() { return std::max<size_t>(2, std::thread::hardware_concurrency()); }

}  // namespace

DispatchQueue& DispatchQueue::main() {
    // Never destroyed: blocks may still be queued from other threads at exit.
    static auto* queue = new DispatchQueue("main", Mode::hostDriven);
    return *queue;
}

DispatchQueue& DispatchQueue::background() {
    static auto* queue = new DispatchQueue("background", Mode::pool);
    return *queue;
}

DispatchQueue::DispatchQueue(std::string label) : DispatchQueue(std::move(label), Mode::ownThread) {}

DispatchQueue::DispatchQueue(std::string label, Mode mode) : impl_(std::make_unique<Impl>()) {
    impl_->label = std::move(label);
    impl_->mode = mode;
}

DispatchQueue::~DispatchQueue() {
    {
        std::lock_guard lock(impl_->mutex);
        impl_->stopping = true;
    }
    impl_->wake.notify_all();
    for (auto& t : impl_->threads) {
        if (t.get_id() == std::this_thread::get_id()) {
            t.detach();
        } else {
            t.join();
        }
    }
}

const std::string& DispatchQueue::label() const { return impl_->label; }

void DispatchQueue::async(Block block) {
    {
        std::lock_guard lock(impl_->mutex);
        impl_->blocks.push_back(std::move(block));
        if (impl_->mode == Mode::ownThread) startThreadsLocked(impl_.get(), 1);
        if (impl_->mode == Mode::pool) startThreadsLocked(impl_.get(), poolSize());
    }
    impl_->wake.notify_one();
}

bool DispatchQueue::isCurrent() const { return tlsCurrentQueue == impl_.get(); }

size_t DispatchQueue::drain() {
    size_t ran = 0;
    CurrentQueueScope scope(impl_.get());
    for (;;) {
        Block block;
        {
            std::lock_guard lock(impl_->mutex);
            if (impl_->mode != Mode::hostDriven || impl_->blocks.empty()) return ran;
            block = std::move(impl_->blocks.front());
            impl_->blocks.pop_front();
        }
        if (block) block();
        ++ran;
    }
}

bool DispatchQueue::runUntil(const std::function<bool()>& predicate, std::chrono::milliseconds timeout) {
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    CurrentQueueScope scope(impl_.get());
    for (;;) {
        if (predicate()) return true;
        Block block;
        {
            std::unique_lock lock(impl_->mutex);
            // Wakes for new blocks, and looks at the predicate now and then for work that
            // finishes elsewhere without queueing anything here.
            const auto until = std::min(deadline, std::chrono::steady_clock::now() + std::chrono::milliseconds(5));
            const bool ready = impl_->wake.wait_until(lock, until, [this] {
                return impl_->mode == Mode::hostDriven && !impl_->blocks.empty();
            });
            if (!ready) {
                if (std::chrono::steady_clock::now() >= deadline) return predicate();
                continue;
            }
            block = std::move(impl_->blocks.front());
            impl_->blocks.pop_front();
        }
        if (block) block();
    }
}

void DispatchQueue::startOwnThread() {
    {
        std::lock_guard lock(impl_->mutex);
        if (impl_->mode != Mode::hostDriven) return;
        impl_->mode = Mode::ownThread;
        startThreadsLocked(impl_.get(), 1);
    }
    impl_->wake.notify_all();
}

size_t DispatchQueue::pendingCount() const {
    std::lock_guard lock(impl_->mutex);
    return impl_->blocks.size();
}

void runAsyncOnMainQueue(DispatchQueue::Block block) { DispatchQueue::main().async(std::move(block)); }

void runAsyncOnMainQueueWithoutDeadlocking(DispatchQueue::Block block) {
    if (DispatchQueue::main().isCurrent()) {
        if (block) block();
    } else {
        DispatchQueue::main().async(std::move(block));
    }
}

void runAsyncInBackgroundQueue(DispatchQueue::Block block) { DispatchQueue::background().async(std::move(block)); }

}  // namespace tarvo
