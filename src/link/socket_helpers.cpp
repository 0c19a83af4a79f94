// Small socket utilities the host may call as well as the link itself.
#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <cstdio>

#include "link/peer.h"
#include "robocomm/link.h"

int SetNonBlockingMode(int fd) {
    const int flags = fcntl(fd, F_GETFL, 0);
    return fcntl(fd, F_SETFL, flags | O_NONBLOCK);
}

namespace robocomm {

bool lookUpPeer(int fd, Peer& peer) {
    sockaddr_in address{};
    socklen_t length = sizeof address;
    if (getpeername(fd, reinterpret_cast<sockaddr*>(&address), &length) != 0) return false;
    inet_ntop(AF_INET, &address.sin_addr, peer.address, sizeof peer.address);
    peer.port = ntohs(address.sin_port);
    return true;
}

void logPeer(LogLine& log, const Peer& peer) { log << "Peer IP: " << peer.address << '\n' << "Peer Port: " << peer.port; }

}  // namespace robocomm

void print_peer_info(int fd) {
    robocomm::Peer peer{};
    if (!robocomm::lookUpPeer(fd, peer)) {
        perror("getpeername failed");
        return;
    }
    auto log = robocomm::logOut();
    robocomm::logPeer(log, peer);
}
