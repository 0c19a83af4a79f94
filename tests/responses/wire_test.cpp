// Answers as the client receives them: one enciphered frame each, under the
// command code of the answer and the message kind of its family.
#include <functional>
#include <tuple>
#include <vector>

#include "layout.h"
#include "robocomm/responses.h"
#include "robocomm/security.h"
#include "support/server_test.h"

namespace restest {
namespace {

constexpr uint8_t kAnswer = 2;
constexpr uint8_t kPush = 15;

struct WireCase {
    std::function<void()> send;
    uint8_t code;
    uint8_t kind;
    std::string text;
};

class AnswerWireTest : public robotest::ServerTest {
protected:
    void expectFrames(const std::vector<WireCase>& cases) {
        for (const WireCase& c : cases) {
            SCOPED_TRACE(c.text);
            c.send();
            const auto frame = client().readFrame();
            ASSERT_TRUE(frame.has_value());
            EXPECT_EQ(frame->header.identifier, c.code);
            EXPECT_EQ(frame->header.object, c.kind);
            EXPECT_EQ(frame->header.totalParts, 1);
            EXPECT_EQ(frame->header.partNumber, 1);
            EXPECT_EQ(frame->header.totalSize, frame->payload.size());
            // Enciphered: the text padded up to the next whole block.
            EXPECT_EQ(frame->payload.size(), (c.text.size() / 16 + 1) * 16);
            EXPECT_EQ(decryptData(frame->payload, key, iv), c.text);
        }
    }
};

const std::tuple<void (*)(bool), uint8_t, const char*> kSetAnswers[] = {
    {resSetReturnToChargingStation, 50, "ReturnToChargingStation"}, {resSetEmergencyStop, 51, "EmergencyStop"},
    {resSetStartLidar, 52, "StartLidar"}, {resSetStopLidar, 53, "StopLidar"},
    {resSetStartCharging, 54, "StartCharging"}, {resSetStopCharging, 55, "StopCharging"},
    {resSetSoftwareReset, 56, "SoftwareReset"}, {resSetMaxDrivingSpeed, 57, "MaxDrivingSpeed"},
    {resSetMotorManual_RPM, 58, "MotorManual_RPM"}, {resSetMotorManual_VW, 59, "MotorManual_VW"},
    {resSetTargetPosition, 60, "TargetPosition"}, {resSetDriving, 61, "Driving"}, {resSetMapping, 62, "Mapping"},
    {resSetModifiedMapData, 63, "ModifiedMapData"}, {resSetheartbeat, 64, "Heartbeat"},
    {resSetExcelSteps, 65, "ExcelSteps"}, {resSetRotation, 66, "Rotation"}, {resSetTimeData, 67, "TimeData"},
    {resSetIntegrationModifiedMapData, 70, "ModifiedMapData"}, {resSetByPassOneData, 71, "ByPass"},
    {resSetByPassTwoData, 72, "ByPass"}, {resSetPGMMapData, 73, "MapData"}, {resSetFactoryMode, 74, "FactoryMode"},
    {resSetBatterySleepMode, 75, "BatterySleepMode"}, {resSetSensorInspectionMode, 76, "SensorInspectionMode"},
    {resSetStationRepositioningIdx, 77, "StationRepositioning"}, {resSetOTA, 80, "OTA"},
    {resSetFactoryReset, 83, "OTA"}, {resSetRecovery, 84, "Recovery"}, {resSetDockingState, 90, "Docking"},
    {resSetSettingCommand, 251, "Setting"}, {resSetConfigCommand, 252, "Config"}};

TEST_F(AnswerWireTest, EverySetAnswerSendsItsCodeAndResult) {
    std::vector<WireCase> cases;
    bool ok = false;
    for (const auto& [setAnswer, code, name] : kSetAnswers) {
        ok = !ok;
        cases.push_back({[setAnswer = setAnswer, ok] { setAnswer(ok); }, code, kAnswer, result(name, ok)});
    }
    cases.push_back({[] { resSetResult(81, true); }, 81, kAnswer, result("OTA", true)});
    cases.push_back({[] { resSetResult(99, true); }, 99, kAnswer, "null"});
    expectFrames(cases);
}

// The builders' texts are checked on their own; here the answers must pick
// the right builder, code and kind, and do their own part of the work.
TEST_F(AnswerWireTest, GetAnswersAndPushes) {
    const std::vector<ErrorRecord> errors = {{1, 3, "E-\xec\x98\xa4"}, {0, 1, "E2"}};
    const std::string errorsText =
        R"([{"errorCode":"E-\uc624","rank":3,"resolved":1},{"errorCode":"E2","rank":1,"resolved":0}])";
    const unsigned char map[] = {'M', 'a', 'n', 0xff};
    expectFrames({
        {[] { resGetPosition(1.5, -2.5, 0.25); }, 1, kAnswer, createJsonPosition(1.5, -2.5, 0.25)},
        {[] { resGetTofStatus(1, 12.9, 2, -0.7, 3, -5.5); }, 6, kAnswer,
         answer("TofStatus", R"({"leftDistance":12,"leftStatus":1,"rightDistance":0,"rightStatus":2,)"
                             R"("topDistance":-5,"topStatus":3})")},
        {[] { resGetAllMovingInfoV2(1, true, 1, 2, 3, false, 4, 5, 6); }, 43, kAnswer,
         createJsonAllMovingInfoV2(1, true, 1, 2, 3, false, 4, 5, 6)},
        {[&] { resGetMapDataB(map, 4, 1, 2, 3, 4, 5); }, 15, kAnswer, createJsonMapDataC(1, 2, 3, 4, 5, map, 4)},
        {[&] { resGetModifiedMapDataB(map, 3, 6, 7); }, 17, kAnswer, createJsonModifiedMapDataC(6, 7, map, 3)},
        {[&] { resGetErrorList(errors); }, 12, kAnswer, answer("ErrorList", errorsText)},
        {[] { resGetErrorList({}); }, 12, kAnswer, answer("ErrorList", "null")},
        {[] { resGetNotification(7, "x"); }, 23, kAnswer, createJsonNotification(7, "x")},
        {[] { resSetOTAdata(0, 15); }, 81, kPush, push("OTA", R"({"progress":0,"state":15})")},
        {[] { EmergencyMSG_OTA(1, 40, "v"); }, 101, kPush, createJson_EmergencyMSG_OTA(1, 40, "v")},
        {[&] { EmergencyMSG_ERROR(errors); }, 100, kPush, push("ErrorList", errorsText)},
        {[] { EmergencyMSG_ERROR({}); }, 100, kPush, push("ErrorList", "null")},
    });
}

}  // namespace
}  // namespace restest
