// A one-line progress bar on the terminal. It draws on stderr only when
// stderr is a terminal, so pipes and logs get the final summary alone.
#pragma once

#include <string>

namespace robocomm::client {

class ProgressBar {
public:
    // `wanted` false (e.g. for --json) keeps it silent everywhere.
    ProgressBar(std::string label, bool wanted);
    ~ProgressBar();
    ProgressBar(const ProgressBar&) = delete;
    ProgressBar& operator=(const ProgressBar&) = delete;

    // percent is clamped to 0..100; redraws only when something changed.
    void show(int percent, const std::string& detail = "");
    // Ends the bar's line.
    void finish();

private:
    std::string label_;
    bool enabled_;
    bool drawn_ = false;
    std::string shown_;
};

}  // namespace robocomm::client
