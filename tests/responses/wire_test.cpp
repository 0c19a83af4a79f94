// Answers as the client receives them: one enciphered frame each, under the
// command code of the answer and the message kind of its family.
#include <functional>
#include <vector>

#include "expected_text.h"
#include "robocomm/responses.h"
#include "robocomm/security.h"
#include "support/server_test.h"

namespace restest {
namespace {

constexpr uint8_t kAnswer = 2;
constexpr uint8_t kPush = 15;

struct WireCase {
    const char* name;
    std::function<void()> send;
    uint8_t code;
    uint8_t kind;
    std::string text;
};

class AnswerWireTest : public robotest::ServerTest {
protected:
    // Each answer is small enough for one frame.
    void expectFrames(const std::vector<WireCase>& cases) {
        for (const WireCase& c : cases) {
            SCOPED_TRACE(c.name);
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

using SetAnswer = void (*)(bool);

struct SetRow {
    SetAnswer answer;
    uint8_t code;
    const char* name;
};

const SetRow kSetRows[] = {
    {resSetReturnToChargingStation, 50, "ReturnToChargingStation"},
    {resSetEmergencyStop, 51, "EmergencyStop"},
    {resSetStartLidar, 52, "StartLidar"},
    {resSetStopLidar, 53, "StopLidar"},
    {resSetStartCharging, 54, "StartCharging"},
    {resSetStopCharging, 55, "StopCharging"},
    {resSetSoftwareReset, 56, "SoftwareReset"},
    {resSetMaxDrivingSpeed, 57, "MaxDrivingSpeed"},
    {resSetMotorManual_RPM, 58, "MotorManual_RPM"},
    {resSetMotorManual_VW, 59, "MotorManual_VW"},
    {resSetTargetPosition, 60, "TargetPosition"},
    {resSetDriving, 61, "Driving"},
    {resSetMapping, 62, "Mapping"},
    {resSetModifiedMapData, 63, "ModifiedMapData"},
    {resSetheartbeat, 64, "Heartbeat"},
    {resSetExcelSteps, 65, "ExcelSteps"},
    {resSetRotation, 66, "Rotation"},
    {resSetTimeData, 67, "TimeData"},
    {resSetIntegrationModifiedMapData, 70, "ModifiedMapData"},
    {resSetByPassOneData, 71, "ByPass"},
    {resSetByPassTwoData, 72, "ByPass"},
    {resSetPGMMapData, 73, "MapData"},
    {resSetFactoryMode, 74, "FactoryMode"},
    {resSetBatterySleepMode, 75, "BatterySleepMode"},
    {resSetSensorInspectionMode, 76, "SensorInspectionMode"},
    {resSetStationRepositioningIdx, 77, "StationRepositioning"},
    {resSetOTA, 80, "OTA"},
    {resSetFactoryReset, 83, "OTA"},
    {resSetRecovery, 84, "Recovery"},
    {resSetDockingState, 90, "Docking"},
    {resSetSettingCommand, 251, "Setting"},
    {resSetConfigCommand, 252, "Config"},
};

TEST_F(AnswerWireTest, EverySetAnswerSendsItsCodeAndResult) {
    std::vector<WireCase> cases;
    for (size_t i = 0; i < std::size(kSetRows); ++i) {
        const SetRow row = kSetRows[i];
        const bool ok = i % 2 == 0;
        cases.push_back({row.name, [row, ok] { row.answer(ok); }, row.code, kAnswer, resultText(row.name, ok)});
    }
    cases.push_back({"GenericFirmwareData", [] { resSetResult(81, true); }, 81, kAnswer, resultText("OTA", true)});
    cases.push_back({"GenericUnknownCode", [] { resSetResult(99, true); }, 99, kAnswer, "null"});
    expectFrames(cases);
}

const std::vector<ErrorRecord> kErrors = {{1, 3, "E-\xec\x98\xa4"}, {0, 1, "E2"}};

constexpr const char* kErrorsText = R"(
[
  {
    "errorCode" : "E-\uc624",
    "rank" : 3,
    "resolved" : 1
  },
  {
    "errorCode" : "E2",
    "rank" : 1,
    "resolved" : 0
  }
])";

const unsigned char kMapBytes[] = {'M', 'a', 'n', 0xff};

TEST_F(AnswerWireTest, GetAnswersPassTheirValuesOn) {
    expectFrames({
        {"Position", [] { resGetPosition(1.5, -2.5, 0.25); }, 1, kAnswer, createJsonPosition(1.5, -2.5, 0.25)},
        {"TofCutsTowardZero", [] { resGetTofStatus(1, 12.9, 2, -0.7, 3, -5.5); }, 6, kAnswer,
         answerText("TofStatus", R"(
{
  "leftDistance" : 12,
  "leftStatus" : 1,
  "rightDistance" : 0,
  "rightStatus" : 2,
  "topDistance" : -5,
  "topStatus" : 3
})")},
        {"Battery", [] { resGetBatteryStatus(1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, "S"); }, 9, kAnswer,
         createJsonBatteryStatus(1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, "S")},
        {"CameraV2", [] { resGetCameraStatusV2(1, {{1, 2, 3, 4, 5, 6, 7, 8}}); }, 34, kAnswer,
         createJsonCameraStatusV2(1, {{1, 2, 3, 4, 5, 6, 7, 8}})},
        {"Docking", [] { resGetDockingStatus(4); }, 30, kAnswer, createJsonDockingStatus(4)},
        {"AllMovingInfoV2", [] { resGetAllMovingInfoV2(1, true, 1, 2, 3, false, 4, 5, 6); }, 43, kAnswer,
         createJsonAllMovingInfoV2(1, true, 1, 2, 3, false, 4, 5, 6)},
        {"MapDataS", [] { resGetMapDataS("abc", 1, 2, 3, 4, 5); }, 15, kAnswer,
         createJsonMapDataS(1, 2, 3, 4, 5, "abc")},
        {"MapDataB", [] { resGetMapDataB(kMapBytes, 4, 1, 2, 3, 4, 5); }, 15, kAnswer,
         createJsonMapDataC(1, 2, 3, 4, 5, kMapBytes, 4)},
        {"ModifiedMapDataB", [] { resGetModifiedMapDataB(kMapBytes, 3, 6, 7); }, 17, kAnswer,
         createJsonModifiedMapDataC(6, 7, kMapBytes, 3)},
        {"LidarData", [] { resGetLidarData(1, 2); }, 16, kAnswer, createJsonLidarData(1, 2)},
        {"ErrorList", [] { resGetErrorList(kErrors); }, 12, kAnswer, answerText("ErrorList", kErrorsText)},
        {"EmptyErrorListIsNull", [] { resGetErrorList({}); }, 12, kAnswer, answerText("ErrorList", "null")},
        {"Notification", [] { resGetNotification(7, "x"); }, 23, kAnswer, createJsonNotification(7, "x")},
        {"TargetPositionCalculate", [] { resGetTargetPositionCalculate(1, 2, 3, 4, 5); }, 20, kAnswer,
         createJsonTargetPositionCalculate(1, 2, 3, 4, 5)},
    });
}

TEST_F(AnswerWireTest, PushesGoOutAsKindFifteen) {
    expectFrames({
        {"FirmwareProgress", [] { resSetOTAdata(40, 1); }, 81, kPush, createJson_EmergencyMSG_OTAData(40, 1)},
        {"FirmwareChecksumFailed", [] { resSetOTAdata(0, 15); }, 81, kPush, pushText("OTA", R"(
{
  "progress" : 0,
  "state" : 15
})")},
        {"Firmware", [] { EmergencyMSG_OTA(1, 40, "v"); }, 101, kPush, createJson_EmergencyMSG_OTA(1, 40, "v")},
        {"Errors", [] { EmergencyMSG_ERROR(kErrors); }, 100, kPush, pushText("ErrorList", kErrorsText)},
        {"NoErrors", [] { EmergencyMSG_ERROR({}); }, 100, kPush, pushText("ErrorList", "null")},
    });
}

}  // namespace
}  // namespace restest
