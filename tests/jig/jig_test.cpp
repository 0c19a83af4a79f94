#include <arpa/inet.h>
#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <cstring>
#include <iostream>

#include "robocomm/jig.h"
#include "robocomm/link.h"
#include "support/server_test.h"
#include "support/stream_writes.h"

namespace {

using Bytes = std::vector<unsigned char>;
using JigWireTest = robotest::ServerTest;

// The table is process-wide; tests that depend on its contents start from empty.
void emptyTable() {
    for (JigData_t& slot : jigDataArray) slot = JigData_t{};
}

std::string store(int command, const Bytes& data) {
    testing::internal::CaptureStdout();
    parseJigData(command, data);
    return testing::internal::GetCapturedStdout();
}

TEST(JigTable, BlockIsStoredThenHandedOutOnce) {
    emptyTable();
    EXPECT_EQ(store(29, {1, 2, 3}), "Data stored for command 29\n");
    Bytes out = {9, 9};
    EXPECT_TRUE(API_RecvJigData(29, out));
    EXPECT_EQ(out, (Bytes{1, 2, 3}));
    EXPECT_EQ(jigDataArray[29].length, 0);
    // A free slot hands out nothing and leaves the caller's vector alone.
    EXPECT_FALSE(API_RecvJigData(29, out));
    EXPECT_EQ(out, (Bytes{1, 2, 3}));
}

TEST(JigTable, OutOfRangeCommandsAreReportedAndChangeNothing) {
    emptyTable();
    for (const int command : {30, -1}) {
        const std::string invalid = "Invalid command: " + std::to_string(command) + "\n";
        testing::internal::CaptureStderr();
        EXPECT_EQ(store(command, {1}), "");
        EXPECT_EQ(testing::internal::GetCapturedStderr(), invalid);
        Bytes out = {7};
        testing::internal::CaptureStderr();
        EXPECT_FALSE(API_RecvJigData(command, out));
        EXPECT_EQ(testing::internal::GetCapturedStderr(), invalid);
        EXPECT_EQ(out, Bytes{7});
    }
    for (const JigData_t& slot : jigDataArray) EXPECT_EQ(slot.length, 0);
}

TEST(JigTable, SecondStoreOverwritesAndAnEmptyBlockIsOneZeroByte) {
    emptyTable();
    store(5, {1, 1});
    EXPECT_EQ(store(5, {}), "Command 5 already has data. Overwriting existing data.\nData stored for command 5\n");
    Bytes out;
    EXPECT_TRUE(API_RecvJigData(5, out));
    EXPECT_EQ(out, Bytes{0});
}

Bytes collect(int command) {
    Bytes out;
    for (int attempt = 0; attempt < 250 && !API_RecvJigData(command, out); ++attempt)
        ::usleep(20000);
    return out;
}

// Each line reaches its stream in one write, so the receive thread's lines
// cannot cut into a host thread's.
TEST(JigTable, EveryLineIsOneWrite) {
    emptyTable();
    robotest::StreamWrites streams;
    parseJigData(3, {1});
    parseJigData(3, {});
    parseJigData(30, {1});
    Bytes out;
    API_RecvJigData(-1, out);
    EXPECT_EQ(streams.writes().size(), 5u);
    EXPECT_EQ(streams.brokenLines(), std::vector<std::string>());
}

TEST_F(JigWireTest, FramesOfKind200ReachTheirSlot) {
    emptyTable();
    client().sendFrame(7, 200, std::string("\x01\x00\xfe", 3));
    client().sendFrame(29, 200, "jig");
    EXPECT_EQ(collect(7), (Bytes{0x01, 0x00, 0xfe}));
    EXPECT_EQ(collect(29), (Bytes{'j', 'i', 'g'}));
    // Reassembling jig frames leaves standard output in hexadecimal on purpose.
    std::cout << std::dec;
}

TEST(JigSend, BlocksGoOutAsChunkedDatagramsOfKind200) {
    std::strcpy(senderIP, "127.0.0.1");
    const int jig = ::socket(AF_INET, SOCK_DGRAM, 0);
    sockaddr_in addr{};
    addr.sin_family = AF_INET;
    addr.sin_port = htons(10001);
    addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    ASSERT_EQ(::bind(jig, reinterpret_cast<sockaddr*>(&addr), sizeof addr), 0) << std::strerror(errno);
    // 45 is outside the table, but sending does not check the number.
    for (const char command : {12, 45}) {
        API_SendJigData(command, {0xaa, 0x00, 0x55});
        char datagram[64];
        pollfd ready{jig, POLLIN, 0};
        const ssize_t received = ::poll(&ready, 1, 3000) == 1 ? ::recv(jig, datagram, sizeof datagram, 0) : 0;
        ASSERT_EQ(received, 13);
        // Size 3, one part, part 1, the command, kind 200; then the block.
        EXPECT_EQ(std::string(datagram, 13),
                  std::string("\0\0\0\3\0\1\0\1", 8) + command + std::string("\xc8\xaa\0\x55", 4));
    }
    ::close(jig);
}

// After a send, sockfd still names the closed datagram socket; by the time the
// server stops, the host may have opened something else under that number.
TEST_F(JigWireTest, StopLeavesAloneWhatTheHostOpenedUnderTheDatagramNumber) {
    std::strcpy(senderIP, "127.0.0.1");
    testing::internal::CaptureStdout();
    API_SendJigData(3, {1});
    testing::internal::GetCapturedStdout();
    const int stale = sockfd;
    const int hostFile = ::open("/dev/null", O_RDONLY);
    ASSERT_EQ(::dup2(hostFile, stale), stale);
    stop_server();
    EXPECT_NE(::fcntl(stale, F_GETFD), -1) << "the host's descriptor was closed";
    ::close(stale);
    ::close(hostFile);
}

}  // namespace
