#pragma once

#include <gtest/gtest.h>

#include <cctype>
#include <string>

namespace testing_support {

// A test name from the `what` of a parameter: letters and digits kept, the rest turned into '_'.
template<class Param>
std::string nameOf(const ::testing::TestParamInfo<Param>& info)
{
    std::string name;
    for (const char* c = info.param.what; *c; ++c)
        name += std::isalnum(static_cast<unsigned char>(*c)) ? *c : '_';
    return name;
}

} // namespace testing_support
