// Keeps what the library does to its surroundings inside the fuzzing process
// and reports exceptions the way the receive loop does.
#pragma once

#include <functional>

namespace robofuzz {

// Once per process: the map-edit file moves into a temporary folder (removed
// at exit), the key is derived and no client is connected, so answers given
// on the receive thread go nowhere. The clock is never set: this support also
// defines settimeofday for the whole binary.
void enterSandbox();

// Runs one receive pass, catching and printing its exceptions as the loop
// does, so that only real faults end a run.
void runReceivePass(const std::function<void()>& pass);

}  // namespace robofuzz
