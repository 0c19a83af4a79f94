// Byte blocks to the factory jig as UDP datagrams in the chunked layout.
#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>

#include "link/log_lines.h"
#include "link/outbound.h"
#include "robocomm/link.h"

namespace {

constexpr uint16_t kJigPort = 10001;

sockaddr_in jigAddress() {
    // senderIP is writable by the host; a copy with a guaranteed terminator
    // keeps inet_addr inside the buffer even if all 16 bytes were filled.
    char address[sizeof senderIP + 1] = {};
    std::memcpy(address, senderIP, sizeof senderIP);
    sockaddr_in jig{};
    jig.sin_family = AF_INET;
    jig.sin_port = htons(kJigPort);
    jig.sin_addr.s_addr = inet_addr(address);
    return jig;
}

}  // namespace

// The datagram socket lives in the listening socket's global, sockfd, on
// purpose: after a call it names the closed datagram descriptor.
void sendLargeData(const std::vector<unsigned char>& data, char identifier, char object) {
    robocomm::logOut() << "sendLargeData #1 ";
    sockfd = socket(AF_INET, SOCK_DGRAM, 0);
    if (sockfd < 0) {
        perror("socket creation failed");
        return;
    }
    robocomm::logOut() << "sendLargeData #2 ";
    const int reuse = 1;
    if (setsockopt(sockfd, SOL_SOCKET, SO_REUSEADDR, &reuse, sizeof reuse) < 0) {
        perror("setsockopt failed");
        close(sockfd);
        return;
    }
    robocomm::logOut() << "sendLargeData #3 ";
    const sockaddr_in jig = jigAddress();

    const size_t parts = robocomm::chunkCount(data.size());
    const auto frame = robocomm::chunkFrameBuffer(data.size());
    for (size_t part = 1; part <= parts; ++part) {
        robocomm::fillChunkFrame(frame.get(), data.data(), data.size(), part, parts, identifier, object);
        const robocomm::Slice slice = robocomm::chunkSlice(part, data.size());
        const long long length = slice.length() + static_cast<long long>(robocomm::kHeaderSize);
        {
            auto log = robocomm::logOut();
            robocomm::logPacket(log, {static_cast<long long>(part), static_cast<long long>(parts), slice, length,
                                      identifier, object});
        }
        if (sendto(sockfd, frame.get(), static_cast<size_t>(length), MSG_CONFIRM,
                   reinterpret_cast<const sockaddr*>(&jig), sizeof jig) < 0) {
            perror("sendto failed");
            close(sockfd);
            return;
        }
        robocomm::pacePacket();
    }
    close(sockfd);
    robocomm::logOut() << "Large data sent to server";
}
