#pragma once

// One way for the tool tests to run `tarvo`: a fresh data folder per test, the argument lists
// they share, a run whose JSON answer is read back, and a refusal checked in one call.
#include <algorithm>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "support/DataFolder.h"
#include "support/RunProcess.h"

namespace tarvo::test {

using json = nlohmann::json;
using Args = std::vector<std::string>;
using ::testing::HasSubstr;
using ::testing::Not;

/// Makkah under the Umm al-Qura method, the place most tool tests ask about.
inline const Args kMakkah = {"--lat", "21.4225", "--lon", "39.8262", "--tz", "Asia/Riyadh", "--method", "4"};

/// `head` followed by `tail`.
inline Args with(Args head, const Args& tail) {
    head.insert(head.end(), tail.begin(), tail.end());
    return head;
}

/// Runs the built tarvo tool to its end.
inline ProcessResult runTarvo(const Args& args, const Args& env = {}) { return runProcess(TARVO_TOOL_PATH, args, env); }

/// Runs the tool, expecting `status` (its standard error is the message otherwise), and reads
/// its standard output as JSON: null when there is none, a discarded value when it is not JSON
/// (so that no comparison with it holds).
inline json jsonOf(const Args& args, const Args& env = {}, int status = 0) {
    const ProcessResult run = runTarvo(args, env);
    EXPECT_EQ(run.status, status) << run.err;
    return run.out.empty() ? json() : json::parse(run.out, nullptr, false);
}

/// Runs the tool expecting success; what it wrote to standard output.
inline std::string outputOf(const Args& args, const Args& env = {}) {
    const ProcessResult run = runTarvo(args, env);
    EXPECT_EQ(run.status, 0) << run.err;
    return run.out;
}

/// Whether `run` ended with `status`, nothing on standard output and one "tarvo: " line on
/// standard error that contains `says`.
inline ::testing::AssertionResult failedWith(int status, const ProcessResult& run, const std::string& says = "") {
    if (run.status == status && run.out.empty() && run.err.starts_with("tarvo: ") &&
        std::count(run.err.begin(), run.err.end(), '\n') == 1 && run.err.ends_with('\n') &&
        run.err.find(says) != std::string::npos) {
        return ::testing::AssertionSuccess();
    }
    return ::testing::AssertionFailure() << "status " << run.status << ", out: " << run.out << ", err: " << run.err
                                         << "(wanted '" << says << "')";
}

/// Whether the tool refuses `args` that way.
inline ::testing::AssertionResult refuses(int status, const Args& args, const std::string& says = "",
                                          const Args& env = {}) {
    auto result = failedWith(status, runTarvo(args, env), says);
    if (!result) {
        result << " from tarvo";
        for (const auto& arg : args) result << " " << arg;
    }
    return result;
}

/// A tool test in a fresh data folder of its own, with the environment put back afterwards.
class ToolTest : public ::testing::Test {
protected:
    ScopedDataFolder folder_;
    ScopedEnvironment environment_;
};

}  // namespace tarvo::test
