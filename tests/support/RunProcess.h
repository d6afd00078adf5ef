#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

namespace tarvo::test {

struct ProcessResult {
    int status = -1;  ///< exit status, or -1 when the process did not exit normally
    std::string out;
    std::string err;
};

/// A program started as a separate process (no shell) with the test's environment plus
/// `extraEnv` ("NAME=value" sets NAME, a bare "NAME" unsets it),
/// standard input from /dev/null and its output kept until it has finished.
class ChildProcess {
public:
    ChildProcess(const std::string& program, const std::vector<std::string>& args,
                 const std::vector<std::string>& extraEnv = {});
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    /// Waits for the end (once) and collects what the process wrote.
    ProcessResult wait();

private:
    std::string outPath_, errPath_;
    pid_t pid_ = -1;
    bool finished_ = false;
    ProcessResult result_;
};

/// Runs a program to its end.
ProcessResult runProcess(const std::string& program, const std::vector<std::string>& args,
                         const std::vector<std::string>& extraEnv = {});

/// Runs the built tarvo tool to its end.
ProcessResult runTarvo(const std::vector<std::string>& args, const std::vector<std::string>& extraEnv = {});

}  // namespace tarvo::test
