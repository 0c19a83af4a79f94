// For death tests of the fatal paths: a host thread that sits in a read of
// stdin holds the stream's lock for as long as it waits.
#pragma once

namespace robotest {

// Points stdin at a pipe that never gets data, starts a thread blocked in
// fgets on it, and arms an alarm so that a process that hangs instead of
// ending is killed by SIGALRM and the death test fails.
void blockStdinReader();

}  // namespace robotest
