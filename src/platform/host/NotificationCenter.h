#pragma once

#include <any>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>


namespace tarvo {

/// Named notifications: a poster sends a name with an optional object; observers of that
/// name receive it synchronously, on the posting thread, in the order they were added.
///
/// Observers are added and removed from any thread. An observer removed while a post is
/// running on another thread may still receive that one post.
class NotificationCenter {
public:
    using Callback = std::function<void(const std::string& name, const std::any& object)>;
    /// Identifies one observer for removal; 0 is never handed out.
    using Token = uint64_t;

    /// The process-wide centre.
    static NotificationCenter& defaultCenter();

    NotificationCenter();
    ~NotificationCenter();
    NotificationCenter(const NotificationCenter&) = delete;
    NotificationCenter& operator=(const NotificationCenter&) = delete;

    Token addObserver(std::string name, Callback callback);
    /// Removes the observer; unknown tokens are ignored.
    void removeObserver(Token token);
    /// Calls every observer of `name` with `object` (empty for none).
    void post(std::string_view name, const std::any& object = {});

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace tarvo
