// The library's two fatal paths (server set-up, an unopenable map-edit file)
// end the host process with status 1.
#pragma once

namespace robocomm {

// Ends the process with status 1 through exit(), so that the host's atexit
// handlers run, unless receiverThread is still joinable.
[[noreturn]] void endProcess();

}  // namespace robocomm
