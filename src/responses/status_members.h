// Member groups that the single sensor documents and the aggregate status
// documents share: the names are data, written in one place for both.
#pragma once

#include <json/value.h>

#include <cstddef>
#include <vector>

#include "robocomm/records.h"

namespace robocomm {

inline constexpr const char* kPoseMembers[] = {"x", "y", "theta"};
inline constexpr const char* kLidarMembers[] = {"front", "rear"};
inline constexpr const char* kMotorMembers[] = {"leftSpeed",  "rightSpeed", "leftPower",
                                                "rightPower", "leftStatus", "rightStatus"};
inline constexpr const char* kMotorV2Members[] = {"leftRPM",      "rightRPM", "leftCurrent",
                                                  "rightCurrent", "leftType", "rightType"};
inline constexpr const char* kLineLaserMembers[] = {"left", "right"};
inline constexpr const char* kTofMembers[] = {"leftStatus",    "leftDistance", "rightStatus",
                                              "rightDistance", "topStatus",    "topDistance"};
inline constexpr const char* kIRMembers[] = {"sensor1", "sensor2",    "sensor3",    "sensor4",    "sensor5",
                                             "sensor6", "stationIR1", "stationIR2", "stationIR3", "stationIR4"};
inline constexpr const char* kRecvIRMembers[] = {"RecvIR1", "RecvIR2", "RecvIR3", "RecvIR4"};
inline constexpr const char* kCliffIRMembers[] = {"CliffIR1", "CliffIR2", "CliffIR3",
                                                  "CliffIR4", "CliffIR5", "CliffIR6"};
inline constexpr const char* kBatteryMembers[] = {
    "voltage",      "current",      "temperature",      "chargeState", "capacity",    "designCapacity",  "percentage",
    "supplyStatus", "supplyHealth", "supplyTechnology", "present",     "cellVoltage", "cellTemperature", "location"};
inline constexpr const char* kBatteryV2Members[] = {
    "cellVoltage1",   "cellVoltage2",        "cellVoltage3",        "cellVoltage4",   "cellVoltage5",
    "totalCapacity",  "remainingCapacity",   "batteryManufacturer", "batteryPercent", "batteryVoltage",
    "batteryCurrent", "batteryTemperature1", "batteryTemperature2", "designCapacity", "numberOfCycles"};

// Each value keeps the JSON type of the C++ value it was made from, so one
// group of names serves callers that pass ints where others pass doubles.
template <size_t N>
void setMembers(Json::Value& body, const char* const (&names)[N], const Json::Value (&values)[N]) {
    for (size_t i = 0; i < N; ++i) body[names[i]] = values[i];
}

// Arrays are made even when empty: the client reads [] there, never null.
Json::Value objectList(const std::vector<ObjectDataV2>& objects);
Json::Value pointList(const std::vector<LLDataV2>& points);
Json::Value distanceList(const std::vector<int>& distances);

}  // namespace robocomm
