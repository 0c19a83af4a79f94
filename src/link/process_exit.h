// The library's two fatal paths (server set-up, an unopenable map-edit file)
// end the host process with status 1.
#pragma once

namespace robocomm {

// exit() would run the destructor of a still-joinable receiverThread, which
// terminates the process (status 134) instead of ending it with status 1, and
// the receive thread itself is one of the callers. So this flushes what exit()
// would have flushed and leaves directly.
[[noreturn]] void endProcess();

}  // namespace robocomm
