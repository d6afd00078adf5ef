#include "support/RunProcess.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <fstream>
#include <sstream>
#include <stdexcept>

extern char** environ;

namespace tarvo::test {

namespace {

std::string slurp(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::stringstream s;
    s << in.rdbuf();
    return s.str();
}

std::string temporaryFile(int& fd) {
    std::string path = "/tmp/tarvo-test-XXXXXX";
    fd = mkstemp(path.data());
    if (fd < 0) throw std::runtime_error("mkstemp failed");
    return path;
}

}  // namespace

ChildProcess::ChildProcess(const std::string& program, const std::vector<std::string>& args,
                           const std::vector<std::string>& extraEnv) {
    int outFd = -1;
    int errFd = -1;
    outPath_ = temporaryFile(outFd);
    errPath_ = temporaryFile(errFd);

    std::vector<std::string> argStorage{program};
    argStorage.insert(argStorage.end(), args.begin(), args.end());
    std::vector<char*> argv;
    for (auto& a : argStorage) argv.push_back(a.data());
    argv.push_back(nullptr);

    // The inherited environment without the names `extraEnv` sets, then `extraEnv`.
    std::vector<std::string> envStorage;
    for (char** e = environ; *e; ++e) {
        const std::string entry(*e);
        const auto sameName = [&](const std::string& extra) {
            const std::string name = extra.substr(0, extra.find('='));
            return entry.starts_with(name + "=");
        };
        if (std::none_of(extraEnv.begin(), extraEnv.end(), sameName)) envStorage.push_back(entry);
    }
    for (const auto& extra : extraEnv) {
        if (extra.find('=') != std::string::npos) envStorage.push_back(extra);
    }
    std::vector<char*> envp;
    for (auto& e : envStorage) envp.push_back(e.data());
    envp.push_back(nullptr);

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, outFd, STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, errFd, STDERR_FILENO);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    const int rc = posix_spawn(&pid_, program.c_str(), &actions, nullptr, argv.data(), envp.data());
    posix_spawn_file_actions_destroy(&actions);
    close(outFd);
    close(errFd);
    if (rc != 0) {
        pid_ = -1;
        finished_ = true;
        result_.err = "cannot start " + program;
    }
}

ChildProcess::~ChildProcess() {
    wait();
    std::remove(outPath_.c_str());
    std::remove(errPath_.c_str());
}

ProcessResult ChildProcess::wait() {
    if (!finished_) {
        int status = 0;
        pid_t done = -1;
        while ((done = ::waitpid(pid_, &status, 0)) < 0 && errno == EINTR) {
        }
        result_.status = done == pid_ && WIFEXITED(status) ? WEXITSTATUS(status) : -1;
        result_.out = slurp(outPath_);
        result_.err = slurp(errPath_);
        finished_ = true;
    }
    return result_;
}

ProcessResult runProcess(const std::string& program, const std::vector<std::string>& args,
                         const std::vector<std::string>& extraEnv) {
    return ChildProcess(program, args, extraEnv).wait();
}

ProcessResult runTarvo(const std::vector<std::string>& args, const std::vector<std::string>& extraEnv) {
    return runProcess(TARVO_TOOL_PATH, args, extraEnv);
}

}  // namespace tarvo::test
