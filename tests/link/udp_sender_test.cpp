// Jig blocks as UDP datagrams, received on a loopback socket at port 10001.
#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <vector>

#include "link_helpers.h"
#include "robocomm/link.h"
#include "support/output_capture.h"

namespace {

class UdpSenderTest : public ::testing::Test {
protected:
    void SetUp() override {
        std::memcpy(savedAddress_, senderIP, sizeof senderIP);
        std::strcpy(senderIP, "127.0.0.1");
        receiver_ = socket(AF_INET, SOCK_DGRAM, 0);
        ASSERT_GE(receiver_, 0);
        const int buffer = 1 << 20;
        setsockopt(receiver_, SOL_SOCKET, SO_RCVBUF, &buffer, sizeof buffer);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(10001);
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        ASSERT_EQ(bind(receiver_, reinterpret_cast<sockaddr*>(&address), sizeof address), 0) << strerror(errno);
    }

    void TearDown() override {
        std::memcpy(senderIP, savedAddress_, sizeof senderIP);
        if (receiver_ >= 0) close(receiver_);
        // The sender leaves its closed descriptor in sockfd.
        sockfd = -1;
    }

    // Next datagram, or nothing after the timeout.
    std::string receive(int timeoutMs = 1000) {
        pollfd p{receiver_, POLLIN, 0};
        if (poll(&p, 1, timeoutMs) <= 0) return {};
        std::string datagram(65536, '\0');
        const ssize_t n = recv(receiver_, datagram.data(), datagram.size(), 0);
        datagram.resize(n > 0 ? static_cast<size_t>(n) : 0);
        return datagram;
    }

    int receiver_ = -1;

private:
    char savedAddress_[sizeof senderIP] = {};
};

TEST_F(UdpSenderTest, BlocksAreChunkedIntoDatagrams) {
    struct Case {
        size_t size;
        std::vector<size_t> datagrams;
    };
    const Case cases[] = {{0, {}}, {32768, {32778}}, {32769, {32778, 11}}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.size);
        const std::string block = linktest::pattern(c.size);
        sendLargeData(std::vector<unsigned char>(block.begin(), block.end()), 45, static_cast<char>(200));
        std::string received;
        for (size_t k = 0; k < c.datagrams.size(); ++k) {
            const std::string datagram = receive();
            ASSERT_EQ(datagram.size(), c.datagrams[k]);
            const unsigned char header[] = {static_cast<unsigned char>(c.size >> 24),
                                            static_cast<unsigned char>(c.size >> 16),
                                            static_cast<unsigned char>(c.size >> 8),
                                            static_cast<unsigned char>(c.size),
                                            0,
                                            static_cast<unsigned char>(c.datagrams.size()),
                                            0,
                                            static_cast<unsigned char>(k + 1),
                                            45,
                                            200};
            EXPECT_EQ(datagram.substr(0, 10), std::string(reinterpret_cast<const char*>(header), 10));
            received += datagram.substr(10);
        }
        EXPECT_EQ(received, block);
        EXPECT_EQ(receive(100), "");
    }
}

TEST_F(UdpSenderTest, LogsEachDatagramAndLeavesItsSocketInSockfd) {
    robotest::OutputCapture capture;
    sendLargeData({'a', 'b', 'c'}, 7, static_cast<char>(200));
    const auto output = capture.finish();

    EXPECT_EQ(output.out,
              "sendLargeData #1 \nsendLargeData #2 \nsendLargeData #3 \n"
              "Sending part 1 of 1\nStart index: 0, End index: 3\nPacket length: 13\nIdentifier: 7\nObject: 200\n"
              "Large data sent to server\n");
    EXPECT_EQ(output.err, "");
    EXPECT_EQ(receive(), std::string("\x00\x00\x00\x03\x00\x01\x00\x01\x07\xc8"
                                     "abc",
                                     13));
    // sockfd now names the datagram socket, already closed.
    EXPECT_GT(sockfd, 0);
    EXPECT_EQ(fcntl(sockfd, F_GETFD), -1);
}

}  // namespace
