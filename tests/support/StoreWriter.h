#pragma once

#include <csignal>
#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include "support/RunProcess.h"

namespace tarvo::test {

/// Starts the tarvo_store_writer helper writing `mode` ("preferences" or "cities") to the
/// file, kills it (SIGKILL, as in a crash) once it has reported `atLeast` committed writes,
/// and answers the numbers of the writes it saw committed.
inline std::vector<int> writesBeforeKill(const std::string& mode, const std::filesystem::path& file, size_t atLeast) {
    ChildProcess writer(TARVO_STORE_WRITER_PATH, {mode, file.string(), "1000000"});
    waitForLines(writer, atLeast);
    writer.kill(SIGKILL);
    std::istringstream lines(writer.wait().out);
    std::vector<int> committed;
    for (int i = 0; lines >> i;) committed.push_back(i);
    return committed;
}

}  // namespace tarvo::test
