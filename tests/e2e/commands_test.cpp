// Every command of the vocabulary, from the client's command line through
// the library to the demo host and back.
#include <gtest/gtest.h>

#include <sys/stat.h>

#include <fstream>
#include <string>
#include <vector>

#include "e2e/robot_fixture.h"
#include "robocomm/security.h"
#include "support/temp_dir.h"

namespace e2e {
namespace {

struct GetCase {
    std::vector<std::string> words;  // after "get"
    const char* document;            // name below Response/Get
    const char* member;              // one member the answer must carry
};

// The documents are named by the answer, not by the command: several V2
// answers reuse the first generation's name.
const GetCase kGets[] = {
    {{"position"}, "position", "theta"},
    {{"lidar-sensor-status"}, "LidarSensorStatus", "front"},
    {{"motor-status"}, "MotorStatus", "leftSpeed"},
    {{"camera-status"}, "CameraStatus", "status"},
    {{"line-laser-status"}, "LineLaserStatus", "left"},
    {{"tof-status"}, "TofStatus", "topDistance"},
    {{"ir-status"}, "IRStatus", "stationIR4"},
    {{"sonic-status"}, "SonicStatus", "LeftSenseing"},
    {{"battery-status"}, "BatteryStatus", "serialNumber"},
    {{"software-version"}, "SoftwareVersion", "version"},
    {{"robot-info"}, "RobotInfo", "serialNumber"},
    {{"target-position"}, "TargetPosition", "x"},
    {{"map-status"}, "MapStatus", "mapping"},
    {{"map-data"}, "MapData", "resolution"},
    {{"lidar-data"}, "LidarData", "rear"},
    {{"modified-map-data"}, "ModifiedMapData", "data"},
    {{"robot-speed"}, "RobotSpeed", "radS"},
    {{"target-position-calculate"}, "TargetPositionCalculate", "distance"},
    {{"robot-status"}, "RobotStatus", "status"},
    {{"action-status"}, "ActionStatus", "status"},
    {{"notification"}, "Notification", "desccription"},
    {{"ai-calibration", "1"}, "AICalibration", "result"},
    {{"docking-status"}, "Docking", "state"},
    {{"motor-status-v2"}, "MotorStatus", "leftRPM"},
    {{"recv-ir-status"}, "RecvIRStatus", "RecvIR4"},
    {{"cliff-ir-status"}, "CliffIRStatus", "CliffIR6"},
    {{"camera-status-v2"}, "CameraStatus", "objects"},
    {{"line-laser-status-v2"}, "LineLaserStatus", "positions"},
    {{"tof-status-v2"}, "TofStatus", "leftDistances"},
    {{"battery-status-v2"}, "BatteryStatus", "numberOfCycles"},
    {{"all-status"}, "AllStatus", "SonicStatus"},
    {{"all-moving-info"}, "AllMovingInfo", "TargetPosition"},
    {{"all-status-v2"}, "AllStatus", "CliffIRStatus"},
    {{"all-moving-info-v2"}, "AllMovingInfo", "validTargetPosition"},
};

TEST_F(EncryptedRobot, AnswersEveryGetCommand) {
    for (const GetCase& c : kGets) {
        SCOPED_TRACE("get " + c.words[0]);
        std::vector<std::string> args{"--json", "get"};
        args.insert(args.end(), c.words.begin(), c.words.end());
        const ClientRun run = client(args);
        ASSERT_EQ(run.status, 0) << run.err;
        EXPECT_TRUE(answer(run)["Response"]["Get"][c.document].isMember(c.member)) << run.out;
    }
}

TEST_F(EncryptedRobot, ErrorListIsNullWithoutErrorsAndListsAnEmergencyStop) {
    ASSERT_EQ(client({"set", "software-reset"}).status, 0);
    const ClientRun none = client({"--json", "get", "error-list"});
    ASSERT_EQ(none.status, 0) << none.err;
    EXPECT_EQ(none.out, "{\"Response\":{\"Get\":{\"ErrorList\":null}}}\n");

    ASSERT_EQ(client({"set", "emergency-stop"}).status, 0);
    const Json::Value errors = answer(client({"--json", "get", "error-list"}))["Response"]["Get"]["ErrorList"];
    ASSERT_EQ(errors.size(), 1u);
    EXPECT_EQ(errors[0]["errorCode"].asString(), "EMERGENCY-STOP");
    EXPECT_EQ(errors[0]["resolved"].asInt(), 0);
    ASSERT_EQ(client({"set", "recovery"}).status, 0);
}

struct SetCase {
    std::vector<std::string> words;  // after "set"
    const char* result;              // name below Response/Set
};

std::string base64(const std::string& bytes) {
    return base64Encode(reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size());
}

std::vector<SetCase> setCases() {
    const std::string map = base64("a small edited map");
    return {
        {{"return-to-charging-station"}, "ReturnToChargingStation"},
        {{"emergency-stop"}, "EmergencyStop"},
        {{"recovery"}, "Recovery"},
        {{"start-lidar"}, "StartLidar"},
        {{"stop-lidar"}, "StopLidar"},
        {{"start-charging"}, "StartCharging"},
        {{"stop-charging"}, "StopCharging"},
        {{"max-driving-speed", "0.8"}, "MaxDrivingSpeed"},
        {{"motor-manual-rpm", "30", "-30"}, "MotorManual_RPM"},
        {{"motor-manual-vw", "0.2", "0.5"}, "MotorManual_VW"},
        {{"target-position", "1.5", "2", "0.3"}, "TargetPosition"},
        {{"driving", "1"}, "Driving"},
        {{"mapping", "1"}, "Mapping"},
        {{"modified-map-data", map, "2", "3"}, "ModifiedMapData"},
        {{"heartbeat"}, "Heartbeat"},
        {{"excel-steps", "4"}, "ExcelSteps"},
        {{"rotation", "1.57", "0"}, "Rotation"},
        {{"time-data", "2024", "5", "1", "12", "0", "0"}, "TimeData"},
        {{"integration-modified-map-data", map}, "ModifiedMapData"},
        {{"by-pass-one-data"}, "ByPass"},
        {{"by-pass-two-data"}, "ByPass"},
        {{"pgm-map-data", map, "office", calculateSHA256(map)}, "MapData"},
        {{"factory-mode", "true"}, "FactoryMode"},
        {{"battery-sleep-mode", "off"}, "BatterySleepMode"},
        {{"sensor-inspection-mode", "1"}, "SensorInspectionMode"},
        {{"station-repositioning", "0.4", "0.4", "0"}, "StationRepositioning"},
        {{"ota", "1024", calculateSHA256(std::string("x"))}, "OTA"},
        {{"docking-state", "1"}, "Docking"},
        {{"setting-command", "3"}, "Setting"},
        {{"config-command", "7"}, "Config"},
        {{"factory-reset"}, "OTA"},
        {{"software-reset"}, "SoftwareReset"},
    };
}

TEST_F(EncryptedRobot, AcknowledgesEverySetCommand) {
    for (const SetCase& c : setCases()) {
        SCOPED_TRACE("set " + c.words[0]);
        std::vector<std::string> args{"--json", "set"};
        args.insert(args.end(), c.words.begin(), c.words.end());
        const ClientRun run = client(args);
        ASSERT_EQ(run.status, 0) << run.err;
        EXPECT_EQ(run.out, std::string("{\"Response\":{\"Set\":{\"") + c.result + "\":{\"result\":true}}}}\n");
    }
}

// The robot's refusals come back as "result": false (or, for firmware data
// with a wrong checksum, a push of state 15), and the client exits with 1.
TEST_F(EncryptedRobot, RefusalsExitWithOne) {
    const std::string map = base64("map");
    const std::vector<std::vector<std::string>> refused = {
        {"set", "max-driving-speed", "-1"},
        {"set", "target-position", "9", "9", "0"},
        {"set", "pgm-map-data", map, "office", std::string(64, '0')},
        {"set", "ota-data", map, std::string(64, '0')},
    };
    for (const auto& args : refused) {
        SCOPED_TRACE(args[1]);
        const ClientRun run = client(args);
        EXPECT_EQ(run.status, 1) << run.out << run.err;
        EXPECT_NE(run.err.find("the robot refused command"), std::string::npos) << run.err;
    }
    const ClientRun checksum = client({"--json", "set", "ota-data", map, std::string(64, '0')});
    EXPECT_EQ(checksum.out, "{\"Emergency\":{\"Send\":{\"OTA\":{\"progress\":0,\"state\":15}}}}\n");
}

TEST_F(EncryptedRobot, TargetPositionAndModifiedMapComeBackAsSet) {
    ASSERT_EQ(client({"set", "target-position", "1.5", "2", "-0.25"}).status, 0);
    const Json::Value target = answer(client({"--json", "get", "target-position"}))["Response"]["Get"]["TargetPosition"];
    EXPECT_EQ(target["x"].asDouble(), 1.5);
    EXPECT_EQ(target["y"].asDouble(), 2.0);
    EXPECT_EQ(target["theta"].asDouble(), -0.25);

    const std::string map = base64(std::string("\x00\x01\xfe\xff map bytes", 14));
    ASSERT_EQ(client({"set", "modified-map-data", map, "2", "3"}).status, 0);
    const Json::Value stored = answer(client({"--json", "get", "modified-map-data"}))["Response"]["Get"];
    EXPECT_EQ(stored["ModifiedMapData"]["data"].asString(), map);
    EXPECT_EQ(stored["ModifiedMapData"]["width"].asDouble(), 2.0);
    EXPECT_EQ(stored["ModifiedMapData"]["height"].asDouble(), 3.0);
}

TEST_F(EncryptedRobot, TheClockCommandLandsOnTheDemoHostsFakeClock) {
    const ClientRun run = client({"set", "time-data", "2024", "5", "1", "12", "0", "0"});
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_TRUE(host().awaitOutput("clock: the robot's clock would be set to 2024-05-01 12:00:00 UTC", Millis(3000)))
        << host().output();
}

TEST_F(EncryptedRobot, SavesTheMapImage) {
    robotest::TempDir folder;
    const std::string path = folder.path() + "/map.pgm";
    const ClientRun run = client({"--json", "get", "map-data", "--save", path});
    ASSERT_EQ(run.status, 0) << run.err;
    const std::string image = fileText(path);
    const std::string header = "P5\n64 64\n255\n";
    EXPECT_EQ(image.substr(0, header.size()), header);
    EXPECT_EQ(image.size(), header.size() + 64 * 64);
    EXPECT_EQ(answer(run)["Response"]["Get"]["MapData"]["data"].asString(),
              "<" + std::to_string(image.size()) + " bytes saved to " + path + ">");
}

TEST_F(EncryptedRobot, SendsADocumentFromAFile) {
    robotest::TempDir folder;
    const std::string edit = folder.path() + "/edit.json";
    std::ofstream(edit) << R"({"Request":{"Set":{"ByPass":{"info":{"uid":"edit-7","version":"1","modified":"now"},)"
                        << R"("room_list":[{"id":"r1","name":"lab","robot_path":[{"x":1,"y":2}]}]}}}})";
    const ClientRun run = client({"--json", "send", "71", edit});
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.out, "{\"Response\":{\"Set\":{\"ByPass\":{\"result\":true}}}}\n");
    EXPECT_TRUE(host().awaitOutput("map edit edit-7: 1 rooms", Millis(3000))) << host().output();
    // The library keeps the document, enciphered, in the host's run folder.
    struct stat info {};
    ASSERT_EQ(stat((host().runFolder() + "/MapEdit.bin").c_str(), &info), 0);
    EXPECT_GE(info.st_size, 32);

