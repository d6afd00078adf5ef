#include "support/RunProcess.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>

extern char** environ;

namespace tarvo::test {

namespace {
std::string slurp(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::stringstream s;
    s << in.rdbuf();
    return s.str();
}
}  // namespace

ProcessResult runProcess(const std::string& program, const std::vector<std::string>& args,
                         const std::vector<std::string>& extraEnv) {
    char outPath[] = "/tmp/tarvo-test-out-XXXXXX";
    char errPath[] = "/tmp/tarvo-test-err-XXXXXX";
    const int outFd = mkstemp(outPath);
    const int errFd = mkstemp(errPath);

    std::vector<std::string> storage{program};
    storage.insert(storage.end(), args.begin(), args.end());
    std::vector<char*> argv;
    for (auto& a : storage) argv.push_back(a.data());
    argv.push_back(nullptr);

    std::vector<std::string> envStorage;
    for (char** e = environ; *e; ++e) envStorage.emplace_back(*e);
    envStorage.insert(envStorage.end(), extraEnv.begin(), extraEnv.end());
    std::vector<char*> envp;
    for (auto& e : envStorage) envp.push_back(e.data());
    envp.push_back(nullptr);

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, outFd, STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, errFd, STDERR_FILENO);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);

    ProcessResult result;
    pid_t pid = 0;
    if (posix_spawn(&pid, program.c_str(), &actions, nullptr, argv.data(), envp.data()) == 0) {
        int wstatus = 0;
        waitpid(pid, &wstatus, 0);
        result.status = WIFEXITED(wstatus) ? WEXITSTATUS(wstatus) : -1;
    }
    posix_spawn_file_actions_destroy(&actions);
    close(outFd);
    close(errFd);
    result.out = slurp(outPath);
    result.err = slurp(errPath);
    std::remove(outPath);
    std::remove(errPath);
    return result;
}

ProcessResult runTarvo(const std::vector<std::string>& args, const std::vector<std::string>& extraEnv) {
    return runProcess(TARVO_TOOL_PATH, args, extraEnv);
}

}  // namespace tarvo::test
