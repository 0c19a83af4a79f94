#include "support/server_test.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <chrono>
#include <csignal>
#include <thread>

#include "robocomm/link.h"
#include "robocomm/security.h"

namespace robotest {

namespace {

constexpr auto kAcceptPatience = std::chrono::seconds(5);

uint16_t peerPort(int fd) {
    sockaddr_in addr{};
    socklen_t len = sizeof addr;
    if (fd <= 0 || ::getpeername(fd, reinterpret_cast<sockaddr*>(&addr), &len) != 0) return 0;
    return ntohs(addr.sin_port);
}

// The server has accepted our connection once clientfd names a socket whose
// peer is our client's end.
bool waitForAccept(const LinkClient& client) {
    const auto deadline = std::chrono::steady_clock::now() + kAcceptPatience;
    while (std::chrono::steady_clock::now() < deadline) {
        if (client.localPort() != 0 && peerPort(clientfd) == client.localPort()) return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return false;
}

}  // namespace

void ServerTest::SetUp() {
    // The library sends without MSG_NOSIGNAL: a client that leaves while an
    // answer is under way must give "send failed", not end the test runner.
    std::signal(SIGPIPE, SIG_IGN);
    enableEnc = 1;
    // A descriptor left from an earlier test must not pass for our connection.
    clientfd = 0;
    start_server();
    client_ = std::make_unique<LinkClient>();
    ASSERT_TRUE(client_->connected()) << "no server on 127.0.0.1:10001";
    ASSERT_TRUE(waitForAccept(*client_)) << "the server did not accept the client";
}

void ServerTest::TearDown() {
    if (client_) client_->close();
    stop_server();
}

LinkClient& ServerTest::client() { return *client_; }

}  // namespace robotest