    // Code 101 is a second name for the lidar status request, answered as code 2.
    const std::string request = folder.path() + "/lidar.json";
    std::ofstream(request) << R"({"Request":{"Get":{"LidarSensorStatus":{}}}})";
    const ClientRun lidar = client({"--json", "send", "101", request});
    ASSERT_EQ(lidar.status, 0) << lidar.err;
    EXPECT_TRUE(answer(lidar)["Response"]["Get"]["LidarSensorStatus"].isMember("front")) << lidar.out;
}

TEST_F(EncryptedRobot, CommandsWithoutAnAnswerReturnAtOnce) {
    const ClientRun ignored = client({"get", "ignored"});
    EXPECT_EQ(ignored.status, 0) << ignored.err;
    EXPECT_EQ(ignored.out, "sent command 18; the robot does not answer it\n");
    const ClientRun acknowledgement = client({"set", "error"});
    EXPECT_EQ(acknowledgement.status, 0) << acknowledgement.err;
    EXPECT_EQ(acknowledgement.out, "sent command 100; the robot does not answer it\n");
}

// The demo host repeats unacknowledged errors to a client that is present;
// watch keeps itself present with heartbeats.
TEST_F(EncryptedRobot, WatchPrintsErrorPushesUntilAcknowledged) {
    ASSERT_EQ(client({"set", "emergency-stop"}).status, 0);
    // The push may go to the client that stopped the robot; the next comes a second later.
    const ClientRun watch = client({"--json", "watch", "2"});
    ASSERT_EQ(watch.status, 0) << watch.err;
    const Json::Value push = answer(watch);
    EXPECT_EQ(push["code"].asInt(), 100) << watch.out << host().output();
    EXPECT_EQ(push["kind"].asInt(), 15);
    EXPECT_EQ(push["document"]["Emergency"]["Send"]["ErrorList"][0]["errorCode"].asString(), "EMERGENCY-STOP");

    const ClientRun ack = client({"set", "error"});
    EXPECT_EQ(ack.status, 0) << ack.err;
    EXPECT_TRUE(host().awaitOutput("the client acknowledged the errors", Millis(3000))) << host().output();
    ASSERT_EQ(client({"set", "recovery"}).status, 0);
}

}  // namespace
}  // namespace e2e
