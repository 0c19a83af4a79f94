// Response documents: the JSON answers to every command, the set-command
// results and the pushed messages, with the functions that send them.
//
// Builders (createJson...) return the document text; answer functions
// (res..., EmergencyMSG_...) build it and send it with their command code,
// message kind 2 for answers and 15 for pushes. Answer parameters follow the
// order of the builder they feed.
//
// Each answer function answers the command of its own name (intake.h names
// the answer beside each poll). Where names do not match: 72 is answered by
// resSetByPassTwoData, 77 by resSetStationRepositioningIdx, 81 by
// resSetResult(81, ok), and 83's result document is named "OTA". Every
// answer blocks its caller about 100 ms per frame (robocomm.h).
#pragma once

#include <string>
#include <vector>

#include <json/value.h>

#include "robocomm/export.h"
#include "robocomm/records.h"

// ---- Envelope and set results ----

// "null" for a code that has no result name.
ROBOCOMM_API std::string createJsonResult(int code, bool ok);

// ---- Sensor status ----

// floor(value * 10^digits) / 10^digits.
ROBOCOMM_API double truncateToPrecision(double value, int digits);

ROBOCOMM_API std::string createJsonPosition(double x, double y, double theta);
ROBOCOMM_API std::string createJsonLidarSensorStatus(int front, int rear);
ROBOCOMM_API std::string createJsonMotorStatus(double leftSpeed, double rightSpeed, double leftPower,
                                               double rightPower, int leftStatus, int rightStatus);
ROBOCOMM_API std::string createJsonCameraStatus(int status);
ROBOCOMM_API std::string createJsonLineLaserStatus(double left, double right);
ROBOCOMM_API std::string createJsonTofStatus(int leftStatus, int leftDistance, int rightStatus, int rightDistance,
                                             int topStatus, int topDistance);
ROBOCOMM_API std::string createJsonIRStatus(bool sensor1, bool sensor2, bool sensor3, bool sensor4, bool sensor5,
                                            bool sensor6, bool stationIR1, bool stationIR2, bool stationIR3,
                                            bool stationIR4);
ROBOCOMM_API std::string createJsonSonicStatus(int leftStatus, bool leftSensing, int rightStatus, bool rightSensing);
// The 4th value is written as both chargeState and capacity; the 5th is not used.
ROBOCOMM_API std::string createJsonBatteryStatus(double voltage, double current, double temperature,
                                                 double chargeState, double capacity, double designCapacity,
                                                 double percentage, double supplyStatus, double supplyHealth,
                                                 double supplyTechnology, double present, double cellVoltage,
                                                 double cellTemperature, double location,
                                                 const std::string& serialNumber);
ROBOCOMM_API std::string createJsonSoftwareVersion(const std::string& version);
ROBOCOMM_API std::string createJsonRobotInfo(const std::string& serialNumber, int status);
ROBOCOMM_API std::string createJsonTargetPosition(double x, double y, double theta);
ROBOCOMM_API std::string createJsonRobotSpeed(double mS, double radS);
ROBOCOMM_API std::string createJsonRobotStatus(int status);
ROBOCOMM_API std::string createJsonActionStatus(int status);
ROBOCOMM_API std::string createJsonMotorStatusV2(double leftRPM, double rightRPM, double leftCurrent,
                                                 double rightCurrent, int leftType, int rightType);
ROBOCOMM_API std::string createJsonRecvIRStatus(bool recvIR1, bool recvIR2, bool recvIR3, bool recvIR4);
ROBOCOMM_API std::string createJsonCliffIRStatus(bool cliffIR1, bool cliffIR2, bool cliffIR3, bool cliffIR4,
                                                 bool cliffIR5, bool cliffIR6);
ROBOCOMM_API std::string createJsonCameraStatusV2(int status, const std::vector<ObjectDataV2>& objects);
ROBOCOMM_API std::string createJsonLineLaserStatusV2(int status, const std::vector<LLDataV2>& positions);
ROBOCOMM_API std::string createJsonTofStatusV2(int leftStatus, const std::vector<int>& leftDistances,
                                               int rightStatus, const std::vector<int>& rightDistances,
                                               int topStatus, int topDistance);
ROBOCOMM_API std::string createJsonBatteryStatusV2(int cellVoltage1, int cellVoltage2, int cellVoltage3,
                                                   int cellVoltage4, int cellVoltage5, int totalCapacity,
                                                   int remainingCapacity, int batteryManufacturer,
                                                   int batteryPercent, double batteryVoltage,
                                                   double batteryCurrent, int batteryTemperature1,
                                                   int batteryTemperature2, int designCapacity,
                                                   int numberOfCycles);

// ---- Aggregate status ----

