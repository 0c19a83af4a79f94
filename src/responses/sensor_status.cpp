// Answers that report one sensor or one robot quantity.
#include <climits>
#include <cmath>
#include <iostream>

#include "responses/document.h"
#include "responses/status_members.h"
#include "robocomm/responses.h"

using robocomm::answerDocument;
using robocomm::sendAnswer;
using robocomm::setMembers;

namespace {

// Toward zero, as the robot's 64-bit ARM target converts: out-of-range values
// saturate and NaN becomes 0 instead of being undefined.
int truncateDistance(double distance) {
    if (std::isnan(distance)) return 0;
    if (distance <= INT_MIN) return INT_MIN;
    if (distance >= INT_MAX) return INT_MAX;
    return static_cast<int>(distance);
}

}  // namespace

double truncateToPrecision(double value, int digits) {
    const double scale = std::pow(10.0, digits);
    return std::floor(value * scale) / scale;
}

// The console line is what the operator watches while driving; the document
// keeps the values uncut.
std::string createJsonPosition(double x, double y, double theta) {
    std::cout << "x: " << truncateToPrecision(x, 3) << "/ y: " << truncateToPrecision(y, 3)
              << "/ theta: " << truncateToPrecision(theta, 3) << std::endl;
    return answerDocument("position", [&](Json::Value& body) {
        setMembers(body, robocomm::kPoseMembers, {x, y, theta});
    });
}

std::string createJsonLidarSensorStatus(int front, int rear) {
    return answerDocument("LidarSensorStatus", [&](Json::Value& body) {
        setMembers(body, robocomm::kLidarMembers, {front, rear});
    });
}

std::string createJsonMotorStatus(double leftSpeed, double rightSpeed, double leftPower, double rightPower,
                                  int leftStatus, int rightStatus) {
    return answerDocument("MotorStatus", [&](Json::Value& body) {
        setMembers(body, robocomm::kMotorMembers,
                   {leftSpeed, rightSpeed, leftPower, rightPower, leftStatus, rightStatus});
    });
}

std::string createJsonCameraStatus(int status) {
    return answerDocument("CameraStatus", [&](Json::Value& body) { body["status"] = status; });
}

std::string createJsonLineLaserStatus(double left, double right) {
    return answerDocument("LineLaserStatus", [&](Json::Value& body) {
        setMembers(body, robocomm::kLineLaserMembers, {left, right});
    });
}

std::string createJsonTofStatus(int leftStatus, int leftDistance, int rightStatus, int rightDistance, int topStatus,
                                int topDistance) {
    return answerDocument("TofStatus", [&](Json::Value& body) {
        setMembers(body, robocomm::kTofMembers,
                   {leftStatus, leftDistance, rightStatus, rightDistance, topStatus, topDistance});
    });
}

std::string createJsonIRStatus(bool sensor1, bool sensor2, bool sensor3, bool sensor4, bool sensor5, bool sensor6,
                               bool stationIR1, bool stationIR2, bool stationIR3, bool stationIR4) {
    return answerDocument("IRStatus", [&](Json::Value& body) {
        setMembers(
            body, robocomm::kIRMembers,
            {sensor1, sensor2, sensor3, sensor4, sensor5, sensor6, stationIR1, stationIR2, stationIR3, stationIR4});
    });
}

// "LeftSenseing" and "rightSenseing" are the protocol's own spellings.
std::string createJsonSonicStatus(int leftStatus, bool leftSensing, int rightStatus, bool rightSensing) {
    return answerDocument("SonicStatus", [&](Json::Value& body) {
        body["leftStatus"] = leftStatus;
        body["LeftSenseing"] = leftSensing;
        body["rightStatus"] = rightStatus;
        body["rightSenseing"] = rightSensing;
    });
}

// Clients of this document read the charge state under "capacity" as well;
// the capacity parameter has never been sent.
std::string createJsonBatteryStatus(double voltage, double current, double temperature, double chargeState,
                                    double /*capacity*/, double designCapacity, double percentage, double supplyStatus,
                                    double supplyHealth, double supplyTechnology, double present, double cellVoltage,
                                    double cellTemperature, double location, const std::string& serialNumber) {
    return answerDocument("BatteryStatus", [&](Json::Value& body) {
        setMembers(body, robocomm::kBatteryMembers,
                   {voltage, current, temperature, chargeState, chargeState, designCapacity, percentage, supplyStatus,
                    supplyHealth, supplyTechnology, present, cellVoltage, cellTemperature, location});
        body["serialNumber"] = serialNumber;
    });
}

std::string createJsonSoftwareVersion(const std::string& version) {
    return answerDocument("SoftwareVersion", [&](Json::Value& body) { body["version"] = version; });
}

