// Link options of a robot that is never there, for the console's tests
// that need a session but no robot.
#pragma once

#include <chrono>

#include "common/link_options.h"

namespace robocomm::console {

inline tools::LinkOptions unreachableRobot() {
    tools::LinkOptions options;
    options.port = 1;  // nothing listens there
    options.timeout = std::chrono::milliseconds(200);
    return options;
}

}  // namespace robocomm::console
