#include "support/fake_clock.h"

#include <sys/time.h>

#include <mutex>

namespace {

// The library sets the clock on its receive thread while tests read on theirs.
std::mutex clockMutex;
int callCount = 0;
robotest::ClockCall lastCall{0, 0};
bool failNext = false;

}  // namespace

extern "C" int settimeofday(const struct timeval* tv, const struct timezone*) noexcept {
    std::lock_guard<std::mutex> lock(clockMutex);
    ++callCount;
    lastCall = {static_cast<long>(tv->tv_sec), static_cast<long>(tv->tv_usec)};
    if (!failNext) return 0;
    failNext = false;
    return -1;
}

namespace robotest {

int clockSetCount() {
    std::lock_guard<std::mutex> lock(clockMutex);
    return callCount;
}

ClockCall lastClockSet() {
    std::lock_guard<std::mutex> lock(clockMutex);
    return lastCall;
}

void failNextClockSet() {
    std::lock_guard<std::mutex> lock(clockMutex);
    failNext = true;
}

void resetFakeClock() {
    std::lock_guard<std::mutex> lock(clockMutex);
    callCount = 0;
    lastCall = {0, 0};
    failNext = false;
}

}  // namespace robotest
