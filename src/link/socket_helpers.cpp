// Small socket utilities the host may call as well as the link itself.
#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <cstdio>

#include "link/log_lines.h"
#include "robocomm/link.h"

int SetNonBlockingMode(int fd) {
    const int flags = fcntl(fd, F_GETFL, 0);
    return fcntl(fd, F_SETFL, flags | O_NONBLOCK);
}

void print_peer_info(int fd) {
    sockaddr_in peer{};
    socklen_t length = sizeof peer;
    if (getpeername(fd, reinterpret_cast<sockaddr*>(&peer), &length) != 0) {
        perror("getpeername failed");
        return;
    }
    char address[INET_ADDRSTRLEN] = {};
    inet_ntop(AF_INET, &peer.sin_addr, address, sizeof address);
    robocomm::logOut() << "Peer IP: " << address;
    robocomm::logOut() << "Peer Port: " << ntohs(peer.sin_port);
}
