#pragma once

#include <string>
#include <vector>

namespace tarvo::test {

struct ProcessResult {
    int status = -1;  ///< exit status, or -1 when the process did not exit normally
    std::string out;
    std::string err;
};

/// Runs a program with arguments (no shell), optional extra environment ("NAME=value"),
/// and collects its exit status, standard output and standard error.
ProcessResult runProcess(const std::string& program, const std::vector<std::string>& args,
                         const std::vector<std::string>& extraEnv = {});

/// Runs the built tarvo tool.
ProcessResult runTarvo(const std::vector<std::string>& args, const std::vector<std::string>& extraEnv = {});

}  // namespace tarvo::test
