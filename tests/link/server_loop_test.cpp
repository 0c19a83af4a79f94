// The server against a real client: starting and stopping, the fatal paths,
// what reaches the parser, what is dropped, and that the connection survives.
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <thread>
#include <vector>

#include "link_helpers.h"
#include "robocomm/intake.h"
#include "robocomm/jig.h"
#include "robocomm/link.h"
#include "robocomm/security.h"
#include "support/blocked_stdin.h"
#include "support/output_capture.h"
#include "support/server_test.h"

namespace {

using linktest::contains;
using linktest::header;
using robotest::ServerTest;

const std::string kSeparator(58, '*');

TEST(ServerLifecycle, StopWakesTheBlockedAccept) {
    robotest::OutputCapture capture;
    start_server();
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    const auto begin = std::chrono::steady_clock::now();
    stop_server();
    const auto elapsed = std::chrono::steady_clock::now() - begin;
    const auto output = capture.finish();

    EXPECT_LT(elapsed, std::chrono::seconds(1));
    EXPECT_EQ(sockfd, -1);
    EXPECT_EQ(output.out, "setsockopt start\nbind start\nlisten start\nWaiting for connection...\n");
    for (const char* line : {"receiveData start\n", "Server stopped\n", "연결 수락 실패: ", "Closing server socket\n"})
        EXPECT_TRUE(contains(output.err, line)) << output.err;
}

// The stop must reach the thread even before it has begun to run; a lost
// stop leaves stop_server waiting in join for ever (the alarm ends that).
TEST(ServerLifecycleDeathTest, StopRightAfterStartIsNotLost) {
    const auto startAndStop = [] {
        alarm(20);
        for (int round = 0; round < 20; ++round) {
            start_server();
            stop_server();
        }
        std::exit(0);
    };
    EXPECT_EXIT(startAndStop(), testing::ExitedWithCode(0), "");
}

// A descriptor that sockfd names but the server did not open (descriptor 0
// before the first start, say, a socket handed over by a service manager)
// is closed as before but never shut down: other holders keep using it.
TEST(ServerLifecycle, StopLeavesForeignSocketsWorking) {
    int pair[2];
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, pair), 0);
    const int otherHolder = dup(pair[0]);
    sockfd = pair[0];
    const auto output = robotest::captureOutput([] { stopServer(); });
    EXPECT_EQ(output.err, "Server stopped\n");
    EXPECT_EQ(sockfd, -1);
    EXPECT_EQ(write(otherHolder, "x", 1), 1);
    char byte = 0;
    EXPECT_EQ(read(pair[1], &byte, 1), 1);
    close(otherHolder);
    close(pair[1]);
}

void startTwice() {
    start_server();
    start_server();
}

// Death tests fork the test process as it is ("fast" style): re-running the
// binary, as the "threadsafe" style does, fails under an emulator. So no
// thread may run when they fork; their servers start in the child.
TEST(ServerLifecycleDeathTest, SecondStartWithoutStopEndsTheProcess) {
    EXPECT_DEATH(startTwice(), "");
}

