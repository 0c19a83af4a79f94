// The robot of console tests that need no robot: nothing listens on its
// port, and every wait on it is short.
#pragma once

#include <chrono>

#include "common/link.h"

namespace robocomm::console {

inline tools::LinkOptions unreachableRobot() {
    tools::LinkOptions options;
    options.port = 1;  // nothing listens there
    options.timeout = std::chrono::milliseconds(200);
    return options;
}

}  // namespace robocomm::console
