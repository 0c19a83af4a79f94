// The console's HTTP side as a browser or a script meets it, on a real
// socket: who is refused and with what, the headers every answer carries,
// and that no client (or many) can take the console from the others. The
// robot is unreachable here: what reaches it is the browser test's part.
#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <httplib.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "console/access.h"
#include "console/events.h"
#include "console/http_api.h"
#include "common/session.h"
#include "console/robot_events.h"
#include "unreachable_robot.h"

namespace robocomm::console {
namespace {

using namespace std::chrono_literals;

const std::string kToken = "0123456789abcdef0123456789abcdef";

// A loopback socket connected to `port`, with reads bounded by 10 s.
int connectTo(int port) {
    const int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    EXPECT_EQ(connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    const timeval patience{10, 0};
    setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
    return fd;
}

// Everything the console sends until it closes the connection (or 10 s pass).
std::string readAll(int fd) {
    std::string text;
    char chunk[4096];
    ssize_t got;
    while ((got = recv(fd, chunk, sizeof chunk, 0)) > 0) text.append(chunk, static_cast<size_t>(got));
    return text;
}

struct Answer {
    int status = 0;
    std::string head;
    std::string body;
    bool has(const std::string& header) const { return head.find("\r\n" + header + "\r\n") != std::string::npos; }
};

Answer answerOf(const std::string& text) {
    Answer answer;
    const size_t end = text.find("\r\n\r\n");
    if (text.rfind("HTTP/1.1 ", 0) != 0 || end == std::string::npos) return answer;
    answer.status = std::stoi(text.substr(9, 3));
    answer.head = text.substr(0, end + 2);
    answer.body = text.substr(end + 4);
    return answer;
}

// A console with its token, its robot unreachable, on a free port.
class ConsoleTest : public ::testing::Test {
protected:
    void SetUp() override {
        port = server.bind_to_any_port("127.0.0.1");
        ASSERT_GT(port, 0);
        AccessRules rules;
        rules.token = kToken;
        rules.hosts = acceptedHosts("127.0.0.1", static_cast<uint16_t>(port), {"console.example"});
        rules.port = static_cast<uint16_t>(port);
        serveConsole(server, session, events, rules);
        listener = std::thread([this] { server.listen_after_bind(); });
        for (int i = 0; i < 100 && !server.is_running(); ++i) std::this_thread::sleep_for(10ms);
    }
    void TearDown() override {
        events.close();
        server.stop();
        listener.join();
    }

    // One request on its own connection: "GET /api/commands", its extra
    // header lines (each ending in \r\n) and its body.
    Answer ask(const std::string& requestLine, const std::string& headers, const std::string& body = "") {
        const int fd = connectTo(port);
        const std::string request = requestLine + " HTTP/1.1\r\n" + headers + "Connection: close\r\n" +
                                    (body.empty() ? "" : "Content-Length: " + std::to_string(body.size()) + "\r\n") +
                                    "\r\n" + body;
        send(fd, request.data(), request.size(), MSG_NOSIGNAL);
        const Answer answer = answerOf(readAll(fd));
        close(fd);
        return answer;
    }
    std::string host() const { return "Host: 127.0.0.1:" + std::to_string(port) + "\r\n"; }
    std::string bearer() const { return "Authorization: Bearer " + kToken + "\r\n"; }

    EventHub events;
    RobotEvents robotEvents{events, unreachableRobot()};
    tools::Session session{unreachableRobot(), consolePlan(), robotEvents};
    httplib::Server server;
    std::thread listener;
    int port = 0;
};

TEST_F(ConsoleTest, RefusesForeignHostsAndPagesAndRequestsWithoutTheToken) {
    const std::string json = "Content-Type: application/json\r\n";
    const struct {
        std::string line, headers;
        int status;
        std::string says;
    } cases[] = {
        {"GET /api/commands", bearer(), 403, "without a Host header"},
        {"GET /api/commands", "Host: evil.example:" + std::to_string(port) + "\r\n" + bearer(), 403,
         "does not answer to the host name 'evil.example:" + std::to_string(port) + "'; start it with --allow-host"},
        {"GET /api/commands", "Host: 0.0.0.0:" + std::to_string(port) + "\r\n" + bearer(), 403, "--allow-host"},
        {"GET /api/commands", "Host: 127.0.0.1\r\n" + bearer(), 403, "--allow-host"},
        {"GET /api/commands", host() + bearer() + "Origin: http://127.0.0.2:9000\r\n", 403,
         "requests from pages of http://127.0.0.2:9000 are refused"},
        {"GET /api/commands", host() + bearer() + "Origin: null\r\n", 403, "pages of null"},
        {"GET /api/commands", host(), 401, "wants its token"},
        {"GET /api/events", host(), 401, "wants its token"},
        {"GET /api/map.png", host(), 401, "wants its token"},
        {"GET /console.js", host(), 401, "wants its token"},
        {"GET /api/commands", host() + "Authorization: Bearer nope\r\n", 401, "wrong token"},
        {"GET /api/commands?token=" + kToken + "x", host(), 401, "wrong token"},
        {"POST /api/set/emergency-stop", host() + bearer() + "Content-Type: text/plain\r\n", 415,
         "takes Content-Type: application/json"},
        {"POST /api/set/emergency-stop", host() + bearer() + "Content-Type: application/x-www-form-urlencoded\r\n",
         415, "application/json"},
        {"POST /api/set/emergency-stop", host() + bearer(), 415, "application/json"},
        {"POST /api/ota", host() + bearer() + json, 415, "takes Content-Type: application/octet-stream"},
        {"POST /api/set/emergency-stop", host() + bearer() + json, 411, "Content-Length"},
        {"POST /api/set/driving", host() + bearer() + json + "Content-Length: 65537\r\n", 413, "larger than"},
        {"POST /api/set/driving", host() + bearer() + json + "Content-Length: -1\r\n", 400, "not a number"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.line + "\n" + c.headers);
        const Answer answer = ask(c.line, c.headers);
        EXPECT_EQ(answer.status, c.status) << answer.body;
        EXPECT_NE(answer.body.find(c.says), std::string::npos) << answer.body;
    }
}

TEST_F(ConsoleTest, LetsItsOwnNamesAndPagesInWithTheToken) {
    const std::string names[] = {"127.0.0.1", "LOCALHOST", "[::1]", "console.example"};
    for (const std::string& name : names) {
        SCOPED_TRACE(name);
        EXPECT_EQ(ask("GET /api/commands", "Host: " + name + ":" + std::to_string(port) + "\r\n" + bearer() +
                                              "Origin: http://" + name + ":" + std::to_string(port) + "\r\n")
                      .status,
                  200);
    }
    // Behind a reverse proxy, an allowed name comes without the port.
    EXPECT_EQ(ask("GET /api/commands", "Host: console.example\r\n" + bearer()).status, 200);
    // Past the checks, the robot is the one that fails.
    const Answer command = ask("POST /api/get/position", host() + bearer() + "Content-Type: application/json\r\n", "[]");
    EXPECT_EQ(command.status, 502) << command.body;
}

TEST_F(ConsoleTest, ThePageTradesItsTokenForACookie) {
    const Answer login = ask("GET /", host());
    EXPECT_EQ(login.status, 401);
    EXPECT_NE(login.body.find("<input name=\"token\" type=\"password\""), std::string::npos) << login.body;
    const Answer page = ask("GET /?token=" + kToken, host());
    EXPECT_EQ(page.status, 200);
    const std::string cookie = "robocomm-token-" + std::to_string(port) + "=" + kToken;
    EXPECT_TRUE(page.has("Set-Cookie: " + cookie + "; HttpOnly; SameSite=Strict; Path=/")) << page.head;
    EXPECT_EQ(ask("GET /api/commands", host() + "Cookie: other=1; " + cookie + "\r\n").status, 200);
    // A cookie of a console on another port is no token here.
    EXPECT_EQ(ask("GET /api/commands", host() + "Cookie: robocomm-token-1=" + kToken + "\r\n").status, 401);
}

TEST_F(ConsoleTest, EveryAnswerForbidsFramingSniffingAndOtherSites) {
    for (const std::string& line : {std::string("GET /"), "GET /?token=" + kToken, std::string("GET /no-such-page")}) {
        SCOPED_TRACE(line);
        const Answer answer = ask(line, host());
        EXPECT_TRUE(answer.has("X-Content-Type-Options: nosniff")) << answer.head;
        EXPECT_TRUE(answer.has("X-Frame-Options: DENY"));
        EXPECT_NE(answer.head.find("Content-Security-Policy: default-src 'self';"), std::string::npos);
        EXPECT_NE(answer.head.find("frame-ancestors 'none'"), std::string::npos);
        EXPECT_TRUE(answer.has("Referrer-Policy: no-referrer"));
        EXPECT_TRUE(answer.has("Cross-Origin-Resource-Policy: same-origin"));
        EXPECT_EQ(answer.head.find("Access-Control-Allow"), std::string::npos);
    }
}

// A refused request's body, left unread on a kept-alive connection, would
// be taken for a second request that passed no check. The body follows its
// head a moment later, as a browser or curl sends it.
TEST_F(ConsoleTest, ARefusedBodyIsNeverReadAsARequest) {
    const std::string inner = "GET /api/commands HTTP/1.1\r\n" + host() + "\r\n";
    const std::string outer = "POST /api/set/emergency-stop HTTP/1.1\r\n" + host() + bearer() +
                              "Content-Type: text/plain\r\nContent-Length: " + std::to_string(inner.size()) +
                              "\r\n\r\n";
    const int fd = connectTo(port);
    send(fd, outer.data(), outer.size(), MSG_NOSIGNAL);
    std::this_thread::sleep_for(100ms);
    send(fd, inner.data(), inner.size(), MSG_NOSIGNAL);
    const std::string text = readAll(fd);
    close(fd);
    EXPECT_EQ(answerOf(text).status, 415);
    EXPECT_EQ(text.find("HTTP/1.1", 1), std::string::npos) << text;
}

// 64 event streams (browsers or curl -N) and the API still answers: streams
// past the limit are turned away at once.
TEST_F(ConsoleTest, ManyEventStreamsLeaveTheApiAnswering) {
    std::vector<int> streams;
    const std::string request = "GET /api/events HTTP/1.1\r\n" + host() + bearer() + "\r\n";
    for (int i = 0; i < 64; ++i) {
        streams.push_back(connectTo(port));
        send(streams.back(), request.data(), request.size(), MSG_NOSIGNAL);
    }
    int turnedAway = 0;
    for (const int fd : streams) {
        pollfd ready{fd, POLLIN, 0};
        char head[16] = {};
        if (poll(&ready, 1, 10000) == 1 && recv(fd, head, sizeof head - 1, MSG_PEEK) > 0)
            turnedAway += std::string(head).rfind("HTTP/1.1 503", 0) == 0;
    }
    EXPECT_EQ(turnedAway, 56);
    EXPECT_EQ(ask("GET /api/commands", host() + bearer()).status, 200);
    for (const int fd : streams) close(fd);
}

TEST_F(ConsoleTest, HeldBackDataDoesNotHoldAWorkerForEver) {
    // A client that sends half a request and waits is dropped after the
    // idle time; the console answers others meanwhile.
    std::vector<int> idle;
    for (int i = 0; i < 40; ++i) {
        idle.push_back(connectTo(port));
        send(idle.back(), "GET /api/comm", 13, MSG_NOSIGNAL);
    }
    EXPECT_EQ(ask("GET /api/commands", host() + bearer()).status, 200);
    EXPECT_EQ(readAll(idle.front()), "");
    for (const int fd : idle) close(fd);
}

// The console's own options: no token is for loopback only.
TEST(ConsoleProgram, RefusesNoTokenOffLoopback) {
    const std::string command = std::string(ROBOCOMM_CONSOLE_PATH) + " --listen 0.0.0.0:1 --no-token 2>&1";
    FILE* run = popen(command.c_str(), "r");
    ASSERT_NE(run, nullptr);
    std::string output;
    char chunk[256];
    while (fgets(chunk, sizeof chunk, run)) output += chunk;
    const int status = pclose(run);
    EXPECT_EQ(WEXITSTATUS(status), 2);
    EXPECT_EQ(output, "robocomm-console: --no-token is refused while listening on 0.0.0.0: anyone who reaches the "
                      "port could drive the robot (robocomm-console --help)\n");
}

TEST(AcceptedHosts, AreTheConsolesNamesWithItsPort) {
    EXPECT_EQ(acceptedHosts("0.0.0.0", 8080, {}),
              (std::set<std::string>{"127.0.0.1:8080", "localhost:8080", "[::1]:8080"}));
    EXPECT_EQ(acceptedHosts("fe80::1", 80, {"Robot.Example"}),
              (std::set<std::string>{"127.0.0.1", "127.0.0.1:80", "localhost", "localhost:80", "[::1]", "[::1]:80",
                                     "[fe80::1]:80", "robot.example", "robot.example:80"}));
}

}  // namespace
}  // namespace robocomm::console
