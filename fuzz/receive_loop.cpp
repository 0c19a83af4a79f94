// The receive loop on arbitrary sequences of what a client socket can do.
// Input: one byte whose low bit chooses whether frames are enciphered, then
// events, each a 2-byte big-endian word:
//   up to 32778   a read of that many bytes, which follow (cut at the input's
//                 end); a read of 0 bytes is the peer closing
//   0xffff        a failing read (connection reset)
//   other         as many empty polls as the word's low 7 bits say; 52 in a
//                 row drop the message under way
// A close or a failing read ends the client, and the next one is served from
// the rest of the input. The end of the input closes the connection.
#include <sys/types.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "link/frame.h"
#include "link/receive_loop.h"
#include "robocomm/link.h"
#include "robocomm/security.h"
#include "sandbox.h"

namespace {

constexpr unsigned kFailingRead = 0xffff;
constexpr unsigned kSilenceMask = 0x7f;

// The client's side of the connection: what is left of the input, and the
// empty polls still to come before the next event.
struct Script {
    const uint8_t* at = nullptr;
    const uint8_t* end = nullptr;
    unsigned silence = 0;
};

Script script;

// Takes the next event of `client`: what a read returns there.
ssize_t takeEvent(Script& client, void* buffer, size_t size) {
    while (client.silence == 0) {
        if (client.end - client.at < 2) {
            client.at = client.end;
            return 0;
        }
        const unsigned word = static_cast<unsigned>(client.at[0]) << 8 | client.at[1];
        client.at += 2;
        if (word == kFailingRead) {
            errno = ECONNRESET;
            return -1;
        }
        if (word <= robocomm::kMaxFrame) {
            const size_t count = std::min({size_t{word}, size, static_cast<size_t>(client.end - client.at)});
            std::memcpy(buffer, client.at, count);
            client.at += count;
            return static_cast<ssize_t>(count);
        }
        client.silence = word & kSilenceMask;
    }
    --client.silence;
    errno = EAGAIN;
    return -1;
}

ssize_t scriptedRead(int, void* buffer, size_t size) { return takeEvent(script, buffer, size); }

// A read's bytes are all queued at once: the wait for a frame still arriving
// ends at its bound when a read is shorter than its header announces.
ssize_t scriptedPeek(int, void* buffer, size_t size) {
    Script ahead = script;
    return takeEvent(ahead, buffer, size);
}

// Waits take no time here.
void noWait(int) {}
void noPause() {}

// A transfer left under way keeps its buffer, as on a live link; between
// inputs it is released so each input starts from a fresh receive thread.
void forgetTransfer() {
    std::free(packetData);
    packetData = nullptr;
    receivedBytes = 0;
    previousValue = 0;
    waitClear = 0;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    robofuzz::enterSandbox();
    if (size == 0) return 0;
    enableEnc = data[0] & 1;
    script = Script{data + 1, data + size, 0};
    const robocomm::ClientIo io{scriptedRead, scriptedPeek, noWait, noPause};
    std::vector<unsigned char> buffer(robocomm::kMaxFrame);
    // One client after the other until the input is used up, or until the
    // receive thread would end.
    bool threadRuns = true;
    while (threadRuns && script.at < script.end) threadRuns = robocomm::serveClient(buffer, io);
    forgetTransfer();
    return 0;
}
