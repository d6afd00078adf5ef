#pragma once

// One way for the tool tests to run `tarvo`: a fresh data folder per test, the argument lists
// they share, and a run whose JSON answer is read back.
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "support/DataFolder.h"
#include "support/RunProcess.h"

namespace tarvo::test {

using json = nlohmann::json;
using Args = std::vector<std::string>;

/// Makkah under the Umm al-Qura method, the place most tool tests ask about.
inline const Args kMakkah = {"--lat", "21.4225", "--lon", "39.8262", "--tz", "Asia/Riyadh", "--method", "4"};

/// `head` followed by `tail`.
inline Args with(Args head, const Args& tail) {
    head.insert(head.end(), tail.begin(), tail.end());
    return head;
}

/// Runs the tool, expecting `status` (its standard error is the message otherwise), and reads
/// its standard output as JSON: null when there is none, a discarded value when it is not JSON
/// (so that no comparison with it holds).
inline json jsonOf(const Args& args, const Args& env = {}, int status = 0) {
    const ProcessResult run = runTarvo(args, env);
    EXPECT_EQ(run.status, status) << run.err;
    return run.out.empty() ? json() : json::parse(run.out, nullptr, false);
}

/// A tool test in a fresh data folder of its own, with the environment put back afterwards.
class ToolTest : public ::testing::Test {
protected:
    ScopedDataFolder folder_;
    ScopedEnvironment environment_;
};

}  // namespace tarvo::test