ROBOCOMM_API std::string createJsonAllStatus(
    int lidarFront, int lidarRear,
    double leftSpeed, double rightSpeed, double leftPower, double rightPower, int leftMotorStatus,
    int rightMotorStatus,
    int cameraStatus,
    int lineLaserLeft, int lineLaserRight,
    int tofLeftStatus, double tofLeftDistance, int tofRightStatus, double tofRightDistance, int tofTopStatus,
    double tofTopDistance,
    bool sensor1, bool sensor2, bool sensor3, bool sensor4, bool sensor5, bool sensor6, bool stationIR1,
    bool stationIR2, bool stationIR3, bool stationIR4,
    int sonicLeftStatus, int sonicLeftSensing, int sonicRightStatus, int sonicRightSensing,
    double voltage, double current, double temperature, double chargeState, double capacity, double designCapacity,
    double percentage, double supplyStatus, double supplyHealth, double supplyTechnology, double present,
    double cellVoltage, double cellTemperature, double location, std::string serialNumber);
ROBOCOMM_API std::string createJsonAllStatusV2(
    int lidarFront, int lidarRear,
    double leftRPM, double rightRPM, double leftCurrent, double rightCurrent, int leftType, int rightType,
    int cameraStatus, const std::vector<ObjectDataV2>& objects,
    int lineLaserStatus, const std::vector<LLDataV2>& positions,
    int tofLeftStatus, int tofRightStatus, int tofTopStatus, const std::vector<int>& leftDistances,
    const std::vector<int>& rightDistances, int tofTopDistance,
    bool cliffIR1, bool cliffIR2, bool cliffIR3, bool cliffIR4, bool cliffIR5, bool cliffIR6, bool recvIR1,
    bool recvIR2, bool recvIR3, bool recvIR4,
    double cellVoltage1, double cellVoltage2, double cellVoltage3, double cellVoltage4, double cellVoltage5,
    double totalCapacity, double remainingCapacity, int batteryManufacturer, double batteryPercent,
    double batteryVoltage, double batteryCurrent, double batteryTemperature1, double batteryTemperature2,
    double designCapacity, int numberOfCycles);
ROBOCOMM_API std::string createJsonAllMovingInfo(int movingState, double x, double y, double theta,
                                                 double targetX, double targetY, double targetTheta);
ROBOCOMM_API std::string createJsonAllMovingInfoV2(int movingState, bool validPosition, double x, double y,
                                                   double theta, bool validTargetPosition, double targetX,
                                                   double targetY, double targetTheta);
ROBOCOMM_API std::string createJsonDockingStatus(int state);

// ---- Maps ----

ROBOCOMM_API std::string createJsonMapStatus(bool mapping, const std::string& data);
ROBOCOMM_API std::string createJsonMapDataS(double width, double height, double resolution, double posX,
                                            double posY, const std::string& data);
ROBOCOMM_API std::string createJsonMapDataC(double width, double height, double resolution, double posX,
                                            double posY, const unsigned char* data, unsigned long size);
ROBOCOMM_API std::string createJsonIntegrationMapData(const unsigned char* data, unsigned long size);
ROBOCOMM_API std::string createJsonModifiedMapData(const std::string& data);
ROBOCOMM_API std::string createJsonModifiedMapDataC(double width, double height, const unsigned char* data,
                                                    unsigned long size);
ROBOCOMM_API std::string createJsonIntegrationModifiedMapDataC(const unsigned char* data, unsigned long size);
ROBOCOMM_API std::string createJsonLidarData(double front, double rear);

// ---- Errors, notifications and pushes ----

ROBOCOMM_API std::string createJsonErrorList(const Json::Value& list);
ROBOCOMM_API std::string createJsonEmergencyErrorList(const Json::Value& list);
ROBOCOMM_API std::string createJson_EmergencyMSG_OTA(int state, int progress, std::string version);
ROBOCOMM_API std::string createJson_EmergencyMSG_OTAData(int progress, int state);
ROBOCOMM_API std::string createJsonNotification(int code, std::string description);
ROBOCOMM_API std::string createJsonTargetPositionCalculate(double time, double distance, double x, double y,
                                                           double theta);
ROBOCOMM_API std::string createJsonAICalibration(int result);

ROBOCOMM_C_BEGIN

// ---- Set results (message kind 2, the command code of the name) ----

