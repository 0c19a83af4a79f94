// Every test binary defines settimeofday itself, so the library's clock
// command lands here instead of on the machine's clock.
#pragma once

namespace robotest {

struct ClockCall {
    long seconds;
    long micros;
};

int clockSetCount();
ClockCall lastClockSet();
// The next call returns -1, as it does without the privilege to set the clock.
void failNextClockSet();
void resetFakeClock();

}  // namespace robotest
