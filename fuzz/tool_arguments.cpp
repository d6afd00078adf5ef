// The tool's command line: the input split at NUL bytes into arguments after "tarvo". Any
// list ends with an exit status of 0, 1 or 2 (never a crash, never an escaped exception).
// The data folder is a private one; the tool's output goes to /dev/null.
#include <fcntl.h>
#include <unistd.h>

#include <cstdint>
#include <string>
#include <vector>

#include "Commands.h"
#include "FuzzSupport.h"

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    tarvo::fuzz::dataFolder();
    ::unsetenv("TARVO_GEOCODER_URL");  // no request leaves the machine
    ::setenv("TARVO_DIRECTORY", TARVO_FUZZ_CITY_DIRECTORY, 1);
    ::setenv("TZ", "UTC", 1);
    const int null = ::open("/dev/null", O_WRONLY);
    if (null >= 0) ::dup2(null, STDOUT_FILENO);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size > 512) return 0;  // longer lists only repeat what shorter ones reach
    std::vector<std::string> arguments{"tarvo"};
    std::string current;
    for (size_t i = 0; i < size; ++i) {
        if (data[i] == 0) {
            arguments.push_back(current);
            current.clear();
        } else {
            current.push_back(static_cast<char>(data[i]));
        }
    }
    if (!current.empty() || size == 0) arguments.push_back(current);
    if (arguments.size() > 24) return 0;
    std::vector<const char*> argv;
    for (const auto& argument : arguments) argv.push_back(argument.c_str());
    // Log lines and the tool's own messages go to standard error; keep them off the
    // fuzzer's report.
    tarvo::fuzz::quietLog();
    const int status = tarvo::cli::run(static_cast<int>(argv.size()), argv.data());
    TARVO_FUZZ_CHECK(status >= 0 && status <= 2, "the tool ended with an unexpected status");
    return 0;
}
