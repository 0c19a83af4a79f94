// Both standard streams captured at the descriptor level from construction to
// finish(), so that output of the library's own threads is caught as well.
#pragma once

#include <string>

namespace robotest {

struct CapturedOutput {
    std::string out;
    std::string err;
};

class OutputCapture {
public:
    OutputCapture();
    // Ends the capture if finish() was not called.
    ~OutputCapture();
    OutputCapture(const OutputCapture&) = delete;
    OutputCapture& operator=(const OutputCapture&) = delete;

    CapturedOutput finish();

private:
    bool active_ = true;
};

// Both streams of one call.
template <class Call>
CapturedOutput captureOutput(Call&& call) {
    OutputCapture capture;
    call();
    return capture.finish();
}

// The receive loop prints "Wait ... " on every empty poll; this drops those
// lines so that the rest can be compared exactly.
std::string withoutPollLines(const std::string& text);

}  // namespace robotest
