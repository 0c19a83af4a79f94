#include "serve.h"

#include <chrono>
#include <cmath>
#include <fstream>
#include <sstream>
#include <utility>

#include "map_edit_record.h"

namespace demo {

namespace {

constexpr double kWheelBase = 0.30;    // m
constexpr double kWheelRadius = 0.05;  // m
constexpr double kDesignCapacity = 5.2;  // Ah
constexpr double kMaxSpeed = 1.5;      // m/s, the fastest the base may be told to go
constexpr char kBatterySerial[] = "BAT-DEMO-01";
constexpr auto kPushEvery = std::chrono::seconds(1);
// An entry of the pushed error list takes about 90 bytes of the laid-out
// document, 120 enciphered and encoded: this many fit one 32 KiB frame with
// room to spare. A longer list may take several frames and goes out alone.
constexpr size_t kErrorsInOneFrame = 200;

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

// Each answer is made from a copy of the robot as it was when its command
// was polled: the outbox's thread sends it later.
struct Answer {
    uint8_t (*poll)();
    void (*send)(const Robot&);
    // An answer of several frames (a map, the log bundle): see Outbox::answerAlone.
    bool alone = false;
};

void sendBattery(const Robot& r) {
    const Battery b = battery(r);
    // chargeState, capacity (which this answer drops), designCapacity, percentage,
    // supplyStatus (1 charging, 2 discharging), supplyHealth (1 good),
    // supplyTechnology (2 Li-ion), present, then one cell's voltage and temperature.
    resGetBatteryStatus(b.voltage, b.current, b.temperature, r.charging, b.remaining, kDesignCapacity, r.battery,
                        r.charging ? 1 : 2, 1, 2, 1, b.voltage / 4, b.temperature, 0, kBatterySerial);
}

void sendBatteryV2(const Robot& r) {
    const Battery b = battery(r);
    const int cell = static_cast<int>(b.voltage / 4 * 1000);  // mV
    resGetBatteryStatusV2(cell, cell - 3, cell + 2, cell - 1, cell, 5200, static_cast<int>(b.remaining * 1000), 7,
                          static_cast<int>(r.battery), b.voltage, b.current, static_cast<int>(b.temperature),
                          static_cast<int>(b.temperature) + 1, 5200, 112);
}

void sendAllStatus(const Robot& r) {
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

void sendAllStatusV2(const Robot& r) {
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

void sendNotification(const Robot& r) {
    if (r.emergencyStop) return resGetNotification(2, "emergency stop pressed");
    if (r.battery < Robot::kLowBattery) return resGetNotification(1, "battery low, please dock");
    resGetNotification(0, "all systems normal");
}

const Answer kAnswers[] = {
    {reqGetPosition, [](const Robot& r) { resGetPosition(r.pose.x, r.pose.y, r.pose.theta); }},
    {reqGetLidarSensorStatus, [](const Robot& r) { resGetLidarSensorStatus(r.lidarOn, r.lidarOn); }},
    {reqGetMotorStatus,
     [](const Robot& r) {
         const Wheels s = wheels(r);
         resGetMotorStatus(s.left, s.right, motorCurrent(s.left) * 12, motorCurrent(s.right) * 12, 0, 0);
     }},
    {reqGetCameraStatus, [](const Robot&) { resGetCameraStatus(1); }},
    {reqGetLineLaserStatus, [](const Robot& r) { resGetLineLaserStatus(r.clearanceAhead(), r.clearanceBehind()); }},
    {reqGetTofStatus, [](const Robot& r) { resGetTofStatus(1, r.clearanceAhead() * 1000, 1, r.clearanceBehind() * 1000, 1, 2500); }},
    {reqGetIRStatus,
     [](const Robot& r) {
         resGetIRStatus(false, false, false, false, false, false, atStation(r), atStation(r), r.docked, r.docked);
     }},
    {reqGetSonicStatus,
     [](const Robot& r) { resGetSonicStatus(1, r.clearanceAhead() < 0.3, 1, r.clearanceBehind() < 0.3); }},
    {reqGetBatteryStatus, sendBattery},
    {reqGetSoftwareVersion,
     [](const Robot&) {
         std::string library;
         APIGetVersion(library);
         resGetSoftwareVersion("demo-host 1.0 (robocomm " + library + ")");
     }},
    {reqGetRobotInfo, [](const Robot& r) { resGetRobotInfo(r.serial, robotStatus(r)); }},
    {reqGetErrorList, [](const Robot& r) { resGetErrorList(r.errors); }},
    {reqGetTargetPosition, [](const Robot& r) { resGetTargetPosition(r.target.x, r.target.y, r.target.theta); }},
    {reqGetMapStatus, [](const Robot& r) { resGetMapStatus(r.mapping, r.mapping ? "mapping" : "map ready"); }},
    {reqGetMapData,
     [](const Robot& r) {
         const std::string image = r.mapImage();
         resGetMapDataB(reinterpret_cast<const unsigned char*>(image.data()), image.size(), Robot::kMapCells,
                        Robot::kMapCells, Robot::kCellSize, 0, 0);
     },
     true},
    {reqGetLidarData, [](const Robot& r) { resGetLidarData(r.clearanceAhead(), r.clearanceBehind()); }},
    {reqGetModifiedMapData,
     [](const Robot& r) {
         const ModifiedMapDataB_t& map = r.modifiedMap;
         resGetModifiedMapDataB(map.data.data(), map.data.size(), map.width, map.height);
     },
     true},
    {reqGetRobotSpeed, [](const Robot& r) { resGetRobotSpeed(r.v, r.w); }},
    {reqGetRobotStatus, [](const Robot& r) { resGetRobotStatus(robotStatus(r)); }},
    {reqGetActionStatus, [](const Robot& r) { resGetActionStatus(static_cast<int>(r.motion)); }},
    {reqGetNotification, sendNotification},
    {reqGetLogData,
     [](const Robot& r) {
         r.writeLog();
         resGetLogData(r.logFolder);  // packs the folder with tar and streams it
     },
     true},
    {reqGetDockingStatus, [](const Robot& r) { resGetDockingStatus(dockingState(r)); }},
    {reqGetMotorStatusV2,
     [](const Robot& r) {
         const Wheels s = wheels(r);
         resGetMotorStatusV2(rpm(s.left), rpm(s.right), motorCurrent(s.left), motorCurrent(s.right), 1, 1);
     }},
    {reqGetRecvIRStatus, [](const Robot& r) { resGetRecvIRStatus(atStation(r), atStation(r), r.docked, r.docked); }},
    {reqGetCliffIRStatus, [](const Robot&) { resGetCliffIRStatus(false, false, false, false, false, false); }},
    {reqGetCameraStatusV2, [](const Robot&) { resGetCameraStatusV2(1, cameraObjects()); }},
    {reqGetLineLaserStatusV2, [](const Robot& r) { resGetLineLaserStatusV2(1, lineLaserPoints(r)); }},
    {reqGetTofStatusV2,
     [](const Robot& r) {
         resGetTofStatusV2(1, tofDistances(r.clearanceAhead()), 1, tofDistances(r.clearanceBehind()), 1, 2500);
     }},
    {reqGetBatteryStatusV2, sendBatteryV2},
    {reqGetAllStatus, sendAllStatus},
    {reqGetAllMovingInfo,
     [](const Robot& r) {
         resGetAllMovingInfo(static_cast<int>(r.motion), r.pose.x, r.pose.y, r.pose.theta, r.target.x, r.target.y,
                             r.target.theta);
     }},
    {reqGetAllStatusV2, sendAllStatusV2},
    {reqGetAllMovingInfoV2,
     [](const Robot& r) {
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

// The answer of a set command: whether it was taken.
Reply result(void (*answer)(bool), bool ok) {
    return [answer, ok] { answer(ok); };
}

Reply maxDrivingSpeed(Robot& r) {
    double speed = 0;
    if (!reqSetMaxDrivingSpeed(&speed)) return {};
    const bool ok = speed > 0 && speed <= kMaxSpeed;
    if (ok) r.maxSpeed = speed;
    return result(resSetMaxDrivingSpeed, ok);
}

Reply motorManualRpm(Robot& r) {
    int32_t rpms[2];
    if (!reqSetMotorManual_RPM(rpms)) return {};
    const double left = rpms[0] * 2 * M_PI * kWheelRadius / 60;
    const double right = rpms[1] * 2 * M_PI * kWheelRadius / 60;
    r.driveManually((left + right) / 2, (right - left) / kWheelBase);
    return result(resSetMotorManual_RPM, true);
}

// Leaves the speeds it was told on the command's line of the record.
Reply motorManualVw(Robot& r, std::ostream& told) {
    double vw[2];
    if (!reqSetMotorManual_VW(vw)) return {};
    told << ' ' << vw[0] << ' ' << vw[1];
    const bool ok = std::fabs(vw[0]) <= kMaxSpeed;
    if (ok) r.driveManually(vw[0], vw[1]);
    return result(resSetMotorManual_VW, ok);
}

Reply targetPosition(Robot& r) {
    double pose[3];
    if (!reqSetTargetPosition(pose)) return {};
    return result(resSetTargetPosition, r.driveTo({pose[0], pose[1], pose[2]}));
}

Reply driving(Robot& r) {
    int32_t set = 0;
    if (!reqSetDriving(&set)) return {};
    const bool ok = set == 0 || set == 1;
    if (ok) r.drivingEnabled = set == 1;
    return result(resSetDriving, ok);
}

Reply mapping(Robot& r) {
    int32_t set = 0;
    if (!reqSetMapping(&set)) return {};
    r.mapping = set != 0;
    r.note(r.mapping ? "mapping started" : "mapping stopped");
    return result(resSetMapping, true);
}

Reply modifiedMap(Robot& r) {
    if (!reqSetModifiedMapDataB(&r.modifiedMap)) return {};
    r.note("modified map of " + std::to_string(r.modifiedMap.data.size()) + " bytes stored");
    return result(resSetModifiedMapData, true);
}

Reply rotation(Robot& r) {
    Rotation_t turn{};
    if (!reqSetRotation(&turn)) return {};
    // Type 0 turns by the angle, type 1 turns to it.
    const bool ok = turn.type == 0 || turn.type == 1;
    if (ok) r.pose.theta = std::remainder((turn.type == 0 ? r.pose.theta : 0) + turn.radian, 2 * M_PI);
    return result(resSetRotation, ok);
}

// Codes 70 (a map as base64) and 72 (no data) raise the same mailbox; an
// empty map tells the host which of the two came.
Reply integrationMap(Robot& r) {
    std::vector<unsigned char> map;
    if (!reqSetIntegrationModifiedMapDataB(&map)) return {};
    if (map.empty()) return result(resSetByPassTwoData, true);
    r.note("integration map of " + std::to_string(map.size()) + " bytes received");
    return result(resSetIntegrationModifiedMapData, true);
}

// The library has already stored the document in mapEditFilePath.
Reply mapEdit(Robot& r) {
    if (!reqSetByPassOneData(&r.mapEdit)) return {};
    r.note("map edit " + r.mapEdit.uid + ": " + std::to_string(r.mapEdit.room_list.size()) + " rooms");
    std::ofstream(r.logFolder + "/map-edit-record.txt") << mapEditRecordText(r.mapEdit);
    return result(resSetByPassOneData, true);
}

Reply pgmMap(Robot& r) {
    PGMMapDataB_t map{};
    if (!reqSetPGMMapData(&map)) return {};
    r.note("map " + map.name + (map.checksumOk ? " received" : " rejected: checksum mismatch"));
    return result(resSetPGMMapData, map.checksumOk);
}

// Commands whose parameter the robot only keeps.
template <typename T>
Reply keep(T& field, uint8_t (*poll)(T*), void (*answer)(bool)) {
    if (!poll(&field)) return {};
    return result(answer, true);
}

Reply stationRepositioning(Robot& r) {
    double pose[3];
    if (!reqSetStationRepositioning(pose)) return {};
    const bool ok = insideRoom(pose[0], pose[1]);
    if (ok) r.station = {pose[0], pose[1], pose[2]};
    return result(resSetStationRepositioningIdx, ok);
}

Reply firmwareAnnouncement(Robot& r) {
    if (!reqSetOTA(&r.announcedFirmware)) return {};
    r.note("firmware of " + std::to_string(r.announcedFirmware.size) + " bytes announced");
    return result(resSetOTA, true);
}

// A streamed image (or an OTAdata command whose checksum passed): check the
// image against the digest it came with before using it.
Reply firmwareImage(Robot& r) {
    otadataB_t image;
    if (!reqSetOTAdata(&image)) return {};
    const bool valid = validateOTAData(image);
    r.note("firmware image of " + std::to_string(image.data.size()) + " bytes " + (valid ? "verified" : "REJECTED"));
    return [valid] { resSetResult(81, valid); };  // code 81 has no answer function of its own
}

Reply dockingState(Robot& r) {
    int32_t set = 0;
    if (!reqSetDockingState(&set)) return {};
    if (set != 0) r.returnToStation();
    else r.docked = r.charging = false;
    return result(resSetDockingState, true);
}

// Two get commands carry parameters too.
Reply aiCalibration(Robot& r) {
    if (!reqGetAICalibration(&r.aiCalibration)) return {};
    return [] { resGetAICalibration(1); };  // 1: calibrated
}

Reply travelEstimate(Robot& r) {
    double unused[3];  // the library always hands over zeros here
    if (!reqGetTargetPositionCalculate(unused)) return {};
    const double distance = r.distanceToTarget();
    return [distance, time = distance / r.maxSpeed, target = r.target] {
        resGetTargetPositionCalculate(time, distance, target.x, target.y, target.theta);
    };
}

// A command with parameters: when its mailbox held one, acts and gives
// the answer to send; an empty Reply otherwise.
struct Parameterised {
    const char* name;  // as the client names it
    Reply (*serve)(Robot&);
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
    Reply (*serve)(Robot&, std::ostream& told);
};

const Recorded kRecorded[] = {
    {"set motor-manual-vw", motorManualVw},
};

}  // namespace

int serveMailboxes(Robot& robot, std::ostream& record, Outbox& outbox) {
    int served = 0;
    for (const Answer& answer : kAnswers) {
        if (!answer.poll()) continue;
        Reply reply = [send = answer.send, snapshot = robot] { send(snapshot); };
        answer.alone ? outbox.answerAlone(std::move(reply)) : outbox.answer(std::move(reply));
        ++served;
    }
    for (const Order& order : kOrders) {
        if (!order.poll()) continue;
        record << order.name << std::endl;
        outbox.answer(result(order.answer, order.act(robot)));
        ++served;
    }
    for (const Parameterised& command : kParameterised) {
        Reply reply = command.serve(robot);
        if (!reply) continue;
        record << command.name << std::endl;
        outbox.answer(std::move(reply));
        ++served;
    }
    for (const Recorded& command : kRecorded) {
        std::ostringstream told;
        Reply reply = command.serve(robot, told);
        if (!reply) continue;
        record << command.name << told.str() << std::endl;
        outbox.answer(std::move(reply));
        ++served;
    }
    return served;
}

void serveErrorPushes(Robot& robot, bool clientPresent, Outbox& outbox) {
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
    if (news.empty() || !outbox.push([news] { EmergencyMSG_ERROR(news); }, news.size() > kErrorsInOneFrame)) return;
    robot.errorsPushed = robot.errors.size();
    lastPush = Clock::now();
}

}  // namespace demo
