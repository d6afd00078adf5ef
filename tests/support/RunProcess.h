#pragma once

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <thread>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/DataFolder.h"

extern char** environ;

namespace tarvo::test {

struct ProcessResult {
    int status = -1;  ///< exit status, or -1 when the process did not exit normally
    std::string out;
    std::string err;
};

/// A program started as a separate process (no shell) with the test's environment changed
/// by `env` ("NAME=value" sets, a bare "NAME" unsets), standard input from /dev/null.
class ChildProcess {
public:
    ChildProcess(const std::string& program, std::vector<std::string> args, const std::vector<std::string>& env = {}) {
        args.insert(args.begin(), program);
        std::vector<std::string> vars;
        for (char** e = environ; *e; ++e) {
            const std::string entry(*e);
            const auto named = [&](const std::string& x) { return entry.starts_with(x.substr(0, x.find('=')) + "="); };
            if (std::none_of(env.begin(), env.end(), named)) vars.push_back(entry);
        }
        std::copy_if(env.begin(), env.end(), std::back_inserter(vars), [](auto& x) { return x.find('=') != x.npos; });
        std::vector<char*> argv;
        std::vector<char*> envp;
        for (auto& a : args) argv.push_back(a.data());
        for (auto& v : vars) envp.push_back(v.data());
        argv.push_back(nullptr);
        envp.push_back(nullptr);
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
        posix_spawn_file_actions_addopen(&actions, 1, (output_ / "out").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
        posix_spawn_file_actions_addopen(&actions, 2, (output_ / "err").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
        if (posix_spawn(&pid_, program.c_str(), &actions, nullptr, argv.data(), envp.data()) != 0) {
            pid_ = -1;
            result_.err = "cannot start " + program;
        }
        posix_spawn_file_actions_destroy(&actions);
    }
    ~ChildProcess() { wait(); }
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    /// What the process has written to standard output so far.
    std::string outputSoFar() const { return readBytes(output_ / "out"); }
    /// Sends a signal (SIGKILL: the process dies where it stands, as in a crash).
    void kill(int signal) {
        if (pid_ > 0) ::kill(pid_, signal);
    }
    /// Waits for the end (once) and collects what the process wrote.
    ProcessResult wait() {
        if (pid_ > 0) {
            int status = 0;
            pid_t done = -1;
            while ((done = ::waitpid(pid_, &status, 0)) < 0 && errno == EINTR) {
            }
            const int code = done == pid_ && WIFEXITED(status) ? WEXITSTATUS(status) : -1;
            result_ = {code, readBytes(output_ / "out"), readBytes(output_ / "err")};
            pid_ = -1;
        }
        return result_;
    }

private:
    TempFolder output_;
    pid_t pid_ = -1;
    ProcessResult result_;
};

inline ProcessResult runProcess(const std::string& program, const std::vector<std::string>& args,
                                const std::vector<std::string>& env = {}) {
    return ChildProcess(program, args, env).wait();
}

/// Waits until the process has written at least `lines` lines to standard output (or
/// `deadline` passed); the output so far.
inline std::string waitForLines(const ChildProcess& process, size_t lines,
                                std::chrono::seconds deadline = std::chrono::seconds(60)) {
    const auto end = std::chrono::steady_clock::now() + deadline;
    std::string out = process.outputSoFar();
    while (static_cast<size_t>(std::count(out.begin(), out.end(), '\n')) < lines &&
           std::chrono::steady_clock::now() < end) {
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
        out = process.outputSoFar();
    }
    return out;
}

}  // namespace tarvo::test
