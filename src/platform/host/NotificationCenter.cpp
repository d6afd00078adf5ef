#include "platform/host/NotificationCenter.h"

#include <mutex>
#include <utility>
#include <vector>

namespace tarvo {

struct NotificationCenter::Impl {
    struct Observer {
        Token token;
        std::string name;
        std::shared_ptr<const Callback> callback;
    };
    std::mutex mutex;
    std::vector<Observer> observers;
    Token nextToken = 1;
};

NotificationCenter& NotificationCenter::defaultCenter() {
    // Never destroyed: observers may post from threads that outlive static destruction.
    static auto* center = new NotificationCenter();
    return *center;
}

NotificationCenter::NotificationCenter() : impl_(std::make_unique<Impl>()) {}
NotificationCenter::~NotificationCenter() = default;

NotificationCenter::Token NotificationCenter::addObserver(std::string name, Callback callback) {
    std::lock_guard lock(impl_->mutex);
    const Token token = impl_->nextToken++;
    impl_->observers.push_back({token, std::move(name), std::make_shared<const Callback>(std::move(callback))});
    return token;
}

void NotificationCenter::removeObserver(Token token) {
    std::lock_guard lock(impl_->mutex);
    std::erase_if(impl_->observers, [token](const Impl::Observer& o) { return o.token == token; });
}

void NotificationCenter::post(std::string_view name, const std::any& object) {
    // Callbacks run outside the lock, so an observer may add or remove observers or post.
    std::vector<std::shared_ptr<const Callback>> receivers;
    {
        std::lock_guard lock(impl_->mutex);
        for (const auto& o : impl_->observers) {
            if (o.name == name) receivers.push_back(o.callback);
        }
    }
    const std::string nameText(name);
    for (const auto& callback : receivers) {
        if (*callback) (*callback)(nameText, object);
    }
}

}  // namespace tarvo
