// Bad input never stops the robot: after each case the next client is served.
// Also encryption on and off, and the client's own failures.
#include <gtest/gtest.h>

#include <chrono>
#include <fstream>
#include <vector>

#include "e2e/fake_robot.h"
#include "e2e/robot_fixture.h"
#include "robocomm/security.h"
#include "support/link_client.h"
#include "support/temp_dir.h"

namespace e2e {
namespace {

using Clock = std::chrono::steady_clock;

void expectServing(const ClientRun& run) {
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_TRUE(answer(run)["Response"]["Get"]["position"].isMember("x")) << run.out;
}

TEST_F(EncryptedRobot, ServesOnAfterGarbageFrames) {
    {
        robotest::LinkClient raw;
        ASSERT_TRUE(raw.connected());
        raw.sendRaw("abc");                                       // shorter than a header
        raw.sendRaw(std::string(10, '\xff'));                      // a header of all ones
        raw.sendRaw(chunkFrame(4, 1, 5, 2, 3, "stray"));           // part 3 of 2
        raw.sendRaw(chunkFrame(57, 1, 16, 1, 1, "not ciphertext"));  // undecipherable
        raw.sendRaw(chunkFrame(9, 1, 0, 1, 1, ""));                // no body at all
    }
    expectServing(client({"--json", "get", "position"}));
}

TEST_F(EncryptedRobot, ServesOnAfterClientsLeaveMidMessage) {
    API_GenerateKey();
    {
        robotest::LinkClient raw;  // the first of two parts, then gone
        raw.sendRaw(chunkFrame(1, 1, 40000, 2, 1, std::string(100, 'a')));
    }
    {
        robotest::LinkClient raw;  // a tenth of a firmware image, then gone
        raw.sendRaw(chunkFrame(81, 14, 10000, 8, 1, std::string(32 + 1000, 'f')));
    }
    {
        robotest::LinkClient raw;  // asks for the map and leaves before the answer
        raw.sendCommand(15, R"({"Request":{"Get":{"MapData":{}}}})");
    }
    expectServing(client({"--json", "get", "position"}));
}

TEST_F(EncryptedRobot, UnknownCodesGetNoAnswerAndTheRobotServesOn) {
    API_GenerateKey();
    {
        robotest::LinkClient raw;
        for (uint8_t code : {0, 24, 200, 255}) raw.sendCommand(code, "{}");
        EXPECT_FALSE(raw.readFrame(std::chrono::milliseconds(300)).has_value());
    }
    EXPECT_NE(fileText(host().runFolder() + "/robocomm.log").find("Unknown data format"), std::string::npos);
    expectServing(client({"--json", "get", "position"}));
}

TEST_F(EncryptedRobot, AWrongKeyIsReportedAndTheRobotServesOn) {
    const ClientRun wrong = client({"--passphrase", "wrongPhrase#000", "get", "position"});
    EXPECT_EQ(wrong.status, 5);
    EXPECT_NE(wrong.err.find("cannot decipher"), std::string::npos) << wrong.err;
    expectServing(client({"--json", "get", "position"}));
}

TEST_F(EncryptedRobot, APlainClientCannotReadEncipheredAnswers) {
    const ClientRun run = runClient({"--plain", "get", "position"});
    EXPECT_EQ(run.status, 5);
    EXPECT_NE(run.err.find("is not JSON"), std::string::npos) << run.err;
}

TEST_F(PlainRobot, ServesPlainClients) {
    expectServing(client({"--json", "get", "position"}));
    const ClientRun driving = client({"--json", "set", "driving", "1"});
    ASSERT_EQ(driving.status, 0) << driving.err;
    EXPECT_EQ(driving.out, "{\"Response\":{\"Set\":{\"Driving\":{\"result\":true}}}}\n");
}

TEST_F(PlainRobot, AnEncipheringClientCannotReadPlainAnswers) {
    const ClientRun run = runClient({"get", "position"});
    EXPECT_EQ(run.status, 5);
    EXPECT_NE(run.err.find("cannot decipher"), std::string::npos) << run.err;
}

TEST(Client, RejectsBadCommandLinesBeforeConnecting) {
    robotest::TempDir folder;
    const std::string request = folder.path() + "/request.json";
    std::ofstream(request) << "{}";
    const std::vector<std::vector<std::string>> bad = {
        {"get", "nonsense"},
        {"set", "target-position", "1", "2"},
        {"set", "driving", "fast"},
        {"send", "200", request},
        {"send", "61", folder.path() + "/missing.json"},
        {"fly"},
        {"--port", "0", "get", "position"},
        {},
    };
    for (const auto& args : bad) {
        const ClientRun run = runClient(args);
        EXPECT_EQ(run.status, 2) << run.err;
        EXPECT_FALSE(run.err.empty());
    }
}

TEST(Client, ReportsAnUnreachableRobot) {
    const ClientRun run = runClient({"--port", std::to_string(unusedPort()), "get", "position"});
    EXPECT_EQ(run.status, 3);
    EXPECT_NE(run.err.find("cannot connect"), std::string::npos) << run.err;
}

TEST(Client, GivesUpOnASilentRobot) {
    FakeRobot robot([](int) {});
    const auto start = Clock::now();
    const ClientRun run = runClient({"--port", std::to_string(robot.port()), "--timeout", "0.5", "get", "position"});
    EXPECT_EQ(run.status, 4);
    EXPECT_NE(run.err.find("no answer to command 1"), std::string::npos) << run.err;
    EXPECT_LT(Clock::now() - start, std::chrono::seconds(3));
}

// A robot answer of two frames, with a push in between the client must skip.
TEST(Client, ReassemblesAnAnswerOfSeveralFrames) {
    const std::string padding(40000, 'p');
    const std::string text = R"({"Response":{"Get":{"position":{"pad":")" + padding + R"(","x":1.5}}}})";
    const std::string push = R"({"Emergency":{"Send":{"ErrorList":null}}})";
    FakeRobot robot([&](int fd) {
        const uint32_t size = static_cast<uint32_t>(text.size());
        sendAll(fd, chunkFrame(1, 2, size, 2, 1, text.substr(0, 32768)) +
                        chunkFrame(100, 15, static_cast<uint32_t>(push.size()), 1, 1, push) +
                        chunkFrame(1, 2, size, 2, 2, text.substr(32768)));
    });
    const ClientRun run = runClient({"--plain", "--json", "--port", std::to_string(robot.port()), "get", "position"});
    ASSERT_EQ(run.status, 0) << run.err;
    const Json::Value position = answer(run)["Response"]["Get"]["position"];
    EXPECT_EQ(position["pad"].asString(), padding);
    EXPECT_EQ(position["x"].asDouble(), 1.5);
}

TEST(DemoHost, StopsCleanlyAndRefusesABusyPort) {
    DemoHost host(false);
    ASSERT_TRUE(host.serving()) << host.output();
    DemoHost second(false);
    EXPECT_FALSE(second.serving());
    EXPECT_NE(second.output().find("port 10001 is in use"), std::string::npos) << second.output();
    EXPECT_EQ(second.stop(), 1);

    EXPECT_EQ(host.stop(), 0);
    EXPECT_NE(host.output().find("demo host: stopped"), std::string::npos) << host.output();
    const std::string log = fileText(host.runFolder() + "/robocomm.log");
    EXPECT_NE(log.find("receiveData start"), std::string::npos);
    EXPECT_NE(log.find("Server stopped"), std::string::npos);
}

}  // namespace
}  // namespace e2e
