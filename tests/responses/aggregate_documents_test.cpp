// Aggregate answers: the per-sensor groups nested under one document, with
// their own types and spellings.
#include "expected_text.h"
#include "robocomm/responses.h"

namespace restest {
namespace {

std::string allStatus() {
    return createJsonAllStatus(1, 2,                                  // lidar
                               0.5, 1.5, 2.5, 3.5, 4, 5,              // motors
                               6,                                     // camera
                               7, 8,                                  // line lasers
                               9, 10.5, 11, 12.5, 13, 14.75,          // time of flight
                               true, false, true, false, true, false,  // IR
                               true, true, false, false,              // station IR
                               15, 1, 16, 0,                          // sonar
                               21, 22, 23, 24, 25, 26, 27, 28, 29, 30, 31, 32, 33, 34, "SN-9");
}

std::string allStatusV2() {
    return createJsonAllStatusV2(1, 2,                                        // lidar
                                 10.5, 11.5, 0.25, 0.5, 1, 2,                 // motors
                                 3, {{1, 2, 3, 4, 5, 6, 7, 8}},               // camera
                                 4, {},                                       // line lasers
                                 5, 6, 7, {100}, {}, 300,                     // time of flight
                                 true, false, false, false, false, true,      // cliff IR
                                 false, true, true, false,                    // received IR
                                 3.5, 3.25, 3.125, 3, 2.5, 5000, 2500.5, 9,   // cells, capacities, maker
                                 50.5, 17.5, -2, 30.25, 31, 5200, 12);        // percent .. cycles
}

const std::vector<DocumentCase> kAggregateDocuments = {
    {"AllStatus", allStatus,
     answerText("AllStatus", R"(
{
  "BatteryStatus" :
  {
    "capacity" : 25.0,
    "cellTemperature" : 33.0,
    "cellVoltage" : 32.0,
    "chargeState" : 24.0,
    "current" : 22.0,
    "designCapacity" : 26.0,
    "location" : 34.0,
    "percentage" : 27.0,
    "present" : 31.0,
    "serialNumber" : "SN-9",
    "supplyHealth" : 29.0,
    "supplyStatus" : 28.0,
    "supplyTechnology" : 30.0,
    "temperature" : 23.0,
    "voltage" : 21.0
  },
  "CameraStatus" :
  {
    "status" : 6
  },
  "IRStatus" :
  {
    "sensor1" : true,
    "sensor2" : false,
    "sensor3" : true,
    "sensor4" : false,
    "sensor5" : true,
    "sensor6" : false,
    "stationIR1" : true,
    "stationIR2" : true,
    "stationIR3" : false,
    "stationIR4" : false
  },
  "LidarSensorStatus" :
  {
    "front" : 1,
    "rear" : 2
  },
  "LineLaserStatus" :
  {
    "left" : 7,
    "right" : 8
  },
  "MotorStatus" :
  {
    "leftPower" : 2.5,
    "leftSpeed" : 0.5,
    "leftStatus" : 4,
    "rightPower" : 3.5,
    "rightSpeed" : 1.5,
    "rightStatus" : 5
  },
  "SonicStatus" :
  {
    "leftSenseing" : 1,
    "leftStatus" : 15,
    "rightSenseing" : 0,
    "rightStatus" : 16
  },
  "TofStatus" :
  {
    "leftDistance" : 10.5,
    "leftStatus" : 9,
    "rightDistance" : 12.5,
    "rightStatus" : 11,
    "topDistance" : 14.75,
    "topStatus" : 13
  }
})")},
    {"AllStatusV2", allStatusV2,
     answerText("AllStatus", R"(
{
  "BatteryStatus" :
  {
    "batteryCurrent" : -2.0,
    "batteryManufacturer" : 9,
    "batteryPercent" : 50.5,
    "batteryTemperature1" : 30.25,
    "batteryTemperature2" : 31.0,
    "batteryVoltage" : 17.5,
    "cellVoltage1" : 3.5,
    "cellVoltage2" : 3.25,
    "cellVoltage3" : 3.125,
    "cellVoltage4" : 3.0,
    "cellVoltage5" : 2.5,
    "designCapacity" : 5200.0,
    "numberOfCycles" : 12,
    "remainingCapacity" : 2500.5,
    "totalCapacity" : 5000.0
  },
  "CameraStatus" :
  {
    "objects" :
    [
      {
        "classID" : 1,
        "confidence" : 2,
        "distance" : 8,
        "height" : 7,
        "theta" : 5,
        "width" : 6,
        "x" : 3,
        "y" : 4
      }
    ],
    "status" : 3
  },
  "CliffIRStatus" :
  {
    "CliffIR1" : true,
    "CliffIR2" : false,
    "CliffIR3" : false,
    "CliffIR4" : false,
    "CliffIR5" : false,
    "CliffIR6" : true
  },
  "LidarSensorStatus" :
  {
    "front" : 1,
    "rear" : 2
  },
  "LineLaserStatus" :
  {
    "positions" : [],
    "status" : 4
  },
  "MotorStatus" :
  {
    "leftCurrent" : 0.25,
    "leftRPM" : 10.5,
    "leftType" : 1,
    "rightCurrent" : 0.5,
    "rightRPM" : 11.5,
    "rightType" : 2
  },
  "RecvIRStatus" :
  {
    "RecvIR1" : false,
    "RecvIR2" : true,
    "RecvIR3" : true,
    "RecvIR4" : false
  },
  "TofStatus" :
  {
    "leftDistances" :
    [
      100
    ],
    "leftStatus" : 5,
    "rightDistances" : [],
    "rightStatus" : 6,
    "topDistance" : 300,
    "topStatus" : 7
  }
})")},
    {"AllMovingInfo", [] { return createJsonAllMovingInfo(1, 0.5, 1.5, 2.5, -0.5, -1.5, -2.5); },
     answerText("AllMovingInfo", R"(
{
  "Position" :
  {
    "theta" : 2.5,
    "x" : 0.5,
    "y" : 1.5
  },
  "TargetPosition" :
  {
    "theta" : -2.5,
    "x" : -0.5,
    "y" : -1.5
  },
  "movingState" : 1
})")},
    {"AllMovingInfoV2WritesPosesWhateverTheFlags",
     [] { return createJsonAllMovingInfoV2(2, false, 0.5, 1.5, 2.5, true, -0.5, -1.5, -2.5); },
     answerText("AllMovingInfo", R"(
{
  "Position" :
  {
    "theta" : 2.5,
    "x" : 0.5,
    "y" : 1.5
  },
  "TargetPosition" :
  {
    "theta" : -2.5,
    "x" : -0.5,
    "y" : -1.5
  },
  "movingState" : 2,
  "validPosition" : false,
  "validTargetPosition" : true
})")},
    {"Docking", [] { return createJsonDockingStatus(3); },
     answerText("Docking", R"(
{
  "state" : 3
})")},
};

INSTANTIATE_TEST_SUITE_P(Aggregate, DocumentTextTest, ::testing::ValuesIn(kAggregateDocuments), caseName);

}  // namespace
}  // namespace restest
