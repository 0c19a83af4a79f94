#include "serve.h"

#include <chrono>
#include <cmath>
#include <fstream>
#include <sstream>

#include "map_edit_record.h"

namespace demo {

namespace {

constexpr double kWheelBase = 0.30;    // m
constexpr double kWheelRadius = 0.05;  // m
constexpr double kDesignCapacity = 5.2;  // Ah
constexpr double kMaxSpeed = 1.5;      // m/s, the fastest the base may be told to go
constexpr char kBatterySerial[] = "BAT-DEMO-01";
constexpr auto kPushEvery = std::chrono::seconds(1);

// ---- Readings derived from the model ----

struct Wheels {
    double left;   // m/s
    double right;  // m/s
};

Wheels wheels(const Robot& r) { return {r.v - r.w * kWheelBase / 2, r.v + r.w * kWheelBase / 2}; }
double rpm(double speed) { return speed / (2 * M_PI * kWheelRadius) * 60; }
double motorCurrent(double speed) { return 0.3 + 1.2 * std::fabs(speed); }
int millimetres(double metres) { return static_cast<int>(metres * 1000); }
bool atStation(const Robot& r) { return std::hypot(r.pose.x - r.station.x, r.pose.y - r.station.y) < 0.5; }
// 0 ready, 1 charging, 2 stopped by an emergency.
int robotStatus(const Robot& r) { return r.emergencyStop ? 2 : r.charging ? 1 : 0; }
// 0 away, 1 on the way to the station, 2 docked.
int dockingState(const Robot& r) { return r.docked ? 2 : r.motion == Motion::Docking ? 1 : 0; }

struct Battery {
    double voltage;
    double current;
    double temperature;
    double remaining;  // Ah
};

Battery battery(const Robot& r) {
    return {12.0 + r.battery * 0.042, r.charging ? 1.5 : -(0.4 + 2 * std::fabs(r.v)), r.charging ? 33.5 : 29.0,
            kDesignCapacity * r.battery / 100};
}

std::vector<ObjectDataV2> cameraObjects() { return {{3, 87, 450, -120, 15, 380, 520, 610}}; }
std::vector<LLDataV2> lineLaserPoints(const Robot& r) {
    return {{static_cast<int16_t>(millimetres(r.clearanceAhead())), 0, 0, 1, 40, 900}, {300, 150, 26, -1, 35, 420}};
}
std::vector<int> tofDistances(double clearance) {
    const int mm = millimetres(clearance);
    return {mm, mm + 12, mm + 25, mm + 41};
}

// ---- Get commands without parameters: poll, then answer from the model ----

struct Answer {
    uint8_t (*poll)();
    void (*send)(Robot&);
};

void sendBattery(Robot& r) {
    const Battery b = battery(r);
    // chargeState, capacity (which this answer drops), designCapacity, percentage,
    // supplyStatus (1 charging, 2 discharging), supplyHealth (1 good),
    // supplyTechnology (2 Li-ion), present, then one cell's voltage and temperature.
    resGetBatteryStatus(b.voltage, b.current, b.temperature, r.charging, b.remaining, kDesignCapacity, r.battery,
                        r.charging ? 1 : 2, 1, 2, 1, b.voltage / 4, b.temperature, 0, kBatterySerial);
}

void sendBatteryV2(Robot& r) {
    const Battery b = battery(r);
    const int cell = static_cast<int>(b.voltage / 4 * 1000);  // mV
    resGetBatteryStatusV2(cell, cell - 3, cell + 2, cell - 1, cell, 5200, static_cast<int>(b.remaining * 1000), 7,
                          static_cast<int>(r.battery), b.voltage, b.current, static_cast<int>(b.temperature),
                          static_cast<int>(b.temperature) + 1, 5200, 112);
}

void sendAllStatus(Robot& r) {
    const Wheels s = wheels(r);
    const Battery b = battery(r);
    resGetAllStatus(r.lidarOn, r.lidarOn,                                                 // lidar
                    s.left, s.right, motorCurrent(s.left) * 12, motorCurrent(s.right) * 12, 0, 0,  // motors
                    1,                                                                    // camera
                    millimetres(r.clearanceAhead()), millimetres(r.clearanceBehind()),    // line lasers
                    1, r.clearanceAhead(), 1, r.clearanceBehind(), 1, 2.5,                // time of flight
                    false, false, false, false, false, false,                             // infrared
                    atStation(r), atStation(r), r.docked, r.docked,                       // station infrared
                    1, r.clearanceAhead() < 0.3, 1, r.clearanceBehind() < 0.3,            // sonar
                    b.voltage, b.current, b.temperature, r.charging, b.remaining, kDesignCapacity, r.battery,
                    r.charging ? 1 : 2, 1, 2, 1, b.voltage / 4, b.temperature, 0, kBatterySerial);
}

void sendAllStatusV2(Robot& r) {
    const Wheels s = wheels(r);
    const Battery b = battery(r);
    const double cell = b.voltage / 4 * 1000;
    resGetAllStatusV2(r.lidarOn, r.lidarOn,                                                        // lidar
                      rpm(s.left), rpm(s.right), motorCurrent(s.left), motorCurrent(s.right), 1, 1,  // motors
                      1, cameraObjects(), 1, lineLaserPoints(r),                                   // camera, lasers
                      1, 1, 1, tofDistances(r.clearanceAhead()), tofDistances(r.clearanceBehind()), 2500,
                      false, false, false, false, false, false,                                    // cliff infrared
                      atStation(r), atStation(r), r.docked, r.docked,                              // station infrared
                      cell, cell - 3, cell + 2, cell - 1, cell, 5200, b.remaining * 1000, 7, r.battery, b.voltage,
                      b.current, b.temperature, b.temperature + 1, 5200, 112);
}

void sendNotification(Robot& r) {
    if (r.emergencyStop) return resGetNotification(2, "emergency stop pressed");
    if (r.battery < Robot::kLowBattery) return resGetNotification(1, "battery low, please dock");
    resGetNotification(0, "all systems normal");
}

const Answer kAnswers[] = {
    {reqGetPosition, [](Robot& r) { resGetPosition(r.pose.x, r.pose.y, r.pose.theta); }},
    {reqGetLidarSensorStatus, [](Robot& r) { resGetLidarSensorStatus(r.lidarOn, r.lidarOn); }},
    {reqGetMotorStatus,
     [](Robot& r) {
         const Wheels s = wheels(r);
         resGetMotorStatus(s.left, s.right, motorCurrent(s.left) * 12, motorCurrent(s.right) * 12, 0, 0);
     }},
    {reqGetCameraStatus, [](Robot&) { resGetCameraStatus(1); }},
    {reqGetLineLaserStatus, [](Robot& r) { resGetLineLaserStatus(r.clearanceAhead(), r.clearanceBehind()); }},
    {reqGetTofStatus, [](Robot& r) { resGetTofStatus(1, r.clearanceAhead() * 1000, 1, r.clearanceBehind() * 1000, 1, 2500); }},
    {reqGetIRStatus,
     [](Robot& r) {
         resGetIRStatus(false, false, false, false, false, false, atStation(r), atStation(r), r.docked, r.docked);
     }},
    {reqGetSonicStatus,
     [](Robot& r) { resGetSonicStatus(1, r.clearanceAhead() < 0.3, 1, r.clearanceBehind() < 0.3); }},
    {reqGetBatteryStatus, sendBattery},
    {reqGetSoftwareVersion,
     [](Robot&) {
         std::string library;
         APIGetVersion(library);
         resGetSoftwareVersion("demo-host 1.0 (robocomm " + library + ")");
     }},
    {reqGetRobotInfo, [](Robot& r) { resGetRobotInfo(r.serial, robotStatus(r)); }},
    {reqGetErrorList, [](Robot& r) { resGetErrorList(r.errors); }},
    {reqGetTargetPosition, [](Robot& r) { resGetTargetPosition(r.target.x, r.target.y, r.target.theta); }},
    {reqGetMapStatus, [](Robot& r) { resGetMapStatus(r.mapping, r.mapping ? "mapping" : "map ready"); }},
    {reqGetMapData,
     [](Robot& r) {
         const std::string image = r.mapImage();
         resGetMapDataB(reinterpret_cast<const unsigned char*>(image.data()), image.size(), Robot::kMapCells,
                        Robot::kMapCells, Robot::kCellSize, 0, 0);
     }},
    {reqGetLidarData, [](Robot& r) { resGetLidarData(r.clearanceAhead(), r.clearanceBehind()); }},
    {reqGetModifiedMapData,
     [](Robot& r) {
         const ModifiedMapDataB_t& map = r.modifiedMap;
         resGetModifiedMapDataB(map.data.data(), map.data.size(), map.width, map.height);
     }},
    {reqGetRobotSpeed, [](Robot& r) { resGetRobotSpeed(r.v, r.w); }},
    {reqGetRobotStatus, [](Robot& r) { resGetRobotStatus(robotStatus(r)); }},
    {reqGetActionStatus, [](Robot& r) { resGetActionStatus(static_cast<int>(r.motion)); }},
    {reqGetNotification, sendNotification},
    {reqGetLogData,
     [](Robot& r) {
         r.writeLog();
         resGetLogData(r.logFolder);  // packs the folder with tar and streams it
     }},
    {reqGetDockingStatus, [](Robot& r) { resGetDockingStatus(dockingState(r)); }},
    {reqGetMotorStatusV2,
     [](Robot& r) {
         const Wheels s = wheels(r);
         resGetMotorStatusV2(rpm(s.left), rpm(s.right), motorCurrent(s.left), motorCurrent(s.right), 1, 1);
     }},
    {reqGetRecvIRStatus, [](Robot& r) { resGetRecvIRStatus(atStation(r), atStation(r), r.docked, r.docked); }},
    {reqGetCliffIRStatus, [](Robot&) { resGetCliffIRStatus(false, false, false, false, false, false); }},
    {reqGetCameraStatusV2, [](Robot&) { resGetCameraStatusV2(1, cameraObjects()); }},
    {reqGetLineLaserStatusV2, [](Robot& r) { resGetLineLaserStatusV2(1, lineLaserPoints(r)); }},
    {reqGetTofStatusV2,
     [](Robot& r) {
         resGetTofStatusV2(1, tofDistances(r.clearanceAhead()), 1, tofDistances(r.clearanceBehind()), 1, 2500);
     }},
    {reqGetBatteryStatusV2, sendBatteryV2},
    {reqGetAllStatus, sendAllStatus},
    {reqGetAllMovingInfo,
     [](Robot& r) {
         resGetAllMovingInfo(static_cast<int>(r.motion), r.pose.x, r.pose.y, r.pose.theta, r.target.x, r.target.y,
                             r.target.theta);
     }},
    {reqGetAllStatusV2, sendAllStatusV2},
    {reqGetAllMovingInfoV2,
     [](Robot& r) {
         resGetAllMovingInfoV2(static_cast<int>(r.motion), true, r.pose.x, r.pose.y, r.pose.theta,
                               r.motion != Motion::Idle, r.target.x, r.target.y, r.target.theta);
     }},
};

// ---- Set commands without parameters: poll, act, answer with the outcome ----

struct Order {
    const char* name;  // as the client names it
    uint8_t (*poll)();
    bool (*act)(Robot&);
    void (*answer)(bool ok);
};

void restart(Robot& r) {
    Robot fresh;
    fresh.logFolder = r.logFolder;
    fresh.serial = r.serial;
    r = fresh;
}

const Order kOrders[] = {
    {"set return-to-charging-station", reqSetReturnToChargingStation, [](Robot& r) { r.returnToStation(); return true; },
     resSetReturnToChargingStation},
    {"set emergency-stop", reqSetEmergencyStop, [](Robot& r) { r.pressEmergencyStop(); return true; },
     resSetEmergencyStop},
    {"set start-lidar", reqSetStartLidar, [](Robot& r) { r.lidarOn = true; return true; }, resSetStartLidar},
    {"set stop-lidar", reqSetStopLidar, [](Robot& r) { r.lidarOn = false; return true; }, resSetStopLidar},
    {"set start-charging", reqSetStartCharging, [](Robot& r) { r.charging = true; return true; }, resSetStartCharging},
    {"set stop-charging", reqSetStopCharging, [](Robot& r) { r.charging = false; return true; }, resSetStopCharging},
    {"set software-reset", reqSetSoftwareReset, [](Robot& r) { restart(r); return true; }, resSetSoftwareReset},
    {"set heartbeat", reqSetheartbeat, [](Robot&) { return true; }, resSetheartbeat},
    {"set recovery", reqSetRecovery, [](Robot& r) { r.recover(); return true; }, resSetRecovery},
    {"set factory-reset", reqSetFactoryReset,
     [](Robot& r) {
         restart(r);
         if (API_FileExist(mapEditFilePath)) API_FileDelete(mapEditFilePath);
         return true;
     },
     resSetFactoryReset},
};

// ---- Commands with parameters: each poll hands them over in its own shape ----

bool maxDrivingSpeed(Robot& r) {
    double speed = 0;
    if (!reqSetMaxDrivingSpeed(&speed)) return false;
    const bool ok = speed > 0 && speed <= kMaxSpeed;
    if (ok) r.maxSpeed = speed;
    resSetMaxDrivingSpeed(ok);
    return true;
}

bool motorManualRpm(Robot& r) {
    int32_t rpms[2];
    if (!reqSetMotorManual_RPM(rpms)) return false;
    const double left = rpms[0] * 2 * M_PI * kWheelRadius / 60;
    const double right = rpms[1] * 2 * M_PI * kWheelRadius / 60;
    r.driveManually((left + right) / 2, (right - left) / kWheelBase);
    resSetMotorManual_RPM(true);
    return true;
}

// Leaves the speeds it was told on the command's line of the record.
bool motorManualVw(Robot& r, std::ostream& told) {
    double vw[2];
    if (!reqSetMotorManual_VW(vw)) return false;
    told << ' ' << vw[0] << ' ' << vw[1];
    const bool ok = std::fabs(vw[0]) <= kMaxSpeed;
    if (ok) r.driveManually(vw[0], vw[1]);
    resSetMotorManual_VW(ok);
    return true;
}

bool targetPosition(Robot& r) {
    double pose[3];
    if (!reqSetTargetPosition(pose)) return false;
    resSetTargetPosition(r.driveTo({pose[0], pose[1], pose[2]}));
    return true;
}

bool driving(Robot& r) {
    int32_t set = 0;
    if (!reqSetDriving(&set)) return false;
    const bool ok = set == 0 || set == 1;
    if (ok) r.drivingEnabled = set == 1;
    resSetDriving(ok);
    return true;
}

bool mapping(Robot& r) {
    int32_t set = 0;
    if (!reqSetMapping(&set)) return false;
    r.mapping = set != 0;
    r.note(r.mapping ? "mapping started" : "mapping stopped");
    resSetMapping(true);
    return true;
}

bool modifiedMap(Robot& r) {
    if (!reqSetModifiedMapDataB(&r.modifiedMap)) return false;
    r.note("modified map of " + std::to_string(r.modifiedMap.data.size()) + " bytes stored");
    resSetModifiedMapData(true);
    return true;
}

bool rotation(Robot& r) {
    Rotation_t turn{};
    if (!reqSetRotation(&turn)) return false;
    // Type 0 turns by the angle, type 1 turns to it.
    const bool ok = turn.type == 0 || turn.type == 1;
    if (ok) r.pose.theta = std::remainder((turn.type == 0 ? r.pose.theta : 0) + turn.radian, 2 * M_PI);
    resSetRotation(ok);
    return true;
}

// Codes 70 (a map as base64) and 72 (no data) raise the same mailbox; an
// empty map tells the host which of the two came.
bool integrationMap(Robot& r) {
    std::vector<unsigned char> map;
    if (!reqSetIntegrationModifiedMapDataB(&map)) return false;
    if (map.empty()) {
        resSetByPassTwoData(true);
        return true;
    }
    r.note("integration map of " + std::to_string(map.size()) + " bytes received");
    resSetIntegrationModifiedMapData(true);
    return true;
}

// The library has already stored the document in mapEditFilePath.
bool mapEdit(Robot& r) {
    if (!reqSetByPassOneData(&r.mapEdit)) return false;
    r.note("map edit " + r.mapEdit.uid + ": " + std::to_string(r.mapEdit.room_list.size()) + " rooms");
    std::ofstream(r.logFolder + "/map-edit-record.txt") << mapEditRecordText(r.mapEdit);
    resSetByPassOneData(true);
    return true;
}

bool pgmMap(Robot& r) {
    PGMMapDataB_t map{};
    if (!reqSetPGMMapData(&map)) return false;
    r.note("map " + map.name + (map.checksumOk ? " received" : " rejected: checksum mismatch"));
    resSetPGMMapData(map.checksumOk);
    return true;
}

// Commands whose parameter the robot only keeps.
template <typename T>
bool keep(T& field, uint8_t (*poll)(T*), void (*answer)(bool)) {
    if (!poll(&field)) return false;
    answer(true);
    return true;
}

bool stationRepositioning(Robot& r) {
    double pose[3];
    if (!reqSetStationRepositioning(pose)) return false;
    const bool ok = insideRoom(pose[0], pose[1]);
    if (ok) r.station = {pose[0], pose[1], pose[2]};
    resSetStationRepositioningIdx(ok);
    return true;
}

bool firmwareAnnouncement(Robot& r) {
    if (!reqSetOTA(&r.announcedFirmware)) return false;
    r.note("firmware of " + std::to_string(r.announcedFirmware.size) + " bytes announced");
    resSetOTA(true);
    return true;
}

// A streamed image (or an OTAdata command whose checksum passed): check the
// image against the digest it came with before using it.
bool firmwareImage(Robot& r) {
    otadataB_t image;
    if (!reqSetOTAdata(&image)) return false;
    const bool valid = validateOTAData(image);
    r.note("firmware image of " + std::to_string(image.data.size()) + " bytes " + (valid ? "verified" : "REJECTED"));
    resSetResult(81, valid);  // code 81 has no answer function of its own
    return true;
}

bool dockingState(Robot& r) {
    int32_t set = 0;
    if (!reqSetDockingState(&set)) return false;
    if (set != 0) r.returnToStation();
    else r.docked = r.charging = false;
    resSetDockingState(true);
    return true;
}

// Two get commands carry parameters too.
bool aiCalibration(Robot& r) {
    if (!reqGetAICalibration(&r.aiCalibration)) return false;
    resGetAICalibration(1);  // 1: calibrated
    return true;
}

bool travelEstimate(Robot& r) {
    double unused[3];  // the library always hands over zeros here
    if (!reqGetTargetPositionCalculate(unused)) return false;
    const double distance = r.distanceToTarget();
    resGetTargetPositionCalculate(distance / r.maxSpeed, distance, r.target.x, r.target.y, r.target.theta);
    return true;
}

// A command with parameters, served when its mailbox held one.
struct Parameterised {
    const char* name;  // as the client names it
    bool (*serve)(Robot&);
};

const Parameterised kParameterised[] = {
    {"set max-driving-speed", maxDrivingSpeed},
    {"set motor-manual-rpm", motorManualRpm},
    {"set target-position", targetPosition},
    {"set driving", driving},
    {"set mapping", mapping},
    {"set modified-map-data", modifiedMap},
    {"set excel-steps", [](Robot& r) { return keep(r.excelSteps, reqSetExcelSteps, resSetExcelSteps); }},
    {"set rotation", rotation},
    {"set integration-modified-map-data", integrationMap},
    {"set by-pass-one-data", mapEdit},
    {"set pgm-map-data", pgmMap},
    {"set factory-mode", [](Robot& r) { return keep(r.factoryMode, reqSetFactoryMode, resSetFactoryMode); }},
    {"set battery-sleep-mode",
     [](Robot& r) { return keep(r.batterySleep, reqSetBatterySleepMode, resSetBatterySleepMode); }},
    {"set sensor-inspection-mode",
     [](Robot& r) { return keep(r.inspectionMode, reqSetSensorInspectionMode, resSetSensorInspectionMode); }},
    {"set station-repositioning", stationRepositioning},
    {"set ota", firmwareAnnouncement},
    {"set ota-data", firmwareImage},
    {"set docking-state", dockingState},
    {"set setting-command", [](Robot& r) { return keep(r.settingValue, reqSetSettingCommand, resSetSettingCommand); }},
    {"set config-command", [](Robot& r) { return keep(r.configValue, reqSetConfigCommand, resSetConfigCommand); }},
    {"get ai-calibration", aiCalibration},
    {"get target-position-calculate", travelEstimate},
};

// Commands recorded with the values they carried, so that what the robot
// was told can be judged from its side: "set motor-manual-vw 0.3 -0.5".
struct Recorded {
    const char* name;
    bool (*serve)(Robot&, std::ostream& told);
};

const Recorded kRecorded[] = {
    {"set motor-manual-vw", motorManualVw},
};

}  // namespace

int serveMailboxes(Robot& robot, std::ostream& record) {
    int served = 0;
    for (const Answer& answer : kAnswers) {
        if (!answer.poll()) continue;
        answer.send(robot);
        ++served;
    }
    for (const Order& order : kOrders) {
        if (!order.poll()) continue;
        record << order.name << std::endl;
        order.answer(order.act(robot));
        ++served;
    }
    for (const Parameterised& command : kParameterised) {
        if (!command.serve(robot)) continue;
        record << command.name << std::endl;
        ++served;
    }
    for (const Recorded& command : kRecorded) {
        std::ostringstream told;
        if (!command.serve(robot, told)) continue;
        record << command.name << told.str() << std::endl;
        ++served;
    }
    return served;
}

void serveErrorPushes(Robot& robot, bool clientPresent) {
    using Clock = std::chrono::steady_clock;
    static Clock::time_point lastPush;
    if (RecvErrorRes()) {
        robot.errorsAcknowledged = robot.errorsPushed;
        robot.note("the client acknowledged the errors");
    }
    if (!clientPresent || Clock::now() - lastPush < kPushEvery) return;
    std::vector<ErrorRecord> news;
    for (size_t i = robot.errorsAcknowledged; i < robot.errors.size(); ++i)
        if (!robot.errors[i].resolved) news.push_back(robot.errors[i]);
    if (news.empty()) return;
    EmergencyMSG_ERROR(news);
    robot.errorsPushed = robot.errors.size();
    lastPush = Clock::now();
}

}  // namespace demo
