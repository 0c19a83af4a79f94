// The connected peer's address, as the senders log it before every packet.
#pragma once

#include <netinet/in.h>

#include "link/log_lines.h"

namespace robocomm {

struct Peer {
    char address[INET_ADDRSTRLEN];
    uint16_t port;
};

// getpeername on `fd`; false, with errno telling why, when it fails.
bool lookUpPeer(int fd, Peer& peer);
// The "Peer IP: " and "Peer Port: " lines, the last without its line end.
void logPeer(LogLine& log, const Peer& peer);

}  // namespace robocomm
