// Commands over the link: real enciphered frames into the running server,
// and what the host's polls then find.
#include <gtest/gtest.h>
#include <json/value.h>

#include <chrono>
#include <thread>

#include "intake/command_table.h"
#include "intake_fixture.h"
#include "robocomm/intake.h"
#include "support/fake_clock.h"
#include "support/server_test.h"

namespace {

class WireTest : public robotest::ServerTest {
protected:
    void SetUp() override {
        intaketest::clearAllMailboxes();
        ServerTest::SetUp();
    }
    // The client's next whole message with this code, as a document.
    Json::Value answer(uint8_t code) {
        const auto text = client().readMessage(code);
        Json::Value document;
        EXPECT_TRUE(text && robocomm::parseDocument(*text, document)) << "no answer " << int(code);
        return document;
    }
};

TEST_F(WireTest, OddAndBadMessagesLeaveTheConnectionServing) {
    robotest::OutputCapture capture;
    client().sendCommand(18, "{}");
    client().sendCommand(72, "{}");
    client().sendCommand(101, "{}");
    client().sendCommand(99, "{}");
    client().sendCommand(3, "this is not json");
    // Sixteen bytes that were never enciphered with our key.
    client().sendFrame(4, 1, std::string(16, '\x5a'));
    // Clock commands that fail get no answer. -1 is the conversion's error
    // value, so the second before the epoch is refused too. The pass that
    // throws may cost the frame after it: each is followed by a silent one.
    robotest::failNextClockSet();
    client().sendCommand(67, R"({"Request":{"Set":{"TimeData":{"year":2024,"month":1,"day":1}}}})");
    client().sendCommand(18, "{}");
    client().sendCommand(67, R"({"Request":{"Set":{"TimeData":)"
                             R"({"year":1969,"month":12,"day":31,"hour":23,"minute":59,"second":59}}}})");
    client().sendCommand(18, "{}");
    // Sent last, so once it is polled everything before it has been parsed.
    client().sendCommand(61, R"({"Request":{"Set":{"Driving":{"set":1}}}})");
    // The receive thread parses on its own time: poll as a host loop would,
    // for at most two seconds.
    int32_t drive = 0;
    uint8_t served = 0;
    for (int attempt = 0; attempt < 200 && served == 0; ++attempt) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
        served = reqSetDriving(&drive);
    }
    std::vector<unsigned char> byPassTwo = {1};
    const uint8_t results[] = {reqSetIntegrationModifiedMapDataB(&byPassTwo), reqGetLidarSensorStatus(),
                               reqGetMotorStatus(), reqGetCameraStatus()};
    const auto [out, err] = capture.finish();

    EXPECT_EQ(served, 1) << "the connection stopped serving";
    // Only 99 is unknown: 18 is silent.
    EXPECT_NE(err.find("Unknown data format\n"), std::string::npos);
    EXPECT_EQ(err.find("Unknown data format\n"), err.rfind("Unknown data format\n"));
    // Both the body that is no JSON and the one that does not decipher fail to parse.
    EXPECT_NE(out.find("Failed to parse JSON: "), out.rfind("Failed to parse JSON: "));
    EXPECT_NE(out.find("JSON 데이터 복호화 실패\nFailed to parse JSON: "), std::string::npos);
    // The receive loop reports what the parser threw.
    EXPECT_NE((out + err).find("Exception occurred: Failed to convert time to epoch.\n"), std::string::npos);
    EXPECT_NE((out + err).find("Exception occurred: Failed to set system time.\n"), std::string::npos);
    EXPECT_EQ(out.find("sendLargeJsonData"), std::string::npos) << "nothing here is answered";
    EXPECT_TRUE(byPassTwo.empty());
    for (const uint8_t pending : results) EXPECT_EQ(pending, 1);
}

// Both are carried out on the receive thread and answered from there.
TEST_F(WireTest, TimeDataAndMismatchedOTADataAreAnsweredAtOnce) {
    client().sendCommand(67, R"({"Request":{"Set":{"TimeData":)"
                             R"({"year":2024,"month":2,"day":29,"hour":12,"minute":34,"second":56}}}})");
    client().sendCommand(81, R"({"Request":{"Set":{"OTA":{"data":"abc","checksum":"0"}}}})");
    EXPECT_TRUE(answer(67)["Response"]["Set"]["TimeData"]["result"].asBool());
    EXPECT_EQ(robotest::lastClockSet().seconds, 1709210096L);
    const Json::Value ota = answer(81)["Emergency"]["Send"]["OTA"];
    EXPECT_EQ(ota["progress"], 0);
    EXPECT_EQ(ota["state"], 15);
    TimeData_t time{};
    EXPECT_EQ(reqSetTimeData(&time), 0);
    otadataB_t image;
    EXPECT_EQ(reqSetOTAdata(&image), 0);
}

}  // namespace
