// Many readings, or the robot's motion state, in one answer.
#include <utility>

#include "responses/document.h"
#include "responses/status_members.h"
#include "robocomm/responses.h"

using robocomm::answerDocument;
using robocomm::sendAnswer;
using robocomm::setMembers;

// Unlike the single documents: line-laser values and sonar flags are ints,
// ToF distances stay doubles, the sonar key starts with a lower-case l, and
// all fourteen battery values keep their own member.
std::string createJsonAllStatus(
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
    double cellVoltage, double cellTemperature, double location, std::string serialNumber) {
    return answerDocument("AllStatus", [&](Json::Value& all) {
        setMembers(all["LidarSensorStatus"], robocomm::kLidarMembers, {lidarFront, lidarRear});
        setMembers(all["MotorStatus"], robocomm::kMotorMembers,
                   {leftSpeed, rightSpeed, leftPower, rightPower, leftMotorStatus, rightMotorStatus});
        all["CameraStatus"]["status"] = cameraStatus;
        setMembers(all["LineLaserStatus"], robocomm::kLineLaserMembers, {lineLaserLeft, lineLaserRight});
        setMembers(all["TofStatus"], robocomm::kTofMembers,
                   {tofLeftStatus, tofLeftDistance, tofRightStatus, tofRightDistance, tofTopStatus,
                    tofTopDistance});
        setMembers(all["IRStatus"], robocomm::kIRMembers,
                   {sensor1, sensor2, sensor3, sensor4, sensor5, sensor6, stationIR1, stationIR2, stationIR3,
                    stationIR4});
        Json::Value& sonic = all["SonicStatus"];
        sonic["leftStatus"] = sonicLeftStatus;
        sonic["leftSenseing"] = sonicLeftSensing;
        sonic["rightStatus"] = sonicRightStatus;
        sonic["rightSenseing"] = sonicRightSensing;
        Json::Value& battery = all["BatteryStatus"];
        setMembers(battery, robocomm::kBatteryMembers,
                   {voltage, current, temperature, chargeState, capacity, designCapacity, percentage,
                    supplyStatus, supplyHealth, supplyTechnology, present, cellVoltage, cellTemperature,
                    location});
        battery["serialNumber"] = std::move(serialNumber);
    });
}

// No IR or sonar groups here, and the battery values are doubles where the
// single V2 battery document writes ints.
std::string createJsonAllStatusV2(
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
    double designCapacity, int numberOfCycles) {
    return answerDocument("AllStatus", [&](Json::Value& all) {
        setMembers(all["LidarSensorStatus"], robocomm::kLidarMembers, {lidarFront, lidarRear});
        setMembers(all["MotorStatus"], robocomm::kMotorV2Members,
                   {leftRPM, rightRPM, leftCurrent, rightCurrent, leftType, rightType});
        Json::Value& camera = all["CameraStatus"];
        camera["status"] = cameraStatus;
        camera["objects"] = robocomm::objectList(objects);
        Json::Value& lineLaser = all["LineLaserStatus"];
        lineLaser["status"] = lineLaserStatus;
        lineLaser["positions"] = robocomm::pointList(positions);
        Json::Value& tof = all["TofStatus"];
        tof["leftStatus"] = tofLeftStatus;
        tof["rightStatus"] = tofRightStatus;
        tof["topStatus"] = tofTopStatus;
        tof["leftDistances"] = robocomm::distanceList(leftDistances);
        tof["rightDistances"] = robocomm::distanceList(rightDistances);
        tof["topDistance"] = tofTopDistance;
        setMembers(all["CliffIRStatus"], robocomm::kCliffIRMembers,
                   {cliffIR1, cliffIR2, cliffIR3, cliffIR4, cliffIR5, cliffIR6});
        setMembers(all["RecvIRStatus"], robocomm::kRecvIRMembers, {recvIR1, recvIR2, recvIR3, recvIR4});
        setMembers(all["BatteryStatus"], robocomm::kBatteryV2Members,
                   {cellVoltage1, cellVoltage2, cellVoltage3, cellVoltage4, cellVoltage5, totalCapacity,
                    remainingCapacity, batteryManufacturer, batteryPercent, batteryVoltage, batteryCurrent,
                    batteryTemperature1, batteryTemperature2, designCapacity, numberOfCycles});
    });
}

