#include "intake/command_table.h"

#include <array>

#include "intake/immediate_commands.h"
#include "robocomm/intake.h"

namespace robocomm {
namespace {

ParamSpec param(const char* key, int32_t& field) { return {key, ParamKind::Int, &field}; }
ParamSpec param(const char* key, double& field) { return {key, ParamKind::Double, &field}; }
ParamSpec param(const char* key, bool& field) { return {key, ParamKind::Bool, &field}; }
ParamSpec param(const char* key, std::string& field) { return {key, ParamKind::Text, &field}; }

CommandSpec get(uint8_t code, const char* name, uint8_t& pending) {
    return {code, name, CommandKind::Get, nullptr, {}, &pending, fillAndRaise};
}

CommandSpec set(uint8_t code, const char* name, uint8_t& pending, CommandHandler handle = fillAndRaise) {
    return {code, name, CommandKind::Set, nullptr, {}, &pending, handle};
}

CommandSpec set(uint8_t code, const char* name, const char* key, std::vector<ParamSpec> params, uint8_t& pending,
                CommandHandler handle = fillAndRaise) {
    return {code, name, CommandKind::Set, key, std::move(params), &pending, handle};
}

void ignore(const CommandSpec&, const Inbound&) {}

std::vector<CommandSpec> buildTable() {
    auto& rpm = globalSetMotorManual_RPM;
    auto& vw = globalSetMotorManual_VW;
    auto& target = globalSetTargetPosition;
    auto& modifiedMap = globalSetModifiedMapData;
    auto& rotation = globalSetRotation;
    auto& time = globalSetTimeData;
    auto& pgm = globalSetPGMMapData;
    auto& station = globalStationRepositioning;
    return {
        // Position's pending byte receives the code itself, which is 1.
        get(1, "Position", globalGetPosition.pending),
        get(2, "LidarSensorStatus", globalGetLidarSensorStatus.pending),
        get(3, "MotorStatus", globalGetMotorStatus.pending),
        get(4, "CameraStatus", globalGetCameraStatus.pending),
        get(5, "LineLaserStatus", globalGetLineLaserStatus.pending),
        get(6, "TofStatus", globalGetTofStatus.pending),
        get(7, "IRStatus", globalGetIRStatus.pending),
        get(8, "SonicStatus", globalGetSonicStatus.pending),
        get(9, "BatteryStatus", globalGetBatteryStatus.pending),
        get(10, "SoftwareVersion", globalGetSoftwareVersion.pending),
        get(11, "RobotInfo", globalGetRobotInfo.pending),
        get(12, "ErrorList", globalGetErrorList.pending),
        get(13, "TargetPosition", globalGetTargetPosition.pending),
        get(14, "MapStatus", globalGetMapStatus.pending),
        get(15, "MapData", globalGetMapData.pending),
        get(16, "LidarData", globalGetLidarData.pending),
        get(17, "ModifiedMapData", globalGetModifiedMapData.pending),
        // Accepted and dropped without a word: clients still send it.
        {18, "Ignored", CommandKind::Get, nullptr, {}, nullptr, ignore},
        get(19, "RobotSpeed", globalGetRobotSpeed.pending),
        get(20, "TargetPositionCalculate", globalGetTargetPositionCalculate.pending),
        get(21, "RobotStatus", globalGetRobotStatus.pending),
        get(22, "ActionStatus", globalGetActionStatus.pending),
        get(23, "Notification", globalGetNotification.pending),
        // The only get command with a parameter, under a second "Set".
        {25, "AICalibration", CommandKind::Get, "AICalibration", {param("Set", globalGetAICalibration.set)},
         &globalGetAICalibration.pending, fillAndRaise},
        get(26, "LogData", globalLogData.pending),
        get(30, "DockingStatus", globalGetDockingStatus.pending),
        get(31, "MotorStatusV2", globalGetMotorStatusV2.pending),
        get(32, "RecvIRStatus", globalGetRecvIRStatus.pending),
        get(33, "CliffIRStatus", globalGetCliffIRStatus.pending),
        get(34, "CameraStatusV2", globalGetCameraStatusV2.pending),
        get(35, "LineLaserStatusV2", globalGetLineLaserStatusV2.pending),
        get(36, "TofStatusV2", globalGetTofStatusV2.pending),
        get(37, "BatteryStatusV2", globalGetBatteryStatusV2.pending),
        get(40, "AllStatus", globalGetAllStatus.pending),
        get(41, "AllMovingInfo", globalGetAllMovingInfo.pending),
        get(42, "AllStatusV2", globalGetAllStatusV2.pending),
        get(43, "AllMovingInfoV2", globalGetAllMovingInfoV2.pending),

        set(50, "ReturnToChargingStation", globalSetReturnToChargingStation.pending),
        set(51, "EmergencyStop", globalSetEmergencyStop.pending),
        set(52, "StartLidar", globalSetStartLidar.pending),
        set(53, "StopLidar", globalSetStopLidar.pending),
        set(54, "StartCharging", globalSetStartCharging.pending),
        set(55, "StopCharging", globalSetStopCharging.pending),
        set(56, "SoftwareReset", globalSetSoftwareReset.pending),
        set(57, "MaxDrivingSpeed", "MaxDrivingSpeed", {param("mS", globalSetMaxDrivingSpeed.mS)},
            globalSetMaxDrivingSpeed.pending),
        set(58, "MotorManual_RPM", "MotorManual_RPM", {param("leftRPM", rpm.leftRPM), param("rightRPM", rpm.rightRPM)},
            rpm.pending),
        set(59, "MotorManual_VW", "MotorManual_VW", {param("mS", vw.mS), param("radS", vw.radS)}, vw.pending),
        set(60, "TargetPosition", "TargetPosition",
            {param("x", target.x), param("y", target.y), param("theta", target.theta)}, target.pending),
        set(61, "Driving", "Driving", {param("set", globalSetDriving.set)}, globalSetDriving.pending),
        set(62, "Mapping", "Mapping", {param("set", globalSetMapping.set)}, globalSetMapping.pending),
        set(63, "ModifiedMapData", "ModifiedMapData",
            {param("data", modifiedMap.data), param("width", modifiedMap.width), param("height", modifiedMap.height)},
            modifiedMap.pending),
        set(64, "Heartbeat", globalSetheartbeat.pending),
        set(65, "ExcelSteps", "ExcelSteps", {param("set", globalSetExcelSteps.set)}, globalSetExcelSteps.pending),
        set(66, "Rotation", "Rotation", {param("radian", rotation.radian), param("type", rotation.type)},
            rotation.pending),
        set(67, "TimeData", "TimeData",
            {param("year", time.year), param("month", time.month), param("day", time.day), param("hour", time.hour),
             param("minute", time.minute), param("second", time.second)},
            time.pending, handleTimeData),
        // Its text lies under the ModifiedMapData object, not under its own name.
        set(70, "IntegrationModifiedMapData", "ModifiedMapData",
            {param("data", globalSetIntegrationModifiedMapData.data)}, globalSetIntegrationModifiedMapData.pending),
        set(71, "ByPassOneData", "ByPass", {}, globalSetByPassOne.pending, handleByPassOneData),
        // Only raises IntegrationModifiedMapData: the host takes both through one poll.
        set(72, "ByPassTwoData", globalSetIntegrationModifiedMapData.pending),
        set(73, "PGMMapData", "PGMMapData",
            {param("data", pgm.data), param("name", pgm.name), param("sha256", pgm.sha256)}, pgm.pending),
        set(74, "FactoryMode", "FactoryMode", {param("start", globalFactoryMode.start)}, globalFactoryMode.pending),
        set(75, "BatterySleepMode", "BatterySleepMode", {param("start", globalBatterySleepMode.start)},
            globalBatterySleepMode.pending),
        set(76, "SensorInspectionMode", "SensorInspectionMode", {param("start", globalInspectionMode.start)},
            globalInspectionMode.pending),
        set(77, "StationRepositioning", "StationRepositioning",
            {param("x", station.x), param("y", station.y), param("theta", station.theta)}, station.pending),
        set(80, "OTA", "OTA", {param("size", globalOTA.size), param("checksum", globalOTA.checksum)},
            globalOTA.pending, handleOTA),
        // Reads the same OTA object as the announcement.
        set(81, "OTAdata", "OTA", {param("data", globalOTAdata.data), param("checksum", globalOTAdata.checksum)},
            globalOTAdata.pending, handleOTAdata),
        set(83, "FactoryReset", globalFactoryReset.pending, handleFactoryReset),
        set(84, "Recovery", globalRecovery.pending),
        set(90, "DockingState", "Docking", {param("set", globalSetDockingStatus.set)}, globalSetDockingStatus.pending),
        set(100, "Error", globalError.pending),
        // The same request as code 2; the host cannot tell them apart.
        get(101, "LidarSensorStatus", globalGetLidarSensorStatus.pending),
        set(251, "SettingCommand", "Setting", {param("set", globalsSettingCommand.set)}, globalsSettingCommand.pending),
        set(252, "ConfigCommand", "Config", {param("set", globalsConfigCommand.set)}, globalsConfigCommand.pending),
    };
}

}  // namespace

const std::vector<CommandSpec>& commandTable() {
    static const std::vector<CommandSpec> table = buildTable();
    return table;
}

const CommandSpec* findCommand(uint8_t code) {
    static const std::array<const CommandSpec*, 256> byCode = [] {
        std::array<const CommandSpec*, 256> index{};
        for (const CommandSpec& command : commandTable()) {
            index[command.code] = &command;
        }
        return index;
    }();
    return byCode[code];
}

}  // namespace robocomm
