#include "support/output_capture.h"

#include <gtest/gtest.h>

#include <sstream>

namespace robotest {

OutputCapture::OutputCapture() {
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
}

OutputCapture::~OutputCapture() {
    if (active_) finish();
}

CapturedOutput OutputCapture::finish() {
    active_ = false;
    // A braced list is evaluated left to right: standard output first.
    return {testing::internal::GetCapturedStdout(), testing::internal::GetCapturedStderr()};
}

std::string withoutPollLines(const std::string& text) {
    std::istringstream lines(text);
    std::string line;
    std::string kept;
    while (std::getline(lines, line))
        if (line != "Wait ... ") kept += line + '\n';
    return kept;
}

}  // namespace robotest
