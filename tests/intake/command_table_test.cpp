// The command vocabulary, driven through the parser and back out of the polls.
#include <gtest/gtest.h>
#include <json/value.h>
#include <json/writer.h>

#include <array>
#include <functional>
#include <map>
#include <variant>

#include "intake/command_table.h"
#include "intake_fixture.h"
#include "robocomm/intake.h"
#include "robocomm/security.h"

namespace {

using robocomm::CommandSpec;
using robocomm::commandTable;
using robocomm::ParamKind;

using Value = std::variant<int32_t, double, bool, std::string>;
using Values = std::map<std::string, Value>;

struct Polled {
    uint8_t pending;
    Values values;
};

Value zeroLike(const Value& value) {
    return std::visit([](auto v) { return Value(decltype(v){}); }, value);
}

std::string encoded(const std::vector<unsigned char>& bytes) { return base64Encode(bytes.data(), bytes.size()); }
Values decodedMap(const std::vector<unsigned char>& bytes) { return {{"data", encoded(bytes)}}; }

// A code as the host sees it, written out apart from the command table: the
// key its parameters lie under and its poll, which reports the out-values by
// parameter name. Codes without a poll are never posted (18) or have tests of
// their own (67, 71, 81).
struct Expected {
    std::string key;
    std::function<Polled()> poll;
};

Expected flag(uint8_t (*poll)()) {
    return {"", [poll] { return Polled{poll(), {}}; }};
}

// The out-record lives on between polls, so that an idle poll that wrote it shows.
template <class Out, class Report>
Expected record(const char* key, uint8_t (*poll)(Out*), Report report) {
    return {key, [poll, report, out = Out{}]() mutable {
                const uint8_t pending = poll(&out);
                return Polled{pending, report(out)};
            }};
}

// Polls whose out-parameter is one value or an array of them, kept like a record.
template <class T>
Expected values(const char* key, uint8_t (*poll)(T*), std::vector<const char*> names) {
    return {key, [poll, names, out = std::array<T, 3>{}]() mutable {
                Polled polled{poll(out.data()), {}};
                for (size_t i = 0; i < names.size(); ++i) polled.values[names[i]] = out[i];
                return polled;
            }};
}

const std::map<int, Expected>& vocabulary() {
    static const std::map<int, Expected> codes = {
        {1, flag(reqGetPosition)}, {2, flag(reqGetLidarSensorStatus)}, {3, flag(reqGetMotorStatus)},
        {4, flag(reqGetCameraStatus)}, {5, flag(reqGetLineLaserStatus)}, {6, flag(reqGetTofStatus)},
        {7, flag(reqGetIRStatus)}, {8, flag(reqGetSonicStatus)}, {9, flag(reqGetBatteryStatus)},
        {10, flag(reqGetSoftwareVersion)}, {11, flag(reqGetRobotInfo)}, {12, flag(reqGetErrorList)},
        {13, flag(reqGetTargetPosition)}, {14, flag(reqGetMapStatus)}, {15, flag(reqGetMapData)},
        {16, flag(reqGetLidarData)}, {17, flag(reqGetModifiedMapData)}, {18, {}}, {19, flag(reqGetRobotSpeed)},
        {21, flag(reqGetRobotStatus)}, {22, flag(reqGetActionStatus)}, {23, flag(reqGetNotification)},
        {26, flag(reqGetLogData)}, {30, flag(reqGetDockingStatus)}, {31, flag(reqGetMotorStatusV2)},
        {32, flag(reqGetRecvIRStatus)}, {33, flag(reqGetCliffIRStatus)}, {34, flag(reqGetCameraStatusV2)},
        {35, flag(reqGetLineLaserStatusV2)}, {36, flag(reqGetTofStatusV2)}, {37, flag(reqGetBatteryStatusV2)},
        {40, flag(reqGetAllStatus)}, {41, flag(reqGetAllMovingInfo)}, {42, flag(reqGetAllStatusV2)},
        {43, flag(reqGetAllMovingInfoV2)}, {50, flag(reqSetReturnToChargingStation)}, {51, flag(reqSetEmergencyStop)},
        {52, flag(reqSetStartLidar)}, {53, flag(reqSetStopLidar)}, {54, flag(reqSetStartCharging)},
        {55, flag(reqSetStopCharging)}, {56, flag(reqSetSoftwareReset)}, {64, flag(reqSetheartbeat)},
        {83, flag(reqSetFactoryReset)}, {84, flag(reqSetRecovery)}, {101, flag(reqGetLidarSensorStatus)},
        {67, {"TimeData", nullptr}}, {71, {"ByPass", nullptr}}, {81, {"OTA", nullptr}},
        {100, {"", [] { return Polled{RecvErrorRes(), {}}; }}},
        // The parser never writes TargetPositionCalculate: it always comes out as zeros.
        {20, values("", reqGetTargetPositionCalculate, {"x", "y", "theta"})},
        {25, values("AICalibration", reqGetAICalibration, {"Set"})},
        {57, values("MaxDrivingSpeed", reqSetMaxDrivingSpeed, {"mS"})},
        {58, values("MotorManual_RPM", reqSetMotorManual_RPM, {"leftRPM", "rightRPM"})},
        {59, values("MotorManual_VW", reqSetMotorManual_VW, {"mS", "radS"})},
        {60, values("TargetPosition", reqSetTargetPosition, {"x", "y", "theta"})},
        {77, values("StationRepositioning", reqSetStationRepositioning, {"x", "y", "theta"})},
        {61, values("Driving", reqSetDriving, {"set"})}, {62, values("Mapping", reqSetMapping, {"set"})},
        {65, values("ExcelSteps", reqSetExcelSteps, {"set"})}, {90, values("Docking", reqSetDockingState, {"set"})},
        {251, values("Setting", reqSetSettingCommand, {"set"})}, {252, values("Config", reqSetConfigCommand, {"set"})},
        {74, values("FactoryMode", reqSetFactoryMode, {"start"})},
        {75, values("BatterySleepMode", reqSetBatterySleepMode, {"start"})},
        {76, values("SensorInspectionMode", reqSetSensorInspectionMode, {"start"})},
        {63, record("ModifiedMapData", reqSetModifiedMapDataB, [](const ModifiedMapDataB_t& o) {
             return Values{{"data", encoded(o.data)}, {"width", o.width}, {"height", o.height}};
         })},
        {66, record("Rotation", reqSetRotation,
                    [](const Rotation_t& o) { return Values{{"type", o.type}, {"radian", o.radian}}; })},
        {70, record("ModifiedMapData", reqSetIntegrationModifiedMapDataB, decodedMap)},
        {72, record("", reqSetIntegrationModifiedMapDataB, decodedMap)},
        // A digest that does not match still hands the map over.
        {73, record("PGMMapData", reqSetPGMMapData, [](const PGMMapDataB_t& o) {
             return Values{{"data", encoded(o.data)}, {"name", o.name}, {"verdict", o.checksumOk}};
         })},
        {80, record("OTA", reqSetOTA,
                    [](const OTAInfo_t& o) { return Values{{"checksum", o.checksum}, {"size", o.size}}; })},
    };
    return codes;
}

// Distinct per parameter and never the value a poll clears to; texts are
// base64 so that decoded maps come back as sent.
Value sample(ParamKind kind, size_t index) {
    static const char* const texts[] = {"QUJD", "REVG", "R0hJ"};
    switch (kind) {
        case ParamKind::Int: return static_cast<int32_t>(-40 - 11 * static_cast<int32_t>(index));
        case ParamKind::Double: return 2.5 + 1.25 * static_cast<double>(index);
        case ParamKind::Bool: return true;
        case ParamKind::Text: break;
    }
    return texts[index];
}

class CommandTableTest : public intaketest::IntakeTest {};

TEST_F(CommandTableTest, EveryCommandLandsInItsMailboxAndComesOutOfItsPoll) {
    EXPECT_EQ(commandTable().size(), vocabulary().size());
    for (const CommandSpec& command : commandTable()) {
        SCOPED_TRACE(command.name);
        const auto expected = vocabulary().find(command.code);
        ASSERT_NE(expected, vocabulary().end());
        const std::string key = command.key ? command.key : "";
        EXPECT_EQ(key, expected->second.key);
        const auto& poll = expected->second.poll;
        if (!poll) continue;
        EXPECT_EQ(poll().pending, 0);

        Values sent;
        Json::Value document;
        Json::Value& params = document["Request"]["Set"][key] = Json::objectValue;
        for (size_t i = 0; i < command.params.size(); ++i) {
            const Value& value = sent[command.params[i].key] = sample(command.params[i].kind, i);
            params[command.params[i].key] = std::visit([](const auto& v) { return Json::Value(v); }, value);
        }
        const auto output =
            intaketest::parseMessage(command.code, Json::writeString(Json::StreamWriterBuilder(), document));
        EXPECT_EQ(output.err, "");
        const Polled polled = poll();
        EXPECT_EQ(polled.pending, 1);
        // What was not sent (TargetPositionCalculate, ByPassTwoData's map, the
        // PGM verdict on a digest that does not match) comes out as zero.
        for (const auto& [name, value] : polled.values) {
            const auto it = sent.find(name);
            EXPECT_EQ(value, it == sent.end() ? zeroLike(value) : it->second) << name;
        }
        const Polled idle = poll();
        EXPECT_EQ(idle.pending, 0) << "a second poll finds nothing";
        EXPECT_EQ(idle.values, polled.values) << "an idle poll wrote its out-parameter";
    }
}

}  // namespace
