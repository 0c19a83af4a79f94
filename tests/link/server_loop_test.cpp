// The server against a real client: starting and stopping, the fatal paths,
// what reaches the parser, what is dropped, and that the connection survives.
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <thread>
#include <vector>

#include "link_helpers.h"
#include "robocomm/intake.h"
#include "robocomm/jig.h"
#include "robocomm/link.h"
#include "robocomm/security.h"
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
// cannot bind it.
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
    EXPECT_EXIT(receiveData(), testing::ExitedWithCode(1), "바인드 실패");
    close(holder);
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
        globalGetPosition.pending = 0;
        robotest::OutputCapture capture;
        for (const std::string& read : c.reads) client().sendRaw(read);
        const auto output = capture.finish();
        EXPECT_EQ(globalGetPosition.pending, 0);
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
    std::cout << std::dec;

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

// One client at a time: a second one waits in the listen backlog until the
// first leaves.
TEST_F(ServerTest, SecondClientIsServedWhenTheFirstLeaves) {
    robotest::OutputCapture capture;
    robotest::LinkClient next;
    globalGetPosition.pending = 0;
    next.sendCommand(1, "{}");
    EXPECT_EQ(globalGetPosition.pending, 0);
    client().close();
    EXPECT_TRUE(linktest::waitUntil([] { return globalGetPosition.pending == 1; }));
    globalGetPosition.pending = 0;
    const auto output = capture.finish();

    EXPECT_TRUE(contains(robotest::withoutPollLines(output.out),
                         "Connection closed by peer Test \nWaiting for connection...\nClient connected\n"));
    EXPECT_TRUE(contains(output.err, kSeparator + "\n" + kSeparator + "\nClosing client connection\n"));
}

}  // namespace
