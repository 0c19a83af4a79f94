// Bad input never stops the robot: after each case the next client is
// served. Also encryption on and off, and the client's exit statuses.
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <fstream>

#include "e2e/processes.h"
#include "link/frame.h"
#include "robocomm/security.h"
#include "support/link_client.h"

namespace e2e {
namespace {

// A loopback port whose connections wait in the backlog: a robot that says
// nothing unless the test accepts one (within 5 s) and speaks for it.
struct SilentRobot {
    SilentRobot() : fd(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t length = sizeof address;
        bind(fd, reinterpret_cast<sockaddr*>(&address), length);
        listen(fd, 1);
        getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length);
        port = std::to_string(ntohs(address.sin_port));
        const timeval patience{5, 0};  // bounds accept()
        setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
    }
    SilentRobot(const SilentRobot&) = delete;
    ~SilentRobot() { close(fd); }
    int fd;
    std::string port;
};

// Exit status 0 takes an answer to the command that deciphers and parses.
void expectServing() { EXPECT_EQ(runClient({"get", "position"}).status, 0); }

// Unknown codes get no answer at all.
TEST_F(RobotTest, ServesOnAfterUnknownCodesAndGarbageFrames) {
    API_GenerateKey();
    robotest::LinkClient raw;
    ASSERT_TRUE(raw.connected());
    for (uint8_t code : {0, 24, 200, 255}) raw.sendCommand(code, "{}");
    EXPECT_FALSE(raw.readFrame(std::chrono::milliseconds(300)).has_value());
    raw.sendRaw("abc");                      // shorter than a header
    raw.sendRaw(std::string(10, '\xff'));    // a header of all ones
    raw.sendFrame(4, 1, "stray", 2, 3);      // part 3 of 2
    raw.sendFrame(57, 1, "not ciphertext");  // undecipherable
    raw.sendFrame(9, 1, "");                 // no body at all
    raw.close();
    expectServing();
}

// Each client leaves in the middle: of a message, of a firmware image, before its answer.
TEST_F(RobotTest, ServesOnAfterClientsLeaveMidMessage) {
    API_GenerateKey();
    robotest::LinkClient().sendFrame(1, 1, std::string(100, 'a'), 2, 1);
    robotest::LinkClient().sendFrame(81, 14, std::string(32 + 1000, 'f'));
    robotest::LinkClient().sendCommand(15, R"({"Request":{"Get":{"MapData":{}}}})");
    expectServing();
}

// The robot still answers, but with its own key: the client cannot read it.
TEST_F(RobotTest, AWrongKeyIsReportedAndTheRobotServesOn) {
    const ClientRun wrongKey = runClient({"get", "position"}, {"ROBOCOMM_PASSPHRASE=wrongPhrase#000"});
    EXPECT_EQ(wrongKey.status, 5);
    EXPECT_NE(wrongKey.err.find("cannot decipher"), std::string::npos) << wrongKey.err;
    // The right one from a file, its line end dropped, beats the environment.
    const robotest::TempDir folder;
    std::ofstream(folder.path() + "/phrase") << password << "\n";
    EXPECT_EQ(runClient({"--passphrase-file", folder.path() + "/phrase", "get", "position"},
                        {"ROBOCOMM_PASSPHRASE=wrongPhrase#000"}).status, 0);
}

// The speed is read from the plain document: a lost parameter would be refused.
TEST(PlainRobot, ServesPlainClients) {
    DemoHost host(true);
    ASSERT_TRUE(host.awaitOutput("demo host: serving")) << host.output();
    const ClientRun speed = runClient({"--plain", "--json", "set", "max-driving-speed", "0.8"});
    EXPECT_EQ(speed.out, "{\"name\":\"max-driving-speed\",\"code\":57,"
                         "\"answer\":{\"Response\":{\"Set\":{\"MaxDrivingSpeed\":{\"result\":true}}}}}\n")
        << speed.err;
}

// The library's trace goes to the run folder, the host's terminal stays readable.
TEST_F(RobotTest, LogsTheLibraryInItsRunFolderAndStopsCleanly) {
    EXPECT_EQ(host.stop(), 0);
    EXPECT_NE(fileText(host.runFolder() + "/robocomm.log").find("Server stopped"), std::string::npos);
    EXPECT_EQ(host.output().find("Server stopped"), std::string::npos) << host.output();
    EXPECT_NE(host.output().find("demo host: stopped"), std::string::npos) << host.output();
}

// Every failure is named on stderr, with a status by kind; a silent robot
// is given up on after --timeout.
TEST(Client, ExitStatusTellsWhatWentWrong) {
    const SilentRobot silent;
    const std::string closedPort = SilentRobot().port;
    const struct {
        std::vector<std::string> args;
        int status;
        std::string says;
    } cases[] = {
        {{"get", "nonsense"}, 2, "unknown command: get nonsense; robocomm-client list shows them all"},
        {{"get", "positon"}, 2, "(did you mean: get position?)"},
        {{"get", "driving"}, 2, "(did you mean: set driving?)"},
        {{"set", "1"}, 2, "command 1 is not a set command: get position"},
        {{"get", "log-data"}, 2, "the log bundle comes with: robocomm-client log OUT.tar.gz"},
        {{"set", "by-pass-one-data"}, 2, "the map edit comes from a file: robocomm-client send 71 FILE"},
        {{"set", "driving", "fast"}, 2, "'fast' is not a 32-bit integer"},
        {{"send", "999", "request.json"}, 2, "unknown command code 999"},
        {{"ota", "/nonexistent/firmware.bin"}, 2, "cannot read /nonexistent/firmware.bin"},
        {{"--passphrase-file=/nonexistent/phrase", "get", "position"}, 2, "cannot read /nonexistent/phrase"},
        {{"--port", silent.port, "log", "/nonexistent/logs.tar.gz"}, 2, "cannot write /nonexistent/logs.tar.gz"},
        {{"--port", silent.port, "--save", "/nonexistent/map.pgm", "get", "map-data"}, 2, "cannot write"},
        {{"--json=yes", "list"}, 2, "--json takes no value"},
        {{"--port=" + closedPort, "get", "position"}, 3, "cannot connect to 127.0.0.1:" + closedPort},
        {{"--host", "::1", "--port", closedPort, "get", "position"}, 3, "cannot connect to [::1]:" + closedPort},
        {{"--port", silent.port, "--timeout", "0.5", "get", "position"}, 4, "no answer to command 1 within 0.5 s"},
    };
    for (const auto& c : cases) {
        const ClientRun run = runClient(c.args);
        SCOPED_TRACE(c.args.back());
        EXPECT_EQ(run.status, c.status) << run.err;
        EXPECT_NE(run.err.find(c.says), std::string::npos) << run.err;
    }
}

// The environment gives defaults that the command line overrides; under
// --json the error is a JSON object on stderr.
TEST(Client, TakesSettingsFromTheEnvironment) {
    const std::string closedPort = SilentRobot().port;
    const ClientRun byEnvironment = runClient({"--json", "get", "position"}, {"ROBOCOMM_PORT=" + closedPort});
    EXPECT_EQ(byEnvironment.status, 3);
    EXPECT_EQ(byEnvironment.err, "{\"error\":\"cannot connect to 127.0.0.1:" + closedPort +
                                     ": Connection refused\",\"status\":3}\n");
    const ClientRun overridden = runClient({"--port", closedPort, "list"}, {"ROBOCOMM_PORT=nonsense"});
    EXPECT_EQ(overridden.status, 2) << "a bad environment is reported, not ignored";
    EXPECT_NE(overridden.err.find("ROBOCOMM_PORT wants a positive number"), std::string::npos) << overridden.err;
}

// A robot (plain unless told) that answers the client's first command with
// these bytes and keeps the connection open until the client is done.
ClientRun answeredBy(const std::string& bytes, const std::vector<std::string>& command, bool plain = true) {
    const SilentRobot robot;
    std::vector<std::string> args{"--port", robot.port};
    if (plain) args.insert(args.begin(), "--plain");
    args.insert(args.end(), command.begin(), command.end());
    ClientProcess run(args);
    const int fd = accept(robot.fd, nullptr, nullptr);
    send(fd, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    const ClientRun result = run.finish();
    close(fd);
    return result;
}

std::string header(uint32_t size, uint16_t parts, uint8_t code) {
    std::string bytes(robocomm::kHeaderSize, '\0');
    robocomm::writeHeader({size, parts, 1, code, robocomm::kKindAnswer},
                          reinterpret_cast<unsigned char*>(bytes.data()));
    return bytes;
}

TEST(Client, RejectsALogBundleThatDoesNotMatchItsDigest) {
    const robotest::TempDir folder;
    const std::string bundle = header(3000, 3, 26) + std::string(robocomm::kDigestSize, 'x') + std::string(3000, 'b');
    const ClientRun result = answeredBy(bundle, {"log", folder.path() + "/logs.tar.gz"});
    EXPECT_EQ(result.status, 5);
    EXPECT_NE(result.err.find("does not match its digest; nothing written"), std::string::npos) << result.err;
}

// The robot may refuse an image for reasons of its own: status 1, as for
// any refusal, and no claim about the digest.
TEST(Client, AFirmwareImageTheRobotRefusesExitsWithStatusOne) {
    const robotest::TempDir folder;
    std::ofstream(folder.path() + "/firmware.bin") << "x";
    const std::string verdict = R"({"Response":{"Set":{"OTA":{"result":false}}}})";
    const ClientRun result =
        answeredBy(header(verdict.size(), 1, 81) + verdict, {"ota", folder.path() + "/firmware.bin"});
    EXPECT_EQ(result.status, 1);
    EXPECT_NE(result.out.find("REFUSED by the robot"), std::string::npos) << result.out;
    EXPECT_EQ(result.err, "robocomm-client: the robot refused the firmware image\n");
}

// A hostile robot's answers end the client with status 5 and its own
// words, and nothing else on stderr (no reader's or cipher's text).
TEST(Client, AHostileRobotsAnswerIsBadData) {
    const std::string bomb = std::string(5000, '[') + std::string(5000, ']');
    const std::string deepInside = R"({"Response":{"Get":{"Position":)" + bomb + "}}}";
    const struct {
        std::string body;
        bool plain;
        std::string says;
    } cases[] = {
        {bomb, true, "message 1 is not JSON"},
        {deepInside, true, "message 1 is not JSON"},
        {"[1,2,3]", true, "message 1 is not a JSON object"},
        {"\"position\"", true, "message 1 is not a JSON object"},
        {std::string(32, 'x'), false, "cannot decipher the robot's message 1"},
        {"short", false, "cannot decipher the robot's message 1"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.body.substr(0, 20));
        const ClientRun result = answeredBy(header(c.body.size(), 1, 1) + c.body, {"get", "position"}, c.plain);
        EXPECT_EQ(result.status, 5);
        EXPECT_EQ(result.err.rfind("robocomm-client: " + c.says, 0), 0u) << result.err;
        EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1) << result.err;
    }
}

// Members of unexpected types are read as absent, not as the end of the client.
TEST(Client, AnAnswerOfUnexpectedShapeIsShownNotFatal) {
    const robotest::TempDir folder;
    const std::string odd = R"({"Response":{"Get":[1,{"data":7}]}})";
    const ClientRun saved =
        answeredBy(header(odd.size(), 1, 15) + odd, {"--save", folder.path() + "/map.pgm", "get", "map-data"});
    EXPECT_EQ(saved.status, 2) << saved.err;
    EXPECT_NE(saved.err.find("carries no data to save"), std::string::npos) << saved.err;
    const std::string verdict = R"({"Response":{"Set":{"OTA":{"result":"maybe"}}}})";
    std::ofstream(folder.path() + "/firmware.bin") << "x";
    const ClientRun ota =
        answeredBy(header(verdict.size(), 1, 81) + verdict, {"ota", folder.path() + "/firmware.bin"});
    EXPECT_EQ(ota.status, 1) << ota.err;
    EXPECT_EQ(ota.err, "robocomm-client: the robot refused the firmware image\n");
}

}  // namespace
}  // namespace e2e
