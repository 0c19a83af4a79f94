// Serving one accepted client, the inner loop of the receive thread. The
// socket calls and the waits come in from the caller, so the loop can also be
// driven through scripted reads, silences and closes, without a network or a
// clock.
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <vector>

namespace robocomm {

struct ClientIo {
    // As recv: the count read, 0 when the peer closed, or -1 with errno set.
    ssize_t (*read)(int fd, void* buffer, size_t size);
    // As read, but the bytes stay queued for the next read.
    ssize_t (*peek)(int fd, void* buffer, size_t size);
    // After an empty poll: returns once the client has sent something or
    // closed, and after 100 ms at the latest.
    void (*awaitBytes)(int fd);
    // While a frame is still arriving: one short wait before looking again.
    void (*pauseBriefly)();
};

// Polls clientfd until the client leaves or the server stops, then closes
// it. False when the receive thread must end at once (the firmware buffer
// could not be allocated).
bool serveClient(std::vector<unsigned char>& buffer, const ClientIo& io);

}  // namespace robocomm