// A listening socket of the test's own holds the port, so the receive loop
// cannot bind it; a host thread blocked reading stdin must not keep the
// process alive.
TEST(ServerLifecycleDeathTest, PortInUseEndsTheProcessWithStatusOne) {
    const int holder = socket(AF_INET, SOCK_STREAM, 0);
    const int on = 1;
    setsockopt(holder, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(10001);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    ASSERT_EQ(bind(holder, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    ASSERT_EQ(listen(holder, 1), 0);
    const auto bindTaken = [] {
        robotest::blockStdinReader();
        start_server();
        std::this_thread::sleep_for(std::chrono::seconds(30));
    };
    EXPECT_EXIT(bindTaken(), testing::ExitedWithCode(1), "바인드 실패");
    close(holder);
}

// A peer that vanishes without closing is given up within about 30 s, so the
// slot is free for the next client.
TEST_F(ServerTest, VanishedPeerIsDetectedWithinHalfAMinute) {
    // The options are set just after the accept: once a command has been
    // served, they are in place.
    EXPECT_TRUE(linktest::commandDelivered(client()));
    const auto option = [](int level, int name) {
        int value = -1;
        socklen_t length = sizeof value;
        EXPECT_EQ(getsockopt(clientfd, level, name, &value, &length), 0);
        return value;
    };
    EXPECT_EQ(option(SOL_SOCKET, SO_KEEPALIVE), 1);
    const int probesGiveUp =
        option(IPPROTO_TCP, TCP_KEEPIDLE) + option(IPPROTO_TCP, TCP_KEEPINTVL) * option(IPPROTO_TCP, TCP_KEEPCNT);
    EXPECT_LE(probesGiveUp, 35);
    EXPECT_GT(option(IPPROTO_TCP, TCP_USER_TIMEOUT), 0);
    EXPECT_LE(option(IPPROTO_TCP, TCP_USER_TIMEOUT), 35000);
}

// Once the client is gone, an answer must not reach whatever the host opens
// next under the client's old descriptor number.
TEST_F(ServerTest, AnswerAfterTheClientLeftGoesNowhere) {
    robotest::OutputCapture capture;
    client().close();
    std::this_thread::sleep_for(std::chrono::milliseconds(500));
    int pair[2];
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK, 0, pair), 0);
    sendLargeJsonData("{}", 1, 2);
    const auto output = capture.finish();
    char byte = 0;
    for (int end : pair) EXPECT_EQ(recv(end, &byte, 1, 0), -1);
    for (int end : pair) close(end);
    EXPECT_TRUE(contains(output.err, "Closing client connection\nInvalid client socket\n")) << output.err;
}

TEST(ServerHelpers, VersionText) {
    std::string version = "old";
    APIGetVersion(version);
    EXPECT_EQ(version, "0.32.2.1");
}

// Each malformed input is dropped with its message, nothing reaches the
// position mailbox, and the next command still arrives.
TEST_F(ServerTest, MalformedFramesNeverEndTheConnection) {
    enableEnc = 0;
    struct Case {
        const char* name;
        std::vector<std::string> reads;
        std::string expectedError;
    };
    const Case cases[] = {
        {"shorter than a header", {header(2, 1, 1, 1, 1).substr(0, 9)}, ""},
        {"part number 0", {header(2, 1, 0, 1, 1) + "{}"}, "Invalid part number: 0\n"},
        {"total parts 0", {header(2, 0, 1, 1, 1) + "{}"}, "Invalid part number: 1\n"},
        {"part 2 before part 1", {header(2, 2, 2, 1, 1) + "{}"}, "First part number must be 1. Skipping packet.\n"},
        // The second frame is judged by the first one's header.
        {"two-part message",
         {header(4, 2, 1, 1, 1) + "{}", header(4, 2, 2, 1, 1) + "{}"},
         kSeparator + "\nPart number out of sequence: 1\n"},
        // The parser's exception leaves its message under way, so the
        // command after it fails the order test.
        {"parser exception", {header(2, 1, 1, 70, 1) + "{}", header(2, 1, 1, 1, 1) + "{}"}, "Exception occurred: "},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        reqGetPosition();
        robotest::OutputCapture capture;
        for (const std::string& read : c.reads) client().sendRaw(read);
        const auto output = capture.finish();
        EXPECT_EQ(reqGetPosition(), 0);
        EXPECT_TRUE(contains(output.out, "recv : " + std::to_string(c.reads.back().size()) + " \n"));
        EXPECT_TRUE(contains(output.err, c.expectedError)) << output.err;
        EXPECT_TRUE(linktest::commandDelivered(client()));
    }
}

// The header lines follow the base of standard output, which the first jig
// message switches to hexadecimal for good.
TEST_F(ServerTest, CommandsAndJigBlocksAreDeliveredWithTheirLines) {
    enableEnc = 0;
    const auto headerLines = [](const std::string& received, const std::string& size) {
        return "recv : " + received + " \nexpectedParts zero\nPacket size: " + size +
               "\nTotal parts: 1\nPart number: 1\nIdentifier: 1\nObject: 1\n"
               "Part number  : 1 / last part number  : 0\nTotal Size: " +
               size + "\nTotal JSON Size: " + size + "\nExpected Packet Size: " + size + "\n";
    };
    robotest::OutputCapture capture;
    EXPECT_TRUE(linktest::commandDelivered(client()));
    client().sendFrame(5, 200, linktest::pattern(26));
    std::vector<unsigned char> stored;
    EXPECT_TRUE(linktest::waitUntil([&] { return API_RecvJigData(5, stored); }));
    EXPECT_EQ(stored.size(), 26u);
    EXPECT_TRUE(linktest::commandDelivered(client(), "{}" + std::string(24, ' ')));
    const std::string out = robotest::withoutPollLines(capture.finish().out);

    EXPECT_TRUE(contains(out, headerLines("12", "2"))) << out;
    EXPECT_TRUE(contains(out, "Total size: 26\nTotal size (hex): 0x1a\nExpected packet size (hex): 0x1a\n")) << out;
    EXPECT_TRUE(contains(out, headerLines("36", "1a"))) << out;
}

TEST_F(ServerTest, SilenceDropsThePartialMessageButKeepsTheClient) {
    enableEnc = 0;
    robotest::OutputCapture capture;
    client().sendFrame(1, 1, "{}", 2, 1);
    // 52 empty polls of 100 ms clear the message under way.
    std::this_thread::sleep_for(std::chrono::milliseconds(6000));
    client().sendFrame(1, 1, "{}", 2, 2);
    const auto output = capture.finish();

    EXPECT_TRUE(contains(output.err, kSeparator + "\nwait Clear\n" + kSeparator + "\n")) << output.err;
    // Nothing is under way any more: the second part's own header is read.
    EXPECT_TRUE(contains(output.err, "First part number must be 1. Skipping packet.\n")) << output.err;
    EXPECT_TRUE(linktest::commandDelivered(client()));
}

// Between empty polls the loop waits for the client, but never longer than the
// old pause: silence still gives about ten "Wait" lines a second, not a burst
// and not a stall.
TEST_F(ServerTest, SilenceIsPolledAtTheOldRate) {
    robotest::OutputCapture capture;
    std::this_thread::sleep_for(std::chrono::seconds(1));
    const std::string out = capture.finish().out;
    size_t polls = 0;
    for (size_t at = out.find("Wait ... \n"); at != std::string::npos; at = out.find("Wait ... \n", at + 1)) ++polls;
    EXPECT_GE(polls, 3u) << out;
    EXPECT_LE(polls, 11u) << out;
}

// A slow radio link delivers a frame in pieces. Written in two pieces 20 ms
// apart, wherever the cut falls, each frame is still read whole and its
// command delivered.
TEST_F(ServerTest, FrameArrivingInPiecesIsReadWhole) {
    enableEnc = 0;
    const std::string frame = header(2, 1, 1, 1, 1) + "{}";
    for (const size_t cut : {1, 5, 9, 10, 11}) {
        SCOPED_TRACE(cut);
        robotest::OutputCapture capture;
        for (int repeat = 0; repeat < 4; ++repeat) {
            reqGetPosition();
            client().sendRaw(frame.substr(0, cut), std::chrono::milliseconds(20));
            client().sendRaw(frame.substr(cut), std::chrono::milliseconds(0));
            EXPECT_TRUE(linktest::waitUntil([] { return reqGetPosition() == 1; }));
        }
        const std::string out = capture.finish().out;
        EXPECT_FALSE(contains(out, "recv : " + std::to_string(cut) + " \n")) << out;
    }
}

// One client at a time: a second one waits in the listen backlog until the
// first leaves.
TEST_F(ServerTest, SecondClientIsServedWhenTheFirstLeaves) {
    robotest::OutputCapture capture;
    robotest::LinkClient next;
    reqGetPosition();
    next.sendCommand(1, "{}");
    EXPECT_EQ(reqGetPosition(), 0);
    client().close();
    EXPECT_TRUE(linktest::waitUntil([] { return reqGetPosition() == 1; }));
    const auto output = capture.finish();

    EXPECT_TRUE(contains(robotest::withoutPollLines(output.out),
                         "Connection closed by peer Test \nWaiting for connection...\nClient connected\n"));
    EXPECT_TRUE(contains(output.err, kSeparator + "\n" + kSeparator + "\nClosing client connection\n"));
}

}  // namespace
