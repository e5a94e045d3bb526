#pragma once

#include <gtest/gtest.h>

#include <cctype>
#include <ostream>
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

// A case with a `what` prints as that text, so that test lists and failure messages name the case instead of
// dumping its bytes. A test file makes it visible to its cases with `using testing_support::PrintTo;` in their
// namespace.
template<class Param>

requires requires(const Param& param)
{
    std::string(param.what);
}

void PrintTo(const Param& param, std::ostream* out)
{
    *out << param.what;
}

} // namespace testing_support
