// Commands over the link: real enciphered frames into the running server,
// and what the host's polls then find.
#include <gtest/gtest.h>
#include <json/reader.h>
#include <json/value.h>

#include <chrono>
#include <filesystem>
#include <sstream>
#include <thread>

#include "intake_fixture.h"
#include "robocomm/files.h"
#include "robocomm/intake.h"
#include "robocomm/security.h"
#include "support/fake_clock.h"
#include "support/output_capture.h"
#include "support/server_test.h"
#include "support/temp_dir.h"

namespace {

using intaketest::requestText;

// The receive thread parses on its own time: poll as a host loop would, for
// at most two seconds.
template <class Poll>
uint8_t pollUntilPending(Poll poll) {
    for (int attempt = 0; attempt < 200; ++attempt) {
        if (const uint8_t pending = poll()) return pending;
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return 0;
}

Json::Value parse(const std::string& text) {
    Json::CharReaderBuilder builder;
    Json::Value root;
    std::string errors;
    std::istringstream stream(text);
    EXPECT_TRUE(Json::parseFromStream(builder, stream, &root, &errors)) << errors << text;
    return root;
}

Json::Value object(std::initializer_list<std::pair<const char*, Json::Value>> members) {
    Json::Value value(Json::objectValue);
    for (const auto& [name, member] : members) value[name] = member;
    return value;
}

class WireTest : public robotest::ServerTest {
protected:
    void SetUp() override {
        intaketest::clearAllMailboxes();
        ServerTest::SetUp();
    }
    void TearDown() override {
        ServerTest::TearDown();
        intaketest::clearAllMailboxes();
    }
    // Sends a request and waits until the host's drive command has gone
    // through, so everything sent before it has been parsed.
    void sendAndSettle(uint8_t code, const std::string& json) {
        client().sendCommand(code, json);
        client().sendCommand(61, requestText("Driving", object({{"set", 1}})));
        int32_t set = 0;
        ASSERT_EQ(pollUntilPending([&] { return reqSetDriving(&set); }), 1) << "the connection stopped serving";
    }
};

TEST_F(WireTest, ParametersOfEachKindReachTheHost) {
    client().sendCommand(58, requestText("MotorManual_RPM", object({{"leftRPM", -30}, {"rightRPM", 45}})));
    client().sendCommand(60, requestText("TargetPosition", object({{"x", 1.5}, {"y", -2.25}, {"theta", 0.5}})));
    client().sendCommand(75, requestText("BatterySleepMode", object({{"start", true}})));
    const std::string map = "QUJDRA==";
    client().sendCommand(73, requestText("PGMMapData", object({{"data", map},
                                                               {"name", "floor2"},
                                                               {"sha256", calculateSHA256(map)}})));

    int32_t rpm[2] = {0, 0};
    ASSERT_EQ(pollUntilPending([&] { return reqSetMotorManual_RPM(rpm); }), 1);
    EXPECT_EQ(rpm[0], -30);
    EXPECT_EQ(rpm[1], 45);
    double target[3] = {0, 0, 0};
    ASSERT_EQ(pollUntilPending([&] { return reqSetTargetPosition(target); }), 1);
    EXPECT_EQ(target[1], -2.25);
    EXPECT_EQ(target[2], 0.5);
    bool sleep = false;
    ASSERT_EQ(pollUntilPending([&] { return reqSetBatterySleepMode(&sleep); }), 1);
    EXPECT_TRUE(sleep);
    PGMMapDataB_t pgm{};
    ASSERT_EQ(pollUntilPending([&] { return reqSetPGMMapData(&pgm); }), 1);
    EXPECT_EQ(pgm.name, "floor2");
    EXPECT_TRUE(pgm.checksumOk);
    EXPECT_EQ(pgm.data, (std::vector<unsigned char>{'A', 'B', 'C', 'D'}));
}

TEST_F(WireTest, DeliberateKeyPathsHoldOnTheWire) {
    client().sendCommand(25, requestText("AICalibration", object({{"Set", 9}})));
    client().sendCommand(70, requestText("ModifiedMapData", object({{"data", "QUJD"}})));
    client().sendCommand(90, requestText("Docking", object({{"set", 3}})));
    client().sendCommand(80, requestText("OTA", object({{"size", 4096}, {"checksum", "abc"}})));

    int32_t calibration = 0;
    ASSERT_EQ(pollUntilPending([&] { return reqGetAICalibration(&calibration); }), 1);
    EXPECT_EQ(calibration, 9);
    std::vector<unsigned char> integration;
    ASSERT_EQ(pollUntilPending([&] { return reqSetIntegrationModifiedMapDataB(&integration); }), 1);
    EXPECT_EQ(integration, (std::vector<unsigned char>{'A', 'B', 'C'}));
    int32_t docking = 0;
    ASSERT_EQ(pollUntilPending([&] { return reqSetDockingState(&docking); }), 1);
    EXPECT_EQ(docking, 3);
    OTAInfo_t ota{};
    ASSERT_EQ(pollUntilPending([&] { return reqSetOTA(&ota); }), 1);
    EXPECT_EQ(ota.size, 4096);
    EXPECT_EQ(ota.checksum, "abc");
}

TEST_F(WireTest, IgnoredAndSharedCodes) {
    robotest::OutputCapture capture;
    client().sendCommand(18, "{}");
    client().sendCommand(72, "{}");
    client().sendCommand(101, "{}");
    std::vector<unsigned char> integration = {1};
    const uint8_t byPassTwo = pollUntilPending([&] { return reqSetIntegrationModifiedMapDataB(&integration); });
    const uint8_t lidar = pollUntilPending(reqGetLidarSensorStatus);
    const std::string err = capture.finish().err;

    EXPECT_EQ(byPassTwo, 1);
    EXPECT_TRUE(integration.empty());
    EXPECT_EQ(lidar, 1);
    EXPECT_EQ(err.find("Unknown data format"), std::string::npos);
    EXPECT_EQ(reqGetSoftwareVersion(), 0);
}

TEST_F(WireTest, BadMessagesLeaveTheConnectionServing) {
    robotest::OutputCapture capture;
    client().sendCommand(99, "{}");
    client().sendCommand(3, "this is not json");
    // Sixteen bytes that were never enciphered with our key.
    client().sendFrame(4, 1, std::string(16, '\x5a'));
    sendAndSettle(1, "{}");
    const uint8_t motor = reqGetMotorStatus();
    const uint8_t camera = reqGetCameraStatus();
    const auto [out, err] = capture.finish();

    EXPECT_NE(err.find("Unknown data format\n"), std::string::npos);
    EXPECT_NE(out.find("Failed to parse JSON: "), std::string::npos);
    EXPECT_NE(out.find("JSON 데이터 복호화 실패\n"), std::string::npos);
    EXPECT_EQ(motor, 1);
    EXPECT_EQ(camera, 1);
    EXPECT_EQ(reqGetPosition(), 1);
}

TEST_F(WireTest, TimeDataIsSetAndAnsweredAtOnce) {
    robotest::resetFakeClock();
    client().sendCommand(67, requestText("TimeData", object({{"year", 2024},
                                                             {"month", 2},
                                                             {"day", 29},
                                                             {"hour", 12},
                                                             {"minute", 34},
                                                             {"second", 56}})));
    const auto answer = client().readMessage(67);
    ASSERT_TRUE(answer.has_value());
    EXPECT_TRUE(parse(*answer)["Response"]["Set"]["TimeData"]["result"].asBool()) << *answer;
    EXPECT_EQ(robotest::lastClockSet().seconds, 1709210096L);
    TimeData_t time{};
    EXPECT_EQ(reqSetTimeData(&time), 0);
}

TEST_F(WireTest, MismatchedOTADataIsAnsweredWithAPush) {
    client().sendCommand(81, requestText("OTA", object({{"data", "abc"}, {"checksum", "0"}})));
    const auto push = client().readMessage(81);
    ASSERT_TRUE(push.has_value());
    const Json::Value ota = parse(*push)["Emergency"]["Send"]["OTA"];
    EXPECT_EQ(ota["progress"].asInt(), 0);
    EXPECT_EQ(ota["state"].asInt(), 15);
    EXPECT_EQ(globalOTAdata.pending, 0);
}

TEST_F(WireTest, ByPassOneDataIsStoredAndPosted) {
    robotest::TempDir dir;
    const std::string savedPath = mapEditFilePath;
    mapEditFilePath = dir.path() + "/MapEdit.bin";
    const std::string document = requestText(
        "ByPass", object({{"info", object({{"uid", "edit-42"}})},
                          {"block_wall", Json::Value(Json::arrayValue)}}));
    client().sendCommand(71, document);
    ByPassOneData_t edit;
    const uint8_t pending = pollUntilPending([&] { return reqSetByPassOneData(&edit); });
    const std::string stored = API_FileRead(mapEditFilePath, key);
    mapEditFilePath = savedPath;

    EXPECT_EQ(pending, 1);
    EXPECT_EQ(edit.uid, "edit-42");
    EXPECT_EQ(stored, document);
}

}  // namespace
