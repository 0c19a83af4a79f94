#include "support/fake_clock.h"

#include <sys/time.h>

#include <atomic>

namespace {

// Written by the library on its receive thread, read by tests on theirs. The
// count goes up last, so a test that saw it change reads the matching time.
std::atomic<long> lastSeconds{0};
std::atomic<long> lastMicros{0};
std::atomic<int> callCount{0};
std::atomic<bool> failNext{false};

}  // namespace

extern "C" int settimeofday(const struct timeval* tv, const struct timezone*) noexcept {
    lastSeconds = tv->tv_sec;
    lastMicros = tv->tv_usec;
    ++callCount;
    return failNext.exchange(false) ? -1 : 0;
}

namespace robotest {

int clockSetCount() { return callCount; }

ClockCall lastClockSet() { return {lastSeconds, lastMicros}; }

void failNextClockSet() { failNext = true; }

void resetFakeClock() {
    callCount = 0;
    lastSeconds = 0;
    lastMicros = 0;
    failNext = false;
}

}  // namespace robotest
