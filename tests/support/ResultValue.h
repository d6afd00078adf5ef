#pragma once

#include <string>
#include <utility>

#include <gtest/gtest.h>

#include "tarvo/platform/Result.h"

namespace tarvo::test {

/// The value of a Result, or an empty T with the Error's message recorded as a failure of
/// the running test (the caller's own assertion on the value then stops it).
template <typename T>
T valueOrFailure(Result<T> result) {
    if (result) return std::move(result).value();
    ADD_FAILURE() << result.error().message;
    return T{};
}

/// The Error's message of a Result that must be a failure; a success is recorded as a
/// failure of the running test (and "" comes back).
template <typename T>
std::string errorOrFailure(const Result<T>& result) {
    if (!result) return result.error().message;
    ADD_FAILURE() << "succeeded where a failure was expected";
    return {};
}

}  // namespace tarvo::test
