// Set-command results: "Response" -> "Set" -> result name -> "result".
#include <iostream>

#include "responses/document.h"
#include "robocomm/responses.h"

namespace {

struct ResultName {
    int code;
    const char* name;
};

// Searched front to back; several codes share a name because the client
// tells them apart by the command code in the frame header. Factory reset
// (83) is answered as "OTA".
constexpr ResultName kResultNames[] = {
    {50, "ReturnToChargingStation"},
    {51, "EmergencyStop"},
    {52, "StartLidar"},
    {53, "StopLidar"},
    {54, "StartCharging"},
    {55, "StopCharging"},
    {56, "SoftwareReset"},
    {57, "MaxDrivingSpeed"},
    {58, "MotorManual_RPM"},
    {59, "MotorManual_VW"},
    {60, "TargetPosition"},
    {77, "StationRepositioning"},
    {61, "Driving"},
    {62, "Mapping"},
    {63, "ModifiedMapData"},
    {73, "MapData"},
    {74, "FactoryMode"},
    {75, "BatterySleepMode"},
    {76, "SensorInspectionMode"},
    {65, "ExcelSteps"},
    {64, "Heartbeat"},
    {80, "OTA"},
    {81, "OTA"},
    {83, "OTA"},
    {84, "Recovery"},
    {70, "ModifiedMapData"},
    {71, "ByPass"},
    {72, "ByPass"},
    {90, "Docking"},
    {66, "Rotation"},
    {67, "TimeData"},
    {251, "Setting"},
    {252, "Config"},
};

const char* resultName(int code) {
    for (const ResultName& entry : kResultNames) {
        if (entry.code == code) return entry.name;
    }
    return nullptr;
}

}  // namespace

std::string createJsonResult(int code, bool ok) {
    Json::Value document;
    if (const char* name = resultName(code)) document["Response"]["Set"][name]["result"] = ok;
    return robocomm::writeDocument(document);
}

void resSetResult(int code, bool ok) { robocomm::sendAnswer(createJsonResult(code, ok), code); }

// The set answers with nothing to do but send their code's result.
#define ROBOCOMM_PLAIN_SET_ANSWERS(X)            \
    X(resSetReturnToChargingStation, 50)         \
    X(resSetEmergencyStop, 51)                   \
    X(resSetStartLidar, 52)                      \
    X(resSetStopLidar, 53)                       \
    X(resSetStartCharging, 54)                   \
    X(resSetStopCharging, 55)                    \
    X(resSetSoftwareReset, 56)                   \
    X(resSetMaxDrivingSpeed, 57)                 \
    X(resSetMotorManual_VW, 59)                  \
    X(resSetTargetPosition, 60)                  \
    X(resSetDriving, 61)                         \
    X(resSetMapping, 62)                         \
    X(resSetModifiedMapData, 63)                 \
    X(resSetheartbeat, 64)                       \
    X(resSetExcelSteps, 65)                      \
    X(resSetRotation, 66)                        \
    X(resSetTimeData, 67)                        \
    X(resSetIntegrationModifiedMapData, 70)      \
    X(resSetByPassOneData, 71)                   \
    X(resSetByPassTwoData, 72)                   \
    X(resSetPGMMapData, 73)                      \
    X(resSetFactoryMode, 74)                     \
    X(resSetBatterySleepMode, 75)                \
    X(resSetSensorInspectionMode, 76)            \
    X(resSetStationRepositioningIdx, 77)         \
    X(resSetOTA, 80)                             \
    X(resSetFactoryReset, 83)                    \
    X(resSetRecovery, 84)                        \
    X(resSetDockingState, 90)                    \
    X(resSetSettingCommand, 251)                 \
    X(resSetConfigCommand, 252)

#define ROBOCOMM_DEFINE_SET_ANSWER(function, code) \
    void function(bool ok) { resSetResult(code, ok); }
ROBOCOMM_PLAIN_SET_ANSWERS(ROBOCOMM_DEFINE_SET_ANSWER)
#undef ROBOCOMM_DEFINE_SET_ANSWER
#undef ROBOCOMM_PLAIN_SET_ANSWERS

// Manual motor commands are echoed on the console, where the operator
// driving the robot by hand watches them.
void resSetMotorManual_RPM(bool ok) {
    std::cout << "Motor settings applied: " << (ok ? "Success" : "Failure") << std::endl;
    resSetResult(58, ok);
}
