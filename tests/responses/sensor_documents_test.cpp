// Single-sensor answers, each kind once, with the edge cases of their values.
#include "expected_text.h"
#include "robocomm/responses.h"

namespace restest {
namespace {

const std::vector<DocumentCase> kSensorDocuments = {
    {"Position", [] { return createJsonPosition(1.5, -2.25, 0.125); },
     answerText("position", R"(
{
  "theta" : 0.125,
  "x" : 1.5,
  "y" : -2.25
})")},
    {"PositionKeepsValuesUncut", [] { return createJsonPosition(-1.23456, 0.1, 0); },
     answerText("position", R"(
{
  "theta" : 0.0,
  "x" : -1.2345600000000001,
  "y" : 0.10000000000000001
})")},
    {"LidarSensorStatus", [] { return createJsonLidarSensorStatus(1, 0); },
     answerText("LidarSensorStatus", R"(
{
  "front" : 1,
  "rear" : 0
})")},
    {"MotorStatus", [] { return createJsonMotorStatus(1.5, -1.5, 0.25, 0.75, 3, 4); },
     answerText("MotorStatus", R"(
{
  "leftPower" : 0.25,
  "leftSpeed" : 1.5,
  "leftStatus" : 3,
  "rightPower" : 0.75,
  "rightSpeed" : -1.5,
  "rightStatus" : 4
})")},
    {"CameraStatus", [] { return createJsonCameraStatus(7); },
     answerText("CameraStatus", R"(
{
  "status" : 7
})")},
    {"LineLaserStatus", [] { return createJsonLineLaserStatus(0.5, 12); },
     answerText("LineLaserStatus", R"(
{
  "left" : 0.5,
  "right" : 12.0
})")},
    {"TofStatus", [] { return createJsonTofStatus(1, 120, 0, -3, 2, 2147483647); },
     answerText("TofStatus", R"(
{
  "leftDistance" : 120,
  "leftStatus" : 1,
  "rightDistance" : -3,
  "rightStatus" : 0,
  "topDistance" : 2147483647,
  "topStatus" : 2
})")},
    {"IRStatus", [] { return createJsonIRStatus(true, false, true, true, false, false, false, true, false, true); },
     answerText("IRStatus", R"(
{
  "sensor1" : true,
  "sensor2" : false,
  "sensor3" : true,
  "sensor4" : true,
  "sensor5" : false,
  "sensor6" : false,
  "stationIR1" : false,
  "stationIR2" : true,
  "stationIR3" : false,
  "stationIR4" : true
})")},
    {"SonicStatusKeepsItsSpellings", [] { return createJsonSonicStatus(1, true, 2, false); },
     answerText("SonicStatus", R"(
{
  "LeftSenseing" : true,
  "leftStatus" : 1,
  "rightSenseing" : false,
  "rightStatus" : 2
})")},
    {"BatteryStatusWritesTheFourthTwiceAndDropsTheFifth",
     [] { return createJsonBatteryStatus(1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, "SN-01"); },
     answerText("BatteryStatus", R"(
{
  "capacity" : 4.0,
  "cellTemperature" : 13.0,
  "cellVoltage" : 12.0,
  "chargeState" : 4.0,
  "current" : 2.0,
  "designCapacity" : 6.0,
  "location" : 14.0,
  "percentage" : 7.0,
  "present" : 11.0,
  "serialNumber" : "SN-01",
  "supplyHealth" : 9.0,
  "supplyStatus" : 8.0,
  "supplyTechnology" : 10.0,
  "temperature" : 3.0,
  "voltage" : 1.0
})")},
    {"SoftwareVersionEscapesNonAscii", [] { return createJsonSoftwareVersion("v2.1 \xed\x95\x9c"); },
     answerText("SoftwareVersion", R"(
{
  "version" : "v2.1 \ud55c"
})")},
    {"RobotInfo", [] { return createJsonRobotInfo("SN-01", 3); },
     answerText("RobotInfo", R"(
{
  "serialNumber" : "SN-01",
  "status" : 3
})")},
    {"TargetPosition", [] { return createJsonTargetPosition(-1.5, 2.5, 3); },
     answerText("TargetPosition", R"(
{
  "theta" : 3.0,
  "x" : -1.5,
  "y" : 2.5
})")},
    {"RobotSpeed", [] { return createJsonRobotSpeed(0.5, -0.25); },
     answerText("RobotSpeed", R"(
{
  "mS" : 0.5,
  "radS" : -0.25
})")},
    {"RobotStatus", [] { return createJsonRobotStatus(2); },
     answerText("RobotStatus", R"(
{
  "status" : 2
})")},
    {"ActionStatus", [] { return createJsonActionStatus(-1); },
     answerText("ActionStatus", R"(
{
  "status" : -1
})")},
    {"MotorStatusV2", [] { return createJsonMotorStatusV2(100.5, -100.5, 1.25, 1.75, 1, 2); },
     answerText("MotorStatus", R"(
{
  "leftCurrent" : 1.25,
  "leftRPM" : 100.5,
  "leftType" : 1,
  "rightCurrent" : 1.75,
  "rightRPM" : -100.5,
  "rightType" : 2
})")},
    {"RecvIRStatus", [] { return createJsonRecvIRStatus(true, false, false, true); },
     answerText("RecvIRStatus", R"(
{
  "RecvIR1" : true,
  "RecvIR2" : false,
  "RecvIR3" : false,
  "RecvIR4" : true
})")},
    {"CliffIRStatus", [] { return createJsonCliffIRStatus(false, true, false, true, false, true); },
     answerText("CliffIRStatus", R"(
{
  "CliffIR1" : false,
  "CliffIR2" : true,
  "CliffIR3" : false,
  "CliffIR4" : true,
  "CliffIR5" : false,
  "CliffIR6" : true
})")},
    {"CameraStatusV2",
     [] {
         return createJsonCameraStatusV2(
             1, {{3, 90, -10, 20, -30, 40, 50, 65535}, {255, 0, -32768, 32767, 0, 0, 0, 0}});
     },
     answerText("CameraStatus", R"(
{
  "objects" :
  [
    {
      "classID" : 3,
      "confidence" : 90,
      "distance" : 65535,
      "height" : 50,
      "theta" : -30,
      "width" : 40,
      "x" : -10,
      "y" : 20
    },
    {
      "classID" : 255,
      "confidence" : 0,
      "distance" : 0,
      "height" : 0,
      "theta" : 0,
      "width" : 0,
      "x" : -32768,
      "y" : 32767
    }
  ],
  "status" : 1
})")},
    {"CameraStatusV2WithoutObjects", [] { return createJsonCameraStatusV2(0, {}); },
     answerText("CameraStatus", R"(
{
  "objects" : [],
  "status" : 0
})")},
    {"LineLaserStatusV2", [] { return createJsonLineLaserStatusV2(2, {{-5, 6, 7, -1, 8, 65535}}); },
     answerText("LineLaserStatus", R"(
{
  "positions" :
  [
    {
      "direction" : -1,
      "distance" : 65535,
      "height" : 8,
      "theta" : 7,
      "x" : -5,
      "y" : 6
    }
  ],
  "status" : 2
})")},
    {"LineLaserStatusV2WithoutPoints", [] { return createJsonLineLaserStatusV2(0, {}); },
     answerText("LineLaserStatus", R"(
{
  "positions" : [],
  "status" : 0
})")},
    {"TofStatusV2", [] { return createJsonTofStatusV2(1, {10, 20}, 2, {}, 3, 40); },
     answerText("TofStatus", R"(
{
  "leftDistances" :
  [
    10,
    20
  ],
  "leftStatus" : 1,
  "rightDistances" : [],
  "rightStatus" : 2,
  "topDistance" : 40,
  "topStatus" : 3
})")},
    {"BatteryStatusV2",
     [] {
         return createJsonBatteryStatusV2(3700, 3701, 3702, 3703, 3704, 5000, 2500, 7, 50, 18.5, -1.25, 25, 26,
                                          5200, 300);
     },
     answerText("BatteryStatus", R"(
{
  "batteryCurrent" : -1.25,
  "batteryManufacturer" : 7,
  "batteryPercent" : 50,
  "batteryTemperature1" : 25,
  "batteryTemperature2" : 26,
  "batteryVoltage" : 18.5,
  "cellVoltage1" : 3700,
  "cellVoltage2" : 3701,
  "cellVoltage3" : 3702,
  "cellVoltage4" : 3703,
  "cellVoltage5" : 3704,
  "designCapacity" : 5200,
  "numberOfCycles" : 300,
  "remainingCapacity" : 2500,
  "totalCapacity" : 5000
})")},
};

INSTANTIATE_TEST_SUITE_P(Sensor, DocumentTextTest, ::testing::ValuesIn(kSensorDocuments), caseName);

}  // namespace
}  // namespace restest
