// Turning the frames of one connection into whole messages: JSON commands for
// the parser, jig blocks for the jig table, and the firmware image stream.
// Free of sockets, so the receive loop, tests and fuzzing share one entry.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <unordered_map>

#include "link/frame.h"

namespace robocomm {

// What a connection has collected of the message under way. A fresh value
// is the state of a newly accepted client.
struct Connection {
    // 0 while no message is under way; otherwise later frames carry no
    // header that is read (the firmware stream depends on this).
    uint32_t expectedParts = 0;
    uint16_t lastPart = 0;
    uint64_t expectedSize = 0;
    std::unordered_map<int, std::string> parts;
    std::array<unsigned char, kDigestSize> otaDigest{};
    // Bytes allocated at packetData for the firmware image under way.
    uint64_t otaCapacity = 0;

    // Drops the partial message and its counters.
    void forgetMessage();
};

enum class FrameOutcome {
    Handled,
    // The firmware buffer could not be allocated: the receive thread ends.
    OutOfMemory,
};

// Handles one read of `length` bytes from the client as one frame.
// Exceptions of the parser pass through to the caller.
FrameOutcome handleFrame(Connection& connection, const unsigned char* data, size_t length);

}  // namespace robocomm
