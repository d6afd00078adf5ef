#pragma once

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>

#include <cerrno>
#include <stdexcept>
#include <string>
#include <vector>

#include "platform/TempFolder.h"

extern char** environ;

namespace tarvo::test {

/// A program started as a separate process with the test's environment, its standard
/// output and error kept in files until it has finished.
class ChildProcess {
public:
    explicit ChildProcess(const std::vector<std::string>& arguments) {
        std::vector<char*> argv;
        for (const auto& a : arguments) argv.push_back(const_cast<char*>(a.c_str()));
        argv.push_back(nullptr);
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_addopen(&actions, 1, (output_ / "out").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
        posix_spawn_file_actions_addopen(&actions, 2, (output_ / "err").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
        const int rc = posix_spawn(&pid_, argv[0], &actions, nullptr, argv.data(), environ);
        posix_spawn_file_actions_destroy(&actions);
        if (rc != 0) throw std::runtime_error("cannot start " + arguments.front());
    }
    ~ChildProcess() {
        if (!finished_) wait();
    }
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    /// Waits for the end; the exit status, or -1 when a signal ended the process.
    int wait() {
        if (!finished_) {
            int status = 0;
            pid_t done = -1;
            while ((done = ::waitpid(pid_, &status, 0)) < 0 && errno == EINTR) {
            }
            status_ = done == pid_ && WIFEXITED(status) ? WEXITSTATUS(status) : -1;
            finished_ = true;
        }
        return status_;
    }
    std::string out() const { return text(output_ / "out"); }
    std::string err() const { return text(output_ / "err"); }

private:
    static std::string text(const std::filesystem::path& file) {
        const auto bytes = TempFolder::readFile(file);
        return std::string(bytes.begin(), bytes.end());
    }

    TempFolder output_;
    pid_t pid_ = 0;
    bool finished_ = false;
    int status_ = -1;
};

}  // namespace tarvo::test
