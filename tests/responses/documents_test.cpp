// Every builder's text, byte for byte: member names and their spelling, JSON
// types (1 vs 1.0 vs true vs "1"), nesting, [] versus null.
#include <gtest/gtest.h>
#include <json/reader.h>
#include <json/writer.h>

#include <atomic>
#include <sstream>
#include <thread>
#include <utility>
#include <vector>

#include "layout.h"
#include "robocomm/responses.h"
#include "robocomm/security.h"

namespace restest {
namespace {

TEST(WriterLayout, IsTheLayoutOfTheLibrarysWriter) {
    const std::string written =
        "{\n\t\"Response\" : \n\t{\n\t\t\"Get\" : \n\t\t{\n\t\t\t\"TofStatus\" : \n\t\t\t{\n"
        "\t\t\t\t\"leftDistances\" : \n\t\t\t\t[\n\t\t\t\t\t10,\n\t\t\t\t\t20\n\t\t\t\t],\n"
        "\t\t\t\t\"leftStatus\" : 1,\n\t\t\t\t\"rightDistances\" : [],\n\t\t\t\t\"rightStatus\" : 2,\n"
        "\t\t\t\t\"topDistance\" : 40,\n\t\t\t\t\"topStatus\" : 3\n\t\t\t}\n\t\t}\n\t}\n}";
    EXPECT_EQ(createJsonTofStatusV2(1, {10, 20}, 2, {}, 3, 40), written);
    EXPECT_EQ(answer("TofStatus", R"({"leftDistances":[10,20],"leftStatus":1,"rightDistances":[],"rightStatus":2,)"
                                  R"("topDistance":40,"topStatus":3})"),
              written);
}

// Each row: the text a builder returned, then the text it must be.
void expectTexts(const std::vector<std::pair<std::string, std::string>>& rows) {
    for (const auto& [built, expected] : rows) EXPECT_EQ(built, expected);
}

TEST(Documents, SingleSensors) {
    expectTexts({
        {createJsonPosition(-1.23456, 0.1, 0),
         answer("position", R"({"theta":0.0,"x":-1.2345600000000001,"y":0.10000000000000001})")},
        {createJsonLidarSensorStatus(1, 0), answer("LidarSensorStatus", R"({"front":1,"rear":0})")},
        {createJsonMotorStatus(1.5, -1.5, 0.25, 0.75, 3, 4),
         answer("MotorStatus", R"({"leftPower":0.25,"leftSpeed":1.5,"leftStatus":3,"rightPower":0.75,)"
                               R"("rightSpeed":-1.5,"rightStatus":4})")},
        {createJsonCameraStatus(7), answer("CameraStatus", R"({"status":7})")},
        {createJsonLineLaserStatus(0.5, 12), answer("LineLaserStatus", R"({"left":0.5,"right":12.0})")},
        {createJsonTofStatus(1, 120, 0, -3, 2, 2147483647),
         answer("TofStatus", R"({"leftDistance":120,"leftStatus":1,"rightDistance":-3,"rightStatus":0,)"
                             R"("topDistance":2147483647,"topStatus":2})")},
        {createJsonIRStatus(true, false, true, true, false, false, false, true, false, true),
         answer("IRStatus", R"({"sensor1":true,"sensor2":false,"sensor3":true,"sensor4":true,"sensor5":false,)"
                            R"("sensor6":false,"stationIR1":false,"stationIR2":true,"stationIR3":false,)"
                            R"("stationIR4":true})")},
        {createJsonSonicStatus(1, true, 2, false),
         answer("SonicStatus", R"({"LeftSenseing":true,"leftStatus":1,"rightSenseing":false,"rightStatus":2})")},
        // The 4th value twice, the 5th nowhere.
        {createJsonBatteryStatus(1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, "SN-01"),
         answer("BatteryStatus", R"({"capacity":4.0,"cellTemperature":13.0,"cellVoltage":12.0,"chargeState":4.0,)"
                                 R"("current":2.0,"designCapacity":6.0,"location":14.0,"percentage":7.0,)"
                                 R"("present":11.0,"serialNumber":"SN-01","supplyHealth":9.0,"supplyStatus":8.0,)"
                                 R"("supplyTechnology":10.0,"temperature":3.0,"voltage":1.0})")},
        {createJsonSoftwareVersion("v2.1 \xed\x95\x9c"), answer("SoftwareVersion", R"({"version":"v2.1 \ud55c"})")},
        {createJsonRobotInfo("SN-01", 3), answer("RobotInfo", R"({"serialNumber":"SN-01","status":3})")},
        {createJsonTargetPosition(-1.5, 2.5, 3), answer("TargetPosition", R"({"theta":3.0,"x":-1.5,"y":2.5})")},
        {createJsonRobotSpeed(0.5, -0.25), answer("RobotSpeed", R"({"mS":0.5,"radS":-0.25})")},
        {createJsonRobotStatus(2), answer("RobotStatus", R"({"status":2})")},
        {createJsonActionStatus(-1), answer("ActionStatus", R"({"status":-1})")},
        {createJsonMotorStatusV2(100.5, -100.5, 1.25, 1.75, 1, 2),
         answer("MotorStatus", R"({"leftCurrent":1.25,"leftRPM":100.5,"leftType":1,"rightCurrent":1.75,)"
                               R"("rightRPM":-100.5,"rightType":2})")},
        {createJsonRecvIRStatus(true, false, false, true),
         answer("RecvIRStatus", R"({"RecvIR1":true,"RecvIR2":false,"RecvIR3":false,"RecvIR4":true})")},
        {createJsonCliffIRStatus(false, true, false, true, false, true),
         answer("CliffIRStatus", R"({"CliffIR1":false,"CliffIR2":true,"CliffIR3":false,"CliffIR4":true,)"
                                 R"("CliffIR5":false,"CliffIR6":true})")},
        {createJsonCameraStatusV2(1, {{255, 90, -32768, 32767, -30, 40, 50, 65535}}),
         answer("CameraStatus", R"({"objects":[{"classID":255,"confidence":90,"distance":65535,"height":50,)"
                                R"("theta":-30,"width":40,"x":-32768,"y":32767}],"status":1})")},
        {createJsonCameraStatusV2(0, {}), answer("CameraStatus", R"({"objects":[],"status":0})")},
        {createJsonLineLaserStatusV2(2, {{-5, 6, 7, -1, 8, 65535}}),
         answer("LineLaserStatus", R"({"positions":[{"direction":-1,"distance":65535,"height":8,"theta":7,"x":-5,)"
                                   R"("y":6}],"status":2})")},
        {createJsonBatteryStatusV2(3700, 3701, 3702, 3703, 3704, 5000, 2500, 7, 50, 18.5, -1.25, 25, 26, 5200, 300),
         answer("BatteryStatus", R"({"batteryCurrent":-1.25,"batteryManufacturer":7,"batteryPercent":50,)"
                                 R"("batteryTemperature1":25,"batteryTemperature2":26,"batteryVoltage":18.5,)"
                                 R"("cellVoltage1":3700,"cellVoltage2":3701,"cellVoltage3":3702,"cellVoltage4":3703,)"
                                 R"("cellVoltage5":3704,"designCapacity":5200,"numberOfCycles":300,)"
                                 R"("remainingCapacity":2500,"totalCapacity":5000})")},
    });
}

// Position is capitalised here, unlike the single position answer.
const std::string kPoses = R"("Position":{"theta":2.5,"x":0.5,"y":1.5},"TargetPosition":{"theta":-2.5,"x":-0.5,)"
                           R"("y":-1.5})";

TEST(Documents, Aggregates) {
    expectTexts({
        // Line lasers and sonar flags as ints, ToF distances uncut, "leftSenseing", battery one to one.
        {createJsonAllStatus(1, 2, 0.5, 1.5, 2.5, 3.5, 4, 5, 6, 7, 8, 9, 10.5, 11, 12.5, 13, 14.75, true, false, true,
                             false, true, false, true, true, false, false, 15, 1, 16, 0, 21, 22, 23, 24, 25, 26, 27, 28,
                             29, 30, 31, 32, 33, 34, "SN-9"),
         answer("AllStatus",
                R"({"BatteryStatus":{"capacity":25.0,"cellTemperature":33.0,"cellVoltage":32.0,"chargeState":24.0,)"
                R"("current":22.0,"designCapacity":26.0,"location":34.0,"percentage":27.0,"present":31.0,)"
                R"("serialNumber":"SN-9","supplyHealth":29.0,"supplyStatus":28.0,"supplyTechnology":30.0,)"
                R"("temperature":23.0,"voltage":21.0},"CameraStatus":{"status":6},"IRStatus":{"sensor1":true,)"
                R"("sensor2":false,"sensor3":true,"sensor4":false,"sensor5":true,"sensor6":false,"stationIR1":true,)"
                R"("stationIR2":true,"stationIR3":false,"stationIR4":false},"LidarSensorStatus":{"front":1,"rear":2},)"
                R"("LineLaserStatus":{"left":7,"right":8},"MotorStatus":{"leftPower":2.5,"leftSpeed":0.5,)"
                R"("leftStatus":4,"rightPower":3.5,"rightSpeed":1.5,"rightStatus":5},"SonicStatus":)"
                R"({"leftSenseing":1,"leftStatus":15,"rightSenseing":0,"rightStatus":16},"TofStatus":)"
                R"({"leftDistance":10.5,"leftStatus":9,"rightDistance":12.5,"rightStatus":11,"topDistance":14.75,)"
                R"("topStatus":13}})")},
        // No IR or sonar groups; battery values doubles but the maker and the cycles.
        {createJsonAllStatusV2(1, 2, 10.5, 11.5, 0.25, 0.5, 1, 2, 3, {{1, 2, 3, 4, 5, 6, 7, 8}}, 4, {}, 5, 6, 7, {100},
                               {}, 300, true, false, false, false, false, true, false, true, true, false, 3.5, 3.25,
                               3.125, 3, 2.5, 5000, 2500.5, 9, 50.5, 17.5, -2, 30.25, 31, 5200, 12),
         answer("AllStatus",
                R"({"BatteryStatus":{"batteryCurrent":-2.0,"batteryManufacturer":9,"batteryPercent":50.5,)"
                R"("batteryTemperature1":30.25,"batteryTemperature2":31.0,"batteryVoltage":17.5,"cellVoltage1":3.5,)"
                R"("cellVoltage2":3.25,"cellVoltage3":3.125,"cellVoltage4":3.0,"cellVoltage5":2.5,)"
                R"("designCapacity":5200.0,"numberOfCycles":12,"remainingCapacity":2500.5,"totalCapacity":5000.0},)"
                R"("CameraStatus":{"objects":[{"classID":1,"confidence":2,"distance":8,"height":7,"theta":5,)"
                R"("width":6,"x":3,"y":4}],"status":3},"CliffIRStatus":{"CliffIR1":true,"CliffIR2":false,)"
                R"("CliffIR3":false,"CliffIR4":false,"CliffIR5":false,"CliffIR6":true},)"
                R"("LidarSensorStatus":{"front":1,"rear":2},"LineLaserStatus":{"positions":[],"status":4},)"
                R"("MotorStatus":{"leftCurrent":0.25,"leftRPM":10.5,"leftType":1,"rightCurrent":0.5,"rightRPM":11.5,)"
                R"("rightType":2},"RecvIRStatus":{"RecvIR1":false,"RecvIR2":true,"RecvIR3":true,"RecvIR4":false},)"
                R"("TofStatus":{"leftDistances":[100],"leftStatus":5,"rightDistances":[],"rightStatus":6,)"
                R"("topDistance":300,"topStatus":7}})")},
        {createJsonAllMovingInfo(1, 0.5, 1.5, 2.5, -0.5, -1.5, -2.5),
         answer("AllMovingInfo", "{" + kPoses + R"(,"movingState":1})")},
        // The flags never suppress the poses.
        {createJsonAllMovingInfoV2(2, false, 0.5, 1.5, 2.5, true, -0.5, -1.5, -2.5),
         answer("AllMovingInfo",
                "{" + kPoses + R"(,"movingState":2,"validPosition":false,"validTargetPosition":true})")},
        {createJsonDockingStatus(3), answer("Docking", R"({"state":3})")},
    });
}

const unsigned char kMan[] = {'M', 'a', 'n'};
const unsigned char kHighBytes[] = {0xff, 0x00, 0x10};

TEST(Documents, Maps) {
    const std::string geometry = R"("height":2.0,"posX":3.0,"posY":4.0,"resolution":0.25,"width":1.0})";
    expectTexts({
        {createJsonMapStatus(true, "abc"), answer("MapStatus", R"({"data":"abc","mapping":true})")},
        {createJsonMapDataS(100, 0.1, 0.5, -12.5, 1e20, "map-\xc3\xa9\x1f"),
         answer("MapData", R"({"data":"map-\u00e9\u001f","height":0.10000000000000001,"posX":-12.5,"posY":1e+20,)"
                           R"("resolution":0.5,"width":100.0})")},
        {createJsonMapDataC(1, 2, 0.25, 3, 4, kHighBytes, 3), answer("MapData", R"({"data":"/wAQ",)" + geometry)},
        {createJsonMapDataC(1, 2, 0.25, 3, 4, kMan, 0), answer("MapData", R"({"data":"",)" + geometry)},
        {createJsonIntegrationMapData(kMan, 1), answer("MapData", R"({"data":"TQ=="})")},
        {createJsonModifiedMapData("xyz"), answer("ModifiedMapData", R"({"data":"xyz"})")},
        {createJsonModifiedMapDataC(8, 9.5, kMan, 2),
         answer("ModifiedMapData", R"({"data":"TWE=","height":9.5,"width":8.0})")},
        {createJsonIntegrationModifiedMapDataC(kMan, 3), answer("ModifiedMapData", R"({"data":"TWFu"})")},
        {createJsonLidarData(1.5, 2.5), answer("LidarData", R"({"front":1.5,"rear":2.5})")},
    });
}

// Byte maps place their base64 text into the written document directly; the
// text must stay what the writer makes of the same document, at the edges of
// padding and for a map of several megabytes.
TEST(Documents, ByteMapsAreWhatTheWriterMakesOfTheirDocument) {
    std::vector<unsigned char> bytes(4 << 20);
    for (size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<unsigned char>(i * 2654435761u >> 13);
    const auto written = [](const char* name, Json::Value body) {
        Json::Value document;
        document["Response"]["Get"][name] = std::move(body);
        return Json::writeString(Json::StreamWriterBuilder(), document);
    };
    for (const size_t size : {size_t{0}, size_t{1}, size_t{2}, size_t{3}, bytes.size()}) {
        SCOPED_TRACE(size);
        Json::Value data;
        data["data"] = base64Encode(bytes.data(), size);
        Json::Value map = data;
        map["width"] = 2048.0;
        map["height"] = 1024.5;
        map["resolution"] = 0.05;
        map["posX"] = -51.2;
        map["posY"] = 1e-7;
        Json::Value modified = data;
        modified["width"] = 640.0;
        modified["height"] = 480.0;
        EXPECT_TRUE(createJsonMapDataC(2048, 1024.5, 0.05, -51.2, 1e-7, bytes.data(), size) == written("MapData", map));
        EXPECT_TRUE(createJsonIntegrationMapData(bytes.data(), size) == written("MapData", data));
        EXPECT_TRUE(createJsonModifiedMapDataC(640, 480, bytes.data(), size) == written("ModifiedMapData", modified));
        EXPECT_TRUE(createJsonIntegrationModifiedMapDataC(bytes.data(), size) == written("ModifiedMapData", data));
    }
}

// Builders keep a writer per thread; answers built on several threads at
// once come out as on one.
TEST(Documents, BuildersGiveTheSameTextOnSeveralThreadsAtOnce) {
    const unsigned char bytes[] = {1, 2, 3, 4, 5};
    const std::string position = createJsonPosition(1.5, -2.25, 3.0);
    const std::string map = createJsonMapDataC(1, 2, 3, 4, 5, bytes, sizeof bytes);
    std::vector<std::thread> threads;
    std::atomic<int> mismatches{0};
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([&] {
            for (int i = 0; i < 200; ++i)
                if (createJsonPosition(1.5, -2.25, 3.0) != position ||
                    createJsonMapDataC(1, 2, 3, 4, 5, bytes, sizeof bytes) != map)
                    ++mismatches;
        });
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(mismatches, 0);
}

TEST(Documents, NoticesAndPushes) {
    const std::string errorsText = R"([{"errorCode":"E01","rank":2,"resolved":1}])";
    Json::Value errors;
    std::istringstream(errorsText) >> errors;
    expectTexts({
        {createJsonErrorList(errors), answer("ErrorList", errorsText)},
        {createJsonErrorList(Json::Value()), answer("ErrorList", "null")},
        {createJsonEmergencyErrorList(errors), push("ErrorList", errorsText)},
        {createJson_EmergencyMSG_OTA(1, 40, "v1.2"), push("OTA", R"({"progress":40,"state":1,"version":"v1.2"})")},
        {createJson_EmergencyMSG_OTAData(40, 1), push("OTA", R"({"progress":40,"state":1})")},
        {createJsonNotification(7, "x"), answer("Notification", R"({"code":7,"desccription":"x"})")},
        {createJsonTargetPositionCalculate(12.5, 3.25, 1, -1, 0.5),
         answer("TargetPositionCalculate", R"({"distance":3.25,"theta":0.5,"time":12.5,"x":1.0,"y":-1.0})")},
        {createJsonAICalibration(-2), answer("AICalibration", R"({"result":-2})")},
    });
}

}  // namespace
}  // namespace restest
