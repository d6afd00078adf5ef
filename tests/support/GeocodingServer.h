#pragma once

#include <atomic>
#include <chrono>
#include <mutex>
#include <string>
#include <thread>

#include <httplib.h>

namespace tarvo::test {

using namespace std::chrono_literals;

/// A Nominatim stand-in answering /reverse with what the test sets.
class GeocodingServer {
public:
    GeocodingServer() {
        server_.Get("/reverse", [this](const httplib::Request& request, httplib::Response& response) {
            ++requests_;
            Reply reply;
            {
                std::lock_guard lock(mutex_);
                lastQuery_ = request.params;
                userAgent_ = request.get_header_value("User-Agent");
                reply = reply_;
            }
            std::this_thread::sleep_for(reply.delay);
            response.status = reply.status;
            if (!reply.location.empty()) response.set_header("Location", reply.location);
            response.set_content(reply.body, "application/json");
        });
        port_ = server_.bind_to_any_port("127.0.0.1");
        thread_ = std::thread([this] { server_.listen_after_bind(); });
        while (!server_.is_running()) std::this_thread::sleep_for(1ms);
    }
    ~GeocodingServer() { stop(); }

    void stop() {
        server_.stop();
        if (thread_.joinable()) thread_.join();
    }
    void answer(std::string body, int status = 200, std::chrono::milliseconds delay = {}) {
        set({std::move(body), status, delay, {}});
    }
    /// Answers every request with a redirect to `location`.
    void redirect(std::string location, int status = 302) { set({{}, status, {}, std::move(location)}); }
    std::string url() const { return "http://127.0.0.1:" + std::to_string(port_); }
    int requests() const { return requests_; }
    std::string query(const std::string& name) {
        std::lock_guard lock(mutex_);
        const auto found = lastQuery_.find(name);
        return found == lastQuery_.end() ? "(none)" : found->second;
    }
    std::string userAgent() {
        std::lock_guard lock(mutex_);
        return userAgent_;
    }

private:
    struct Reply {
        std::string body = "{}";
        int status = 200;
        std::chrono::milliseconds delay{};
        std::string location;
    };
    void set(Reply reply) {
        std::lock_guard lock(mutex_);
        reply_ = std::move(reply);
    }

    httplib::Server server_;
    std::thread thread_;
    int port_ = 0;
    std::atomic<int> requests_{0};
    std::mutex mutex_;
    httplib::Params lastQuery_;
    std::string userAgent_;
    Reply reply_;
};

}  // namespace tarvo::test
