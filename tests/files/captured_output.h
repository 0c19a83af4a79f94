// Both standard streams of one call, captured at the descriptor level.
#pragma once

#include <gtest/gtest.h>

#include <string>

namespace filestest {

struct Output {
    std::string out;
    std::string err;
};

template <typename Call>
Output captured(Call call) {
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    call();
    Output output;
    output.out = testing::internal::GetCapturedStdout();
    output.err = testing::internal::GetCapturedStderr();
    return output;
}

}  // namespace filestest
