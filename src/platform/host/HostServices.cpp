#include "tarvo/platform/HostServices.h"

#include <utility>

#include "platform/host/DispatchQueue.h"
#include "platform/host/Log.h"
#include "platform/host/NotificationCenter.h"

namespace tarvo {

size_t HostServices::drainMainQueue() { return DispatchQueue::main().drain(); }

bool HostServices::runMainQueueUntil(const std::function<bool()>& predicate, std::chrono::milliseconds timeout) {
    return DispatchQueue::main().runUntil(predicate, timeout);
}

void HostServices::runMainQueueOnOwnThread() { DispatchQueue::main().startOwnThread(); }

HostServices::Token HostServices::addObserver(std::string name, Observer observer) {
    return NotificationCenter::defaultCenter().addObserver(std::move(name), std::move(observer));
}

void HostServices::removeObserver(Token token) { NotificationCenter::defaultCenter().removeObserver(token); }

void HostServices::setSynchronousLogging(bool synchronous) { Log::setSynchronous(synchronous); }

void HostServices::flushLog() { Log::flush(); }

}  // namespace tarvo
