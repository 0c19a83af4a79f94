#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <chrono>
#include <cstring>
#include <iostream>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "link/frame.h"
#include "robocomm/jig.h"
#include "robocomm/link.h"
#include "support/server_test.h"

namespace {

using Bytes = std::vector<unsigned char>;

void emptyJigTable() {
    for (JigData_t& slot : jigDataArray) slot = JigData_t{};
}

// Blocks the client sends as frames of kind 200 wait for the host.
class JigReceiveTest : public robotest::ServerTest {
protected:
    void SetUp() override {
        emptyJigTable();
        robotest::ServerTest::SetUp();
    }
    void TearDown() override {
        robotest::ServerTest::TearDown();
        emptyJigTable();
        // Jig traffic leaves standard output in hexadecimal on purpose.
        std::cout << std::dec;
    }
};

std::optional<Bytes> collect(int command) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(5);
    Bytes out;
    while (std::chrono::steady_clock::now() < deadline) {
        if (API_RecvJigData(command, out)) return out;
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    return std::nullopt;
}

TEST_F(JigReceiveTest, FramesOfKind200ReachTheirSlot) {
    client().sendFrame(7, robocomm::kKindJig, std::string("\x01\x00\xfe", 3));
    client().sendFrame(29, robocomm::kKindJig, "jig");
    EXPECT_EQ(collect(7), (Bytes{0x01, 0x00, 0xfe}));
    EXPECT_EQ(collect(29), (Bytes{'j', 'i', 'g'}));
}

// The jig's side: a datagram socket on 127.0.0.1:10001.
class JigSendTest : public testing::Test {
protected:
    void SetUp() override {
        std::memcpy(savedIP_, senderIP, sizeof savedIP_);
        std::strcpy(senderIP, "127.0.0.1");
        jig_ = ::socket(AF_INET, SOCK_DGRAM, 0);
        ASSERT_GE(jig_, 0);
        sockaddr_in addr{};
        addr.sin_family = AF_INET;
        addr.sin_port = htons(10001);
        addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        ASSERT_EQ(::bind(jig_, reinterpret_cast<sockaddr*>(&addr), sizeof addr), 0) << std::strerror(errno);
    }
    void TearDown() override {
        if (jig_ >= 0) ::close(jig_);
        std::memcpy(senderIP, savedIP_, sizeof savedIP_);
        std::cout << std::dec;
    }

    std::optional<std::string> receive() {
        pollfd p{jig_, POLLIN, 0};
        if (::poll(&p, 1, 3000) != 1) return std::nullopt;
        char datagram[robocomm::kMaxFrame];
        const ssize_t n = ::recv(jig_, datagram, sizeof datagram, 0);
        if (n < 0) return std::nullopt;
        return std::string(datagram, static_cast<size_t>(n));
    }

private:
    int jig_ = -1;
    char savedIP_[16];
};

TEST_F(JigSendTest, BlocksGoOutAsChunkedDatagramsOfKind200) {
    for (const int command : {12, 45}) {
        SCOPED_TRACE(command);
        API_SendJigData(command, {0xaa, 0x00, 0x55});
        const auto datagram = receive();
        ASSERT_TRUE(datagram.has_value());
        ASSERT_EQ(datagram->size(), robocomm::kHeaderSize + 3);
        const auto header = robocomm::readHeader(reinterpret_cast<const unsigned char*>(datagram->data()));
        EXPECT_EQ(header.totalSize, 3u);
        EXPECT_EQ(header.totalParts, 1);
        EXPECT_EQ(header.partNumber, 1);
        EXPECT_EQ(header.identifier, command);
        EXPECT_EQ(header.object, robocomm::kKindJig);
        EXPECT_EQ(datagram->substr(robocomm::kHeaderSize), std::string("\xaa\x00\x55", 3));
    }
}

}  // namespace