std::string createJsonRobotInfo(const std::string& serialNumber, int status) {
    return answerDocument("RobotInfo", [&](Json::Value& body) {
        body["serialNumber"] = serialNumber;
        body["status"] = status;
    });
}

std::string createJsonTargetPosition(double x, double y, double theta) {
    return answerDocument("TargetPosition", [&](Json::Value& body) {
        setMembers(body, robocomm::kPoseMembers, {x, y, theta});
    });
}

std::string createJsonRobotSpeed(double mS, double radS) {
    return answerDocument("RobotSpeed", [&](Json::Value& body) {
        body["mS"] = mS;
        body["radS"] = radS;
    });
}

std::string createJsonRobotStatus(int status) {
    return answerDocument("RobotStatus", [&](Json::Value& body) { body["status"] = status; });
}

std::string createJsonActionStatus(int status) {
    return answerDocument("ActionStatus", [&](Json::Value& body) { body["status"] = status; });
}

std::string createJsonMotorStatusV2(double leftRPM, double rightRPM, double leftCurrent, double rightCurrent,
                                    int leftType, int rightType) {
    return answerDocument("MotorStatus", [&](Json::Value& body) {
        setMembers(body, robocomm::kMotorV2Members,
                   {leftRPM, rightRPM, leftCurrent, rightCurrent, leftType, rightType});
    });
}

std::string createJsonRecvIRStatus(bool recvIR1, bool recvIR2, bool recvIR3, bool recvIR4) {
    return answerDocument("RecvIRStatus", [&](Json::Value& body) {
        setMembers(body, robocomm::kRecvIRMembers, {recvIR1, recvIR2, recvIR3, recvIR4});
    });
}

std::string createJsonCliffIRStatus(bool cliffIR1, bool cliffIR2, bool cliffIR3, bool cliffIR4, bool cliffIR5,
                                    bool cliffIR6) {
    return answerDocument("CliffIRStatus", [&](Json::Value& body) {
        setMembers(body, robocomm::kCliffIRMembers, {cliffIR1, cliffIR2, cliffIR3, cliffIR4, cliffIR5, cliffIR6});
    });
}

std::string createJsonCameraStatusV2(int status, const std::vector<ObjectDataV2>& objects) {
    return answerDocument("CameraStatus", [&](Json::Value& body) {
        body["status"] = status;
        body["objects"] = robocomm::objectList(objects);
    });
}

std::string createJsonLineLaserStatusV2(int status, const std::vector<LLDataV2>& positions) {
    return answerDocument("LineLaserStatus", [&](Json::Value& body) {
        body["status"] = status;
        body["positions"] = robocomm::pointList(positions);
    });
}

std::string createJsonTofStatusV2(int leftStatus, const std::vector<int>& leftDistances, int rightStatus,
                                  const std::vector<int>& rightDistances, int topStatus, int topDistance) {
    return answerDocument("TofStatus", [&](Json::Value& body) {
        body["leftStatus"] = leftStatus;
        body["leftDistances"] = robocomm::distanceList(leftDistances);
        body["rightStatus"] = rightStatus;
        body["rightDistances"] = robocomm::distanceList(rightDistances);
        body["topStatus"] = topStatus;
        body["topDistance"] = topDistance;
    });
}

std::string createJsonBatteryStatusV2(int cellVoltage1, int cellVoltage2, int cellVoltage3, int cellVoltage4,
                                      int cellVoltage5, int totalCapacity, int remainingCapacity,
                                      int batteryManufacturer, int batteryPercent, double batteryVoltage,
                                      double batteryCurrent, int batteryTemperature1, int batteryTemperature2,
                                      int designCapacity, int numberOfCycles) {
    return answerDocument("BatteryStatus", [&](Json::Value& body) {
        setMembers(body, robocomm::kBatteryV2Members,
                   {cellVoltage1, cellVoltage2, cellVoltage3, cellVoltage4, cellVoltage5, totalCapacity,
                    remainingCapacity, batteryManufacturer, batteryPercent, batteryVoltage, batteryCurrent,
                    batteryTemperature1, batteryTemperature2, designCapacity, numberOfCycles});
    });
}

void resGetPosition(double x, double y, double theta) { sendAnswer(createJsonPosition(x, y, theta), 1); }

void resGetLidarSensorStatus(int front, int rear) { sendAnswer(createJsonLidarSensorStatus(front, rear), 2); }

void resGetMotorStatus(double leftSpeed, double rightSpeed, double leftPower, double rightPower, int leftStatus,
                       int rightStatus) {
    sendAnswer(createJsonMotorStatus(leftSpeed, rightSpeed, leftPower, rightPower, leftStatus, rightStatus), 3);
}

void resGetCameraStatus(int status) { sendAnswer(createJsonCameraStatus(status), 4); }

