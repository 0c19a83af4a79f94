// The two streamed transfers, free of any presentation: a firmware image to
// the robot (command 81) and the log bundle from it (command 26).
#pragma once

#include <cstddef>
#include <functional>
#include <string>

#include "common/link.h"

namespace robocomm::tools {

struct FirmwareProgress {
    size_t sent = 0;  // image bytes handed to the connection
    size_t total = 0;
    // The robot's own reports: its last percentage, and whether it said it
    // holds the whole image.
    int robotPercent = 0;
    bool robotReceived = false;
};

// Streams the image and waits for the robot's verdict: true when the robot
// accepted it. Calls `observe` after each slice sent and each robot report.
bool sendFirmware(Link& link, const std::string& image, const std::function<void(const FirmwareProgress&)>& observe);

// Asks for the log bundle, checks it against its digest and returns the
// archive. Calls `observe` with the bytes received so far and the total.
std::string fetchLogBundle(Link& link, const std::function<void(size_t got, size_t total)>& observe);

}  // namespace robocomm::tools
