#include "client/progress.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>

namespace robocomm::client {

namespace {

constexpr int kWidth = 30;

}  // namespace

ProgressBar::ProgressBar(std::string label, bool wanted)
    : label_(std::move(label)), enabled_(wanted && isatty(STDERR_FILENO) == 1) {}

ProgressBar::~ProgressBar() { finish(); }

void ProgressBar::show(int percent, const std::string& detail) {
    if (!enabled_) return;
    percent = std::clamp(percent, 0, 100);
    const int filled = percent * kWidth / 100;
    std::string line = "\r" + label_ + " [" + std::string(filled, '#') + std::string(kWidth - filled, '.') + "] " +
                       std::to_string(percent) + "% " + detail;
    if (line == shown_) return;
    // Pad over the tail of a longer previous line.
    const size_t width = line.size();
    if (shown_.size() > width) line += std::string(shown_.size() - width, ' ');
    std::fputs(line.c_str(), stderr);
    std::fflush(stderr);
    shown_ = line.substr(0, width);
    drawn_ = true;
}

void ProgressBar::finish() {
    if (!drawn_) return;
    std::fputc('\n', stderr);
    drawn_ = false;
    shown_.clear();
}

}  // namespace robocomm::client
