// The command vocabulary, driven through the parser and back out of the polls.
#include <gtest/gtest.h>
#include <json/value.h>

#include <functional>
#include <map>
#include <set>
#include <variant>

#include "intake/command_table.h"
#include "intake_fixture.h"
#include "robocomm/intake.h"

namespace {

using robocomm::CommandKind;
using robocomm::CommandSpec;
using robocomm::commandTable;
using robocomm::findCommand;
using robocomm::ParamKind;
using intaketest::captureOutput;
using intaketest::message;
using intaketest::requestText;

using Value = std::variant<int32_t, double, bool, std::string>;
using Values = std::map<std::string, Value>;

struct Polled {
    uint8_t pending;
    Values values;
};

// Which poll serves which code, written out independently of the table: a
// row bound to the wrong mailbox fails here.
template <uint8_t (*Poll)()>
Polled flag() {
    return {Poll(), {}};
}

template <uint8_t (*Poll)(int32_t*)>
Polled setValue() {
    int32_t out = 0;
    const uint8_t pending = Poll(&out);
    return {pending, {{"set", out}}};
}

template <uint8_t (*Poll)(bool*)>
Polled startValue() {
    bool out = false;
    const uint8_t pending = Poll(&out);
    return {pending, {{"start", out}}};
}

template <uint8_t (*Poll)(double*)>
Polled pose() {
    double out[3] = {7, 7, 7};
    const uint8_t pending = Poll(out);
    return {pending, {{"x", out[0]}, {"y", out[1]}, {"theta", out[2]}}};
}

template <uint8_t (*Poll)(std::vector<unsigned char>*)>
Polled bytes() {
    std::vector<unsigned char> out;
    return {Poll(&out), {}};
}

const std::map<int, std::function<Polled()>>& pollers() {
    static const std::map<int, std::function<Polled()>> table = {
        {1, flag<reqGetPosition>},
        {2, flag<reqGetLidarSensorStatus>},
        {3, flag<reqGetMotorStatus>},
        {4, flag<reqGetCameraStatus>},
        {5, flag<reqGetLineLaserStatus>},
        {6, flag<reqGetTofStatus>},
        {7, flag<reqGetIRStatus>},
        {8, flag<reqGetSonicStatus>},
        {9, flag<reqGetBatteryStatus>},
        {10, flag<reqGetSoftwareVersion>},
        {11, flag<reqGetRobotInfo>},
        {12, flag<reqGetErrorList>},
        {13, flag<reqGetTargetPosition>},
        {14, flag<reqGetMapStatus>},
        {15, flag<reqGetMapData>},
        {16, flag<reqGetLidarData>},
        {17, flag<reqGetModifiedMapData>},
        {19, flag<reqGetRobotSpeed>},
        {20, pose<reqGetTargetPositionCalculate>},
        {21, flag<reqGetRobotStatus>},
        {22, flag<reqGetActionStatus>},
        {23, flag<reqGetNotification>},
        {25, [] {
             int32_t out = 0;
             const uint8_t pending = reqGetAICalibration(&out);
             return Polled{pending, {{"Set", out}}};
         }},
        {26, flag<reqGetLogData>},
        {30, flag<reqGetDockingStatus>},
        {31, flag<reqGetMotorStatusV2>},
        {32, flag<reqGetRecvIRStatus>},
        {33, flag<reqGetCliffIRStatus>},
        {34, flag<reqGetCameraStatusV2>},
        {35, flag<reqGetLineLaserStatusV2>},
        {36, flag<reqGetTofStatusV2>},
        {37, flag<reqGetBatteryStatusV2>},
        {40, flag<reqGetAllStatus>},
        {41, flag<reqGetAllMovingInfo>},
        {42, flag<reqGetAllStatusV2>},
        {43, flag<reqGetAllMovingInfoV2>},
        {50, flag<reqSetReturnToChargingStation>},
        {51, flag<reqSetEmergencyStop>},
        {52, flag<reqSetStartLidar>},
        {53, flag<reqSetStopLidar>},
        {54, flag<reqSetStartCharging>},
        {55, flag<reqSetStopCharging>},
        {56, flag<reqSetSoftwareReset>},
        {57, [] {
             double out = 0;
             const uint8_t pending = reqSetMaxDrivingSpeed(&out);
             return Polled{pending, {{"mS", out}}};
         }},
        {58, [] {
             int32_t out[2] = {0, 0};
             const uint8_t pending = reqSetMotorManual_RPM(out);
             return Polled{pending, {{"leftRPM", out[0]}, {"rightRPM", out[1]}}};
         }},
        {59, [] {
             double out[2] = {0, 0};
             const uint8_t pending = reqSetMotorManual_VW(out);
             return Polled{pending, {{"mS", out[0]}, {"radS", out[1]}}};
         }},
        {60, pose<reqSetTargetPosition>},
        {61, setValue<reqSetDriving>},
        {62, setValue<reqSetMapping>},
        {63, [] {
             std::string out;
             const uint8_t pending = reqSetModifiedMapDataS(&out);
             return Polled{pending, {{"data", out}}};
         }},
        {64, flag<reqSetheartbeat>},
        {65, setValue<reqSetExcelSteps>},
        {66, [] {
             Rotation_t out{};
             const uint8_t pending = reqSetRotation(&out);
             return Polled{pending, {{"type", out.type}, {"radian", out.radian}}};
         }},
        {67, [] {
             TimeData_t out{};
             const uint8_t pending = reqSetTimeData(&out);
             return Polled{pending,
                           {{"year", out.year}, {"month", out.month}, {"day", out.day}, {"hour", out.hour},
                            {"minute", out.minute}, {"second", out.second}}};
         }},
        {70, bytes<reqSetIntegrationModifiedMapDataB>},
        {71, [] {
             ByPassOneData_t out;
             return Polled{reqSetByPassOneData(&out), {}};
         }},
        {72, bytes<reqSetIntegrationModifiedMapDataB>},
        {73, [] {
             PGMMapDataB_t out{};
             const uint8_t pending = reqSetPGMMapData(&out);
             return Polled{pending, {{"name", out.name}}};
         }},
        {74, startValue<reqSetFactoryMode>},
        {75, startValue<reqSetBatterySleepMode>},
        {76, startValue<reqSetSensorInspectionMode>},
        {77, pose<reqSetStationRepositioning>},
        {80, [] {
             OTAInfo_t out{};
             const uint8_t pending = reqSetOTA(&out);
             return Polled{pending, {{"checksum", out.checksum}, {"size", out.size}}};
         }},
        {81, [] {
             otadataB_t out;
             uint8_t pending = 0;
             captureOutput([&] { pending = reqSetOTAdata(&out); });
             return Polled{pending, {}};
         }},
        {83, flag<reqSetFactoryReset>},
        {84, flag<reqSetRecovery>},
        {90, setValue<reqSetDockingState>},
        {100, [] { return Polled{static_cast<uint8_t>(RecvErrorRes()), {}}; }},
        {101, flag<reqGetLidarSensorStatus>},
        {251, setValue<reqSetSettingCommand>},
        {252, setValue<reqSetConfigCommand>},
    };
    return table;
}

// Distinct per parameter, exactly representable, and never the cleared value.
Value sample(ParamKind kind, size_t index) {
    switch (kind) {
        case ParamKind::Int: return static_cast<int32_t>(-40 - 11 * static_cast<int32_t>(index));
        case ParamKind::Double: return 2.5 + 1.25 * static_cast<double>(index);
        case ParamKind::Bool: return true;
        case ParamKind::Text: break;
    }
    return std::string("text-") + std::to_string(index);
}

Json::Value toJson(const Value& value) {
    return std::visit([](const auto& v) { return Json::Value(v); }, value);
}

Value stored(const robocomm::ParamField& field) {
    return std::visit([](const auto* f) { return Value(*f); }, field);
}

Value cleared(ParamKind kind) {
    switch (kind) {
        case ParamKind::Int: return int32_t{0};
        case ParamKind::Double: return 0.0;
        case ParamKind::Bool: return false;
        case ParamKind::Text: break;
    }
    return std::string();
}

// Codes 67 and 81 set the clock or check a digest on the way in; they have
// tests of their own.
bool plainlyStored(const CommandSpec& command) { return command.code != 67 && command.code != 81; }

std::vector<uint8_t> pendingBytes() {
    std::vector<uint8_t> bytes;
    for (const CommandSpec& command : commandTable()) {
        bytes.push_back(command.pending ? *command.pending : 0);
    }
    return bytes;
}

// The pending bytes of the table after `raised` alone was parsed; rows that
// share its mailbox (2 and 101, 70 and 72) show it raised too.
std::vector<uint8_t> onlyRaised(const CommandSpec& raised) {
    std::vector<uint8_t> bytes;
    for (const CommandSpec& command : commandTable()) {
        bytes.push_back(command.pending != nullptr && command.pending == raised.pending ? 1 : 0);
    }
    return bytes;
}

class CommandTableTest : public intaketest::IntakeTest {};

TEST_F(CommandTableTest, AcceptsExactlyTheVocabulary) {
    std::set<int> expected = {18, 25, 26, 70, 71, 72, 73, 74, 75, 76, 77, 80, 81, 83, 84, 90, 100, 101, 251, 252};
    for (int code = 1; code <= 23; ++code) expected.insert(code);
    for (int code = 30; code <= 37; ++code) expected.insert(code);
    for (int code = 40; code <= 43; ++code) expected.insert(code);
    for (int code = 50; code <= 67; ++code) expected.insert(code);

    std::set<int> accepted;
    for (int code = 0; code <= 255; ++code) {
        if (findCommand(static_cast<uint8_t>(code)) != nullptr) accepted.insert(code);
    }
    EXPECT_EQ(accepted, expected);
    EXPECT_EQ(commandTable().size(), expected.size());
    for (const CommandSpec& command : commandTable()) {
        EXPECT_EQ(findCommand(command.code), &command);
        const bool getRange = command.code <= 43 || command.code == 101;
        EXPECT_EQ(command.kind == CommandKind::Get, getRange) << int(command.code);
        EXPECT_EQ(command.key == nullptr, command.params.empty() && command.code != 71) << int(command.code);
    }
}

TEST_F(CommandTableTest, EveryCommandHasItsPoll) {
    for (const CommandSpec& command : commandTable()) {
        if (command.code == 18) continue;
        EXPECT_EQ(pollers().count(command.code), 1u) << command.name;
    }
}

TEST_F(CommandTableTest, ParametersLandInTheMailboxAndComeOutOfThePoll) {
    for (const CommandSpec& command : commandTable()) {
        if (command.params.empty() || !plainlyStored(command)) continue;
        SCOPED_TRACE(command.name);
        Json::Value params;
        Values sent;
        for (size_t i = 0; i < command.params.size(); ++i) {
            const Value value = sample(command.params[i].kind, i);
            params[command.params[i].key] = toJson(value);
            sent[command.params[i].key] = value;
        }
        captureOutput([&] { parseData(message(command.code, requestText(command.key, params))); });

        EXPECT_EQ(pendingBytes(), onlyRaised(command));
        for (const auto& param : command.params) {
            EXPECT_EQ(stored(param.field), sent.at(param.key)) << param.key;
        }
        const Polled polled = pollers().at(command.code)();
        EXPECT_EQ(polled.pending, 1);
        for (const auto& [key, value] : polled.values) {
            EXPECT_EQ(value, sent.at(key)) << key;
        }
        EXPECT_EQ(*command.pending, 0);
        for (const auto& param : command.params) {
            EXPECT_EQ(stored(param.field), cleared(param.kind)) << param.key;
        }
        EXPECT_EQ(pollers().at(command.code)().pending, 0) << "a second poll finds nothing";
    }
}

TEST_F(CommandTableTest, ParameterlessCommandsOnlyRaiseTheirFlag) {
    for (const CommandSpec& command : commandTable()) {
        if (!command.params.empty() || command.pending == nullptr || command.code == 71) continue;
        SCOPED_TRACE(command.name);
        const auto output = captureOutput([&] { parseData(message(command.code, "{}")); });
        EXPECT_EQ(output.err, "");
        EXPECT_EQ(pendingBytes(), onlyRaised(command));
        EXPECT_EQ(pollers().at(command.code)().pending, 1);
        EXPECT_EQ(pollers().at(command.code)().pending, 0);
    }
}

TEST_F(CommandTableTest, UnknownCodesAreReportedAndChangeNothing) {
    const std::vector<uint8_t> before = pendingBytes();
    for (int code = 0; code <= 255; ++code) {
        if (findCommand(static_cast<uint8_t>(code)) != nullptr) continue;
        const auto output = captureOutput([&] { parseData(message(static_cast<uint8_t>(code), "{}")); });
        EXPECT_EQ(output.err, "Unknown data format\n") << code;
        EXPECT_EQ(output.out, "first Byte : " + std::to_string(code) + "\n");
    }
    EXPECT_EQ(pendingBytes(), before);
}

TEST_F(CommandTableTest, CodeEighteenIsSilent) {
    const auto output = captureOutput([] { parseData(message(18, "{}")); });
    EXPECT_EQ(output.out, "first Byte : 18\n");
    EXPECT_EQ(output.err, "");
    EXPECT_EQ(pendingBytes(), std::vector<uint8_t>(commandTable().size(), 0));
}

}  // namespace
