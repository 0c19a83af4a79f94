// Inbound reassembly on an arbitrary sequence of reads from one connection.
// Input: one byte whose low bit chooses whether frames are enciphered, then
// reads, each a 2-byte big-endian length and that many bytes (cut at the
// input's end and at the largest read the receive loop makes).
#include <algorithm>
#include <cstdint>
#include <cstdlib>

#include "link/reassembly.h"
#include "robocomm/link.h"
#include "robocomm/security.h"
#include "sandbox.h"

namespace {

using robocomm::Connection;

// A transfer left under way keeps its buffer, as on a live link; between
// inputs it is released so each input starts from a fresh connection.
void forgetTransfer() {
    std::free(packetData);
    packetData = nullptr;
    receivedBytes = 0;
    previousValue = 0;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    robofuzz::enterSandbox();
    if (size == 0) return 0;
    enableEnc = data[0] & 1;
    Connection connection;
    size_t at = 1;
    while (at + 2 <= size) {
        const size_t announced = static_cast<size_t>(data[at]) << 8 | data[at + 1];
        at += 2;
        const size_t length = std::min({announced, size - at, robocomm::kMaxFrame});
        const uint8_t* read = data + at;
        at += length;
        bool threadEnds = false;
        robofuzz::runReceivePass([&] {
            threadEnds = robocomm::handleFrame(connection, read, length) == robocomm::FrameOutcome::OutOfMemory;
        });
        if (threadEnds) break;
    }
    forgetTransfer();
    return 0;
}
