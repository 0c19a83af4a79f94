// Starting and stopping the server, and the process-ending paths.
#include <gtest/gtest.h>

#include <fcntl.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <thread>

#include "robocomm/link.h"
#include "support/output_capture.h"
#include "support/server_test.h"

namespace {

using robotest::ServerTest;
using Clock = std::chrono::steady_clock;
constexpr auto kPrompt = std::chrono::seconds(1);

bool contains(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

TEST(ServerLifecycle, StopWakesTheBlockedAccept) {
    robotest::OutputCapture capture;
    start_server();
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    const auto begin = Clock::now();
    stop_server();
    const auto elapsed = Clock::now() - begin;
    const auto output = capture.finish();

    EXPECT_LT(elapsed, kPrompt);
    EXPECT_EQ(sockfd, -1);
    EXPECT_EQ(output.out, "setsockopt start\nbind start\nlisten start\nWaiting for connection...\n");
    EXPECT_TRUE(contains(output.err, "receiveData start\n")) << output.err;
    EXPECT_TRUE(contains(output.err, "Server stopped\n")) << output.err;
    EXPECT_TRUE(contains(output.err, "연결 수락 실패: ")) << output.err;
    EXPECT_TRUE(contains(output.err, "Closing server socket\n")) << output.err;
}

TEST_F(ServerTest, StopDropsTheServedClientPromptly) {
    robotest::OutputCapture capture;
    const auto begin = Clock::now();
    stop_server();
    const auto elapsed = Clock::now() - begin;
    const auto output = capture.finish();

    EXPECT_LT(elapsed, kPrompt);
    EXPECT_TRUE(contains(output.err, "Server stopped\nClosing client connection\nClosing server socket\n"))
        << output.err;
}

TEST(ServerLifecycleDeathTest, SecondStartWithoutStopEndsTheProcess) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(
        {
            start_server();
            start_server();
        },
        "");
}

TEST(ServerLifecycleDeathTest, PortInUseEndsTheProcessWithStatusOne) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            // Connections of earlier tests may linger in TIME_WAIT on the port.
            const int holder = socket(AF_INET, SOCK_STREAM, 0);
            const int reuse = 1;
            setsockopt(holder, SOL_SOCKET, SO_REUSEADDR, &reuse, sizeof reuse);
            sockaddr_in address{};
            address.sin_family = AF_INET;
            address.sin_port = htons(10001);
            address.sin_addr.s_addr = htonl(INADDR_ANY);
            if (bind(holder, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 || listen(holder, 1) != 0)
                std::_Exit(2);
            start_server();
            std::this_thread::sleep_for(std::chrono::seconds(5));
            std::_Exit(3);
        },
        testing::ExitedWithCode(1), "바인드 실패");
}

// The initial sockfd is 0, and every sockfd of 0 or more is closed.
TEST(ServerLifecycleDeathTest, StopBeforeStartClosesDescriptorZero) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            sockfd = 0;
            stop_server();
            std::_Exit(fcntl(0, F_GETFD) == -1 && sockfd == -1 ? 0 : 2);
        },
        testing::ExitedWithCode(0), "Server stopped");
}

TEST(ServerHelpers, VersionText) {
    std::string version = "old";
    APIGetVersion(version);
    EXPECT_EQ(version, "0.32.2.1");
}

TEST(ServerHelpers, NonBlockingModeAndPeerInfoOfAPipe) {
    int pipeEnds[2];
    ASSERT_EQ(pipe(pipeEnds), 0);
    EXPECT_EQ(SetNonBlockingMode(pipeEnds[0]), 0);
    EXPECT_TRUE(fcntl(pipeEnds[0], F_GETFL) & O_NONBLOCK);

    robotest::OutputCapture capture;
    print_peer_info(pipeEnds[0]);
    const auto output = capture.finish();
    EXPECT_EQ(output.out, "");
    EXPECT_EQ(output.err, "getpeername failed: Socket operation on non-socket\n");
    close(pipeEnds[0]);
    close(pipeEnds[1]);
}

}  // namespace