ROBOCOMM_API void resSetReturnToChargingStation(bool ok);
ROBOCOMM_API void resSetEmergencyStop(bool ok);
ROBOCOMM_API void resSetStartLidar(bool ok);
ROBOCOMM_API void resSetStopLidar(bool ok);
ROBOCOMM_API void resSetStartCharging(bool ok);
ROBOCOMM_API void resSetStopCharging(bool ok);
ROBOCOMM_API void resSetSoftwareReset(bool ok);
ROBOCOMM_API void resSetMaxDrivingSpeed(bool ok);
ROBOCOMM_API void resSetMotorManual_RPM(bool ok);
ROBOCOMM_API void resSetMotorManual_VW(bool ok);
ROBOCOMM_API void resSetTargetPosition(bool ok);
ROBOCOMM_API void resSetDriving(bool ok);
ROBOCOMM_API void resSetMapping(bool ok);
ROBOCOMM_API void resSetModifiedMapData(bool ok);
ROBOCOMM_API void resSetheartbeat(bool ok);
ROBOCOMM_API void resSetExcelSteps(bool ok);
ROBOCOMM_API void resSetRotation(bool ok);
ROBOCOMM_API void resSetTimeData(bool ok);
ROBOCOMM_API void resSetIntegrationModifiedMapData(bool ok);
ROBOCOMM_API void resSetByPassOneData(bool ok);
// Code 72 (polled with reqSetIntegrationModifiedMapDataB, which hands over
// no data for it); the document is the same "ByPass" result as code 71's.
ROBOCOMM_API void resSetByPassTwoData(bool ok);
ROBOCOMM_API void resSetPGMMapData(bool ok);
ROBOCOMM_API void resSetFactoryMode(bool ok);
ROBOCOMM_API void resSetBatterySleepMode(bool ok);
ROBOCOMM_API void resSetSensorInspectionMode(bool ok);
ROBOCOMM_API void resSetStationRepositioningIdx(bool ok);
ROBOCOMM_API void resSetOTA(bool ok);
// Code 83; its result document is named "OTA", as clients expect.
ROBOCOMM_API void resSetFactoryReset(bool ok);
ROBOCOMM_API void resSetRecovery(bool ok);
ROBOCOMM_API void resSetDockingState(bool ok);
ROBOCOMM_API void resSetSettingCommand(bool ok);
ROBOCOMM_API void resSetConfigCommand(bool ok);
// Any code; the answer to a firmware image (code 81) has no function of its
// own and is resSetResult(81, ok). A code without a result name sends "null".
ROBOCOMM_API void resSetResult(int code, bool ok);

// ---- Sensor status answers ----

ROBOCOMM_API void resGetPosition(double x, double y, double theta);
ROBOCOMM_API void resGetLidarSensorStatus(int front, int rear);
ROBOCOMM_API void resGetMotorStatus(double leftSpeed, double rightSpeed, double leftPower, double rightPower,
                                    int leftStatus, int rightStatus);
ROBOCOMM_API void resGetCameraStatus(int status);
ROBOCOMM_API void resGetLineLaserStatus(double left, double right);
// Distances are cut toward zero to whole numbers.
ROBOCOMM_API void resGetTofStatus(int leftStatus, double leftDistance, int rightStatus, double rightDistance,
                                  int topStatus, double topDistance);
ROBOCOMM_API void resGetIRStatus(bool sensor1, bool sensor2, bool sensor3, bool sensor4, bool sensor5, bool sensor6,
                                 bool stationIR1, bool stationIR2, bool stationIR3, bool stationIR4);
ROBOCOMM_API void resGetSonicStatus(int leftStatus, bool leftSensing, int rightStatus, bool rightSensing);
ROBOCOMM_API void resGetBatteryStatus(double voltage, double current, double temperature, double chargeState,
                                      double capacity, double designCapacity, double percentage, double supplyStatus,
                                      double supplyHealth, double supplyTechnology, double present,
                                      double cellVoltage, double cellTemperature, double location,
                                      const std::string& serialNumber);
ROBOCOMM_API void resGetSoftwareVersion(const std::string& version);
ROBOCOMM_API void resGetRobotInfo(const std::string& serialNumber, int status);
ROBOCOMM_API void resGetTargetPosition(double x, double y, double theta);
ROBOCOMM_API void resGetRobotSpeed(double mS, double radS);
ROBOCOMM_API void resGetRobotStatus(int status);
ROBOCOMM_API void resGetActionStatus(int status);
ROBOCOMM_API void resGetMotorStatusV2(double leftRPM, double rightRPM, double leftCurrent, double rightCurrent,
                                      int leftType, int rightType);
ROBOCOMM_API void resGetRecvIRStatus(bool recvIR1, bool recvIR2, bool recvIR3, bool recvIR4);
ROBOCOMM_API void resGetCliffIRStatus(bool cliffIR1, bool cliffIR2, bool cliffIR3, bool cliffIR4, bool cliffIR5,
                                      bool cliffIR6);
ROBOCOMM_API void resGetCameraStatusV2(int status, const std::vector<ObjectDataV2>& objects);
ROBOCOMM_API void resGetLineLaserStatusV2(int status, const std::vector<LLDataV2>& positions);
ROBOCOMM_API void resGetTofStatusV2(int leftStatus, const std::vector<int>& leftDistances, int rightStatus,
                                    const std::vector<int>& rightDistances, int topStatus, int topDistance);