void resGetLineLaserStatus(double left, double right) { sendAnswer(createJsonLineLaserStatus(left, right), 5); }

void resGetTofStatus(int leftStatus, double leftDistance, int rightStatus, double rightDistance, int topStatus,
                     double topDistance) {
    sendAnswer(createJsonTofStatus(leftStatus, truncateDistance(leftDistance), rightStatus,
                                   truncateDistance(rightDistance), topStatus, truncateDistance(topDistance)),
               6);
}

void resGetIRStatus(bool sensor1, bool sensor2, bool sensor3, bool sensor4, bool sensor5, bool sensor6, bool stationIR1,
                    bool stationIR2, bool stationIR3, bool stationIR4) {
    sendAnswer(createJsonIRStatus(sensor1, sensor2, sensor3, sensor4, sensor5, sensor6, stationIR1, stationIR2,
                                  stationIR3, stationIR4),
               7);
}

void resGetSonicStatus(int leftStatus, bool leftSensing, int rightStatus, bool rightSensing) {
    sendAnswer(createJsonSonicStatus(leftStatus, leftSensing, rightStatus, rightSensing), 8);
}

void resGetBatteryStatus(double voltage, double current, double temperature, double chargeState, double capacity,
                         double designCapacity, double percentage, double supplyStatus, double supplyHealth,
                         double supplyTechnology, double present, double cellVoltage, double cellTemperature,
                         double location, const std::string& serialNumber) {
    sendAnswer(createJsonBatteryStatus(voltage, current, temperature, chargeState, capacity, designCapacity, percentage,
                                       supplyStatus, supplyHealth, supplyTechnology, present, cellVoltage,
                                       cellTemperature, location, serialNumber),
               9);
}

void resGetSoftwareVersion(const std::string& version) { sendAnswer(createJsonSoftwareVersion(version), 10); }

void resGetRobotInfo(const std::string& serialNumber, int status) {
    sendAnswer(createJsonRobotInfo(serialNumber, status), 11);
}

void resGetTargetPosition(double x, double y, double theta) { sendAnswer(createJsonTargetPosition(x, y, theta), 13); }

void resGetRobotSpeed(double mS, double radS) { sendAnswer(createJsonRobotSpeed(mS, radS), 19); }

void resGetRobotStatus(int status) { sendAnswer(createJsonRobotStatus(status), 21); }

void resGetActionStatus(int status) { sendAnswer(createJsonActionStatus(status), 22); }

void resGetMotorStatusV2(double leftRPM, double rightRPM, double leftCurrent, double rightCurrent, int leftType,
                         int rightType) {
    sendAnswer(createJsonMotorStatusV2(leftRPM, rightRPM, leftCurrent, rightCurrent, leftType, rightType), 31);
}

void resGetRecvIRStatus(bool recvIR1, bool recvIR2, bool recvIR3, bool recvIR4) {
    sendAnswer(createJsonRecvIRStatus(recvIR1, recvIR2, recvIR3, recvIR4), 32);
}

void resGetCliffIRStatus(bool cliffIR1, bool cliffIR2, bool cliffIR3, bool cliffIR4, bool cliffIR5, bool cliffIR6) {
    sendAnswer(createJsonCliffIRStatus(cliffIR1, cliffIR2, cliffIR3, cliffIR4, cliffIR5, cliffIR6), 33);
}

void resGetCameraStatusV2(int status, const std::vector<ObjectDataV2>& objects) {
    sendAnswer(createJsonCameraStatusV2(status, objects), 34);
}

void resGetLineLaserStatusV2(int status, const std::vector<LLDataV2>& positions) {
    sendAnswer(createJsonLineLaserStatusV2(status, positions), 35);
}

void resGetTofStatusV2(int leftStatus, const std::vector<int>& leftDistances, int rightStatus,
                       const std::vector<int>& rightDistances, int topStatus, int topDistance) {
    sendAnswer(createJsonTofStatusV2(leftStatus, leftDistances, rightStatus, rightDistances, topStatus, topDistance),
               36);
}

void resGetBatteryStatusV2(int cellVoltage1, int cellVoltage2, int cellVoltage3, int cellVoltage4, int cellVoltage5,
                           int totalCapacity, int remainingCapacity, int batteryManufacturer, int batteryPercent,
                           double batteryVoltage, double batteryCurrent, int batteryTemperature1,
                           int batteryTemperature2, int designCapacity, int numberOfCycles) {
    sendAnswer(createJsonBatteryStatusV2(cellVoltage1, cellVoltage2, cellVoltage3, cellVoltage4, cellVoltage5,
                                         totalCapacity, remainingCapacity, batteryManufacturer, batteryPercent,
                                         batteryVoltage, batteryCurrent, batteryTemperature1, batteryTemperature2,
                                         designCapacity, numberOfCycles),
               37);
}
