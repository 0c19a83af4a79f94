// The firmware image stream (command 81, message kind 14): a header, the
// image digest and image bytes, then raw image bytes until the announced size.
#pragma once

#include <cstddef>

#include "link/reassembly.h"

namespace robocomm {

FrameOutcome handleOtaFrame(Connection& connection, const unsigned char* data, size_t length);

}  // namespace robocomm