// "Position" is capitalised here, unlike the single position answer.
std::string createJsonAllMovingInfo(int movingState, double x, double y, double theta, double targetX,
                                    double targetY, double targetTheta) {
    return answerDocument("AllMovingInfo", [&](Json::Value& info) {
        info["movingState"] = movingState;
        setMembers(info["Position"], robocomm::kPoseMembers, {x, y, theta});
        setMembers(info["TargetPosition"], robocomm::kPoseMembers, {targetX, targetY, targetTheta});
    });
}

// The validity flags travel beside the poses; they never suppress them.
std::string createJsonAllMovingInfoV2(int movingState, bool validPosition, double x, double y, double theta,
                                      bool validTargetPosition, double targetX, double targetY,
                                      double targetTheta) {
    return answerDocument("AllMovingInfo", [&](Json::Value& info) {
        info["movingState"] = movingState;
        info["validPosition"] = validPosition;
        setMembers(info["Position"], robocomm::kPoseMembers, {x, y, theta});
        info["validTargetPosition"] = validTargetPosition;
        setMembers(info["TargetPosition"], robocomm::kPoseMembers, {targetX, targetY, targetTheta});
    });
}

std::string createJsonDockingStatus(int state) {
    return answerDocument("Docking", [&](Json::Value& body) { body["state"] = state; });
}

void resGetDockingStatus(int state) { sendAnswer(createJsonDockingStatus(state), 30); }

void resGetAllStatus(
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
    double cellVoltage, double cellTemperature, double location, const std::string& serialNumber) {
    sendAnswer(createJsonAllStatus(lidarFront, lidarRear, leftSpeed, rightSpeed, leftPower, rightPower,
                                   leftMotorStatus, rightMotorStatus, cameraStatus, lineLaserLeft, lineLaserRight,
                                   tofLeftStatus, tofLeftDistance, tofRightStatus, tofRightDistance, tofTopStatus,
                                   tofTopDistance, sensor1, sensor2, sensor3, sensor4, sensor5, sensor6,
                                   stationIR1, stationIR2, stationIR3, stationIR4, sonicLeftStatus,
                                   sonicLeftSensing, sonicRightStatus, sonicRightSensing, voltage, current,
                                   temperature, chargeState, capacity, designCapacity, percentage, supplyStatus,
                                   supplyHealth, supplyTechnology, present, cellVoltage, cellTemperature, location,
                                   serialNumber),
               40);
}

void resGetAllMovingInfo(int movingState, double x, double y, double theta, double targetX, double targetY,
                         double targetTheta) {
    sendAnswer(createJsonAllMovingInfo(movingState, x, y, theta, targetX, targetY, targetTheta), 41);
}

void resGetAllStatusV2(
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
    double designCapacity, int numberOfCycles) {
    sendAnswer(createJsonAllStatusV2(lidarFront, lidarRear, leftRPM, rightRPM, leftCurrent, rightCurrent, leftType,
                                     rightType, cameraStatus, objects, lineLaserStatus, positions, tofLeftStatus,
                                     tofRightStatus, tofTopStatus, leftDistances, rightDistances, tofTopDistance,
                                     cliffIR1, cliffIR2, cliffIR3, cliffIR4, cliffIR5, cliffIR6, recvIR1, recvIR2,
                                     recvIR3, recvIR4, cellVoltage1, cellVoltage2, cellVoltage3, cellVoltage4,
                                     cellVoltage5, totalCapacity, remainingCapacity, batteryManufacturer,
                                     batteryPercent, batteryVoltage, batteryCurrent, batteryTemperature1,
                                     batteryTemperature2, designCapacity, numberOfCycles),
               42);
}

void resGetAllMovingInfoV2(int movingState, bool validPosition, double x, double y, double theta,
                           bool validTargetPosition, double targetX, double targetY, double targetTheta) {
    sendAnswer(createJsonAllMovingInfoV2(movingState, validPosition, x, y, theta, validTargetPosition, targetX,
                                         targetY, targetTheta),
               43);
}
