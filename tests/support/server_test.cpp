#include "support/server_test.h"

#include <sys/socket.h>

#include <chrono>
#include <csignal>
#include <iostream>
#include <thread>

#include "robocomm/link.h"
#include "robocomm/security.h"

namespace robotest {

namespace {

bool keepaliveOn(int fd) {
    int on = 0;
    socklen_t length = sizeof on;
    return getsockopt(fd, SOL_SOCKET, SO_KEEPALIVE, &on, &length) == 0 && on == 1;
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
    // A fresh listening socket has only our client to accept, so the first
    // descriptor the server stores is our connection.
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(5);
    while (clientfd <= 0 && std::chrono::steady_clock::now() < deadline)
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    ASSERT_GT(clientfd, 0) << "the server did not accept the client";
    // The receive thread announces the client ("Client connected") before it
    // turns keepalive on: once that is on, the line is out and cannot land in
    // what a test captures.
    while (!keepaliveOn(clientfd) && std::chrono::steady_clock::now() < deadline)
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    ASSERT_TRUE(keepaliveOn(clientfd)) << "the server did not take up the client";
}

void ServerTest::TearDown() {
    if (client_) client_->close();
    stop_server();
    // A jig message switches standard output to hexadecimal for good; the
    // next test starts in decimal. Only now, with the receive thread gone,
    // can the stream's flags change without racing its log lines.
    std::cout << std::dec;
}

LinkClient& ServerTest::client() { return *client_; }

}  // namespace robotest
