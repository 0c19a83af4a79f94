#include "support/server_test.h"

#include <chrono>
#include <csignal>
#include <iostream>
#include <thread>

#include "robocomm/link.h"
#include "robocomm/security.h"

namespace robotest {

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