ROBOCOMM_API void resGetBatteryStatusV2(int cellVoltage1, int cellVoltage2, int cellVoltage3, int cellVoltage4,
                                        int cellVoltage5, int totalCapacity, int remainingCapacity,
                                        int batteryManufacturer, int batteryPercent, double batteryVoltage,
                                        double batteryCurrent, int batteryTemperature1, int batteryTemperature2,
                                        int designCapacity, int numberOfCycles);

// ---- Aggregate answers ----

ROBOCOMM_API void resGetDockingStatus(int state);
ROBOCOMM_API void resGetAllStatus(
    int lidarFront, int lidarRear,
    double leftSpeed, double rightSpeed, double leftPower, double rightPower, int leftMotorStatus,
    int rightMotorStatus,
    int cameraStatus,
    int lineLaserLeft, int lineLaserRight,
    int tofLeftStatus, double tofLeftDistance, int tofRightStatus, double tofRightDistance, int tofTopStatus,
    double tofTopDistance,
    bool sensor1, bool sensor2, bool sensor3, bool sensor4, bool sensor5, bool sensor6, bool stationIR1,
    bool stationIR2, bool stationIR3, bool stationIR4,
    int sonicLeftStatus, int sonicLeftSensing, int sonicRightStatus, int sonicRightSensing,
    double voltage, double current, double temperature, double chargeState, double capacity, double designCapacity,
    double percentage, double supplyStatus, double supplyHealth, double supplyTechnology, double present,
    double cellVoltage, double cellTemperature, double location, const std::string& serialNumber);
ROBOCOMM_API void resGetAllMovingInfo(int movingState, double x, double y, double theta, double targetX,
                                      double targetY, double targetTheta);
ROBOCOMM_API void resGetAllStatusV2(
    int lidarFront, int lidarRear,
    double leftRPM, double rightRPM, double leftCurrent, double rightCurrent, int leftType, int rightType,
    int cameraStatus, const std::vector<ObjectDataV2>& objects,
    int lineLaserStatus, const std::vector<LLDataV2>& positions,
    int tofLeftStatus, int tofRightStatus, int tofTopStatus, const std::vector<int>& leftDistances,
    const std::vector<int>& rightDistances, int tofTopDistance,
    bool cliffIR1, bool cliffIR2, bool cliffIR3, bool cliffIR4, bool cliffIR5, bool cliffIR6, bool recvIR1,
    bool recvIR2, bool recvIR3, bool recvIR4,
    double cellVoltage1, double cellVoltage2, double cellVoltage3, double cellVoltage4, double cellVoltage5,
    double totalCapacity, double remainingCapacity, int batteryManufacturer, double batteryPercent,
    double batteryVoltage, double batteryCurrent, double batteryTemperature1, double batteryTemperature2,
    double designCapacity, int numberOfCycles);
ROBOCOMM_API void resGetAllMovingInfoV2(int movingState, bool validPosition, double x, double y, double theta,
                                        bool validTargetPosition, double targetX, double targetY,
                                        double targetTheta);

// ---- Map answers ----

ROBOCOMM_API void resGetMapStatus(bool mapping, const std::string& data);
// Code 15. The S form takes the image already as base64 text and sends it
// unchanged; the B form takes the raw bytes and encodes them.
ROBOCOMM_API void resGetMapDataS(const std::string& data, double width, double height, double resolution,
                                 double posX, double posY);
ROBOCOMM_API void resGetMapDataB(const unsigned char* data, unsigned long size, double width, double height,
                                 double resolution, double posX, double posY);
ROBOCOMM_API void resGetLidarData(double front, double rear);
// Code 17: base64 text as is, or (B) raw bytes, encoded here.
ROBOCOMM_API void resGetModifiedMapData(const std::string& data);
ROBOCOMM_API void resGetModifiedMapDataB(const unsigned char* data, unsigned long size, double width,
                                         double height);

// ---- Errors, notifications and pushes ----

ROBOCOMM_API void resGetErrorList(const std::vector<ErrorRecord>& errors);
ROBOCOMM_API void resGetTargetPositionCalculate(double time, double distance, double x, double y, double theta);
ROBOCOMM_API void resGetNotification(int code, const std::string& description);
ROBOCOMM_API void resGetAICalibration(int result);
// Firmware progress push (code 81, kind 15): progress first, then state.
ROBOCOMM_API void resSetOTAdata(int progress, int state);
// Error list push (code 100, kind 15); the client's reply is polled with RecvErrorRes.
ROBOCOMM_API void EmergencyMSG_ERROR(const std::vector<ErrorRecord>& errors);
// Firmware push (code 101, kind 15): state first, then progress.
ROBOCOMM_API void EmergencyMSG_OTA(int state, int progress, const std::string& version);

ROBOCOMM_C_END
