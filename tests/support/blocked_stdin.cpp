#include "support/blocked_stdin.h"

#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <thread>

namespace robotest {

void blockStdinReader() {
    constexpr unsigned kDeadlineSeconds = 10;
    alarm(kDeadlineSeconds);
    int never[2];
    if (pipe(never) != 0) return;
    dup2(never[0], STDIN_FILENO);
    std::thread([] {
        char line[16];
        std::fgets(line, sizeof line, stdin);
    }).detach();
    // Time to reach the read and take the lock.
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
}

}  // namespace robotest
