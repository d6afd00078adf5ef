#pragma once

#include <stdlib.h>

#include <map>
#include <optional>
#include <string>

namespace tarvo::test {

/// Sets and unsets environment variables for the life of the object, then puts back what
/// was there before. Child processes started meanwhile inherit the changes.
class ScopedEnvironment {
public:
    ScopedEnvironment() = default;
    ~ScopedEnvironment() {
        for (const auto& [name, value] : saved_) {
            if (value) {
                ::setenv(name.c_str(), value->c_str(), 1);
            } else {
                ::unsetenv(name.c_str());
            }
        }
    }
    ScopedEnvironment(const ScopedEnvironment&) = delete;
    ScopedEnvironment& operator=(const ScopedEnvironment&) = delete;

    void set(const std::string& name, const std::string& value) {
        save(name);
        ::setenv(name.c_str(), value.c_str(), 1);
    }
    void unset(const std::string& name) {
        save(name);
        ::unsetenv(name.c_str());
    }

private:
    void save(const std::string& name) {
        if (saved_.contains(name)) return;
        const char* value = ::getenv(name.c_str());
        saved_[name] = value ? std::optional<std::string>(value) : std::nullopt;
    }

    std::map<std::string, std::optional<std::string>> saved_;
};

}  // namespace tarvo::test
