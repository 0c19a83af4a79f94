#include "link/process_exit.h"

#include <cstdio>
#include <cstdlib>
#include <iostream>

#include "robocomm/link.h"

namespace robocomm {

void endProcess() {
    if (!receiverThread.joinable()) std::exit(1);
    // exit() would destroy the joinable receiverThread, which terminates the
    // process (status 134) instead of ending it with status 1; the receive
    // thread itself is one of the callers. So only the standard streams are
    // flushed before leaving directly: flushing every stream would wait for
    // the lock of one that a host thread holds while blocked reading stdin.
    std::cout.flush();
    std::cerr.flush();
    std::fflush(stdout);
    std::fflush(stderr);
    std::_Exit(1);
}

}  // namespace robocomm
