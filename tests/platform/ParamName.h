#pragma once

#include <string>

#include <gtest/gtest.h>

namespace tarvo::test {

/// Names each instance of a parameterised test after the `name` field of its parameter.
struct ParamName {
    template <class Param>
    std::string operator()(const ::testing::TestParamInfo<Param>& info) const {
        return std::string(info.param.name);
    }
};

}  // namespace tarvo::test
