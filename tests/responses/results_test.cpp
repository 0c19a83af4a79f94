// Set-command result documents.
#include "expected_text.h"
#include "robocomm/responses.h"

namespace restest {
namespace {

struct ResultRow {
    int code;
    const char* name;
};

const ResultRow kResultRows[] = {
    {50, "ReturnToChargingStation"}, {51, "EmergencyStop"}, {52, "StartLidar"}, {53, "StopLidar"},
    {54, "StartCharging"}, {55, "StopCharging"}, {56, "SoftwareReset"}, {57, "MaxDrivingSpeed"},
    {58, "MotorManual_RPM"}, {59, "MotorManual_VW"}, {60, "TargetPosition"}, {61, "Driving"},
    {62, "Mapping"}, {63, "ModifiedMapData"}, {64, "Heartbeat"}, {65, "ExcelSteps"}, {66, "Rotation"},
    {67, "TimeData"}, {70, "ModifiedMapData"}, {71, "ByPass"}, {72, "ByPass"}, {73, "MapData"},
    {74, "FactoryMode"}, {75, "BatterySleepMode"}, {76, "SensorInspectionMode"},
    {77, "StationRepositioning"}, {80, "OTA"}, {81, "OTA"}, {83, "OTA"}, {84, "Recovery"},
    {90, "Docking"}, {251, "Setting"}, {252, "Config"},
};

TEST(ResultDocument, WritesTheExactEnvelope) {
    EXPECT_EQ(createJsonResult(51, true),
              "{\n\t\"Response\" : \n\t{\n\t\t\"Set\" : \n\t\t{\n\t\t\t\"EmergencyStop\" : \n\t\t\t{\n"
              "\t\t\t\t\"result\" : true\n\t\t\t}\n\t\t}\n\t}\n}");
}

TEST(ResultDocument, NamesEveryKnownCode) {
    for (const ResultRow& row : kResultRows) {
        SCOPED_TRACE(row.code);
        EXPECT_EQ(createJsonResult(row.code, true), resultText(row.name, true));
        EXPECT_EQ(createJsonResult(row.code, false), resultText(row.name, false));
    }
}

TEST(ResultDocument, UnknownCodeIsNull) {
    for (int code : {-1, 0, 1, 49, 68, 69, 78, 79, 82, 85, 89, 91, 99, 100, 101, 250, 253, 256 + 51}) {
        SCOPED_TRACE(code);
        EXPECT_EQ(createJsonResult(code, true), "null");
    }
}

}  // namespace
}  // namespace restest
