// The parser on whole messages: key paths, conversions, failures and the
// commands it carries out itself.
#include <gtest/gtest.h>
#include <json/value.h>

#include <filesystem>
#include <functional>
#include <stdexcept>

#include "intake_fixture.h"
#include "robocomm/files.h"
#include "robocomm/intake.h"
#include "robocomm/security.h"
#include "support/fake_clock.h"
#include "support/temp_dir.h"

namespace {

using intaketest::captureOutput;
using intaketest::message;

const std::string kAbcDigest = "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad";

class ParserTest : public intaketest::IntakeTest {};

struct KeyPathCase {
    const char* what;
    uint8_t code;
    const char* body;
    std::function<void()> check;
};

// Literal documents, so a key the table gets wrong cannot hide behind a test
// document built from the same table.
TEST_F(ParserTest, ReadsEachCommandFromItsOwnKeyPath) {
    const std::vector<KeyPathCase> cases = {
        {"AICalibration reads Set twice", 25, R"({"Request":{"Set":{"AICalibration":{"Set":7}}}})",
         [] {
             int32_t out = 0;
             EXPECT_EQ(reqGetAICalibration(&out), 1);
             EXPECT_EQ(out, 7);
         }},
        {"set keys are lower case", 61, R"({"Request":{"Set":{"Driving":{"Set":5,"set":6}}}})",
         [] {
             int32_t out = 0;
             EXPECT_EQ(reqSetDriving(&out), 1);
             EXPECT_EQ(out, 6);
         }},
        {"IntegrationModifiedMapData reads the ModifiedMapData object", 70,
         R"({"Request":{"Set":{"IntegrationModifiedMapData":{"data":"WFla"},"ModifiedMapData":{"data":"QUJD"}}}})",
         [] {
             std::vector<unsigned char> out;
             EXPECT_EQ(reqSetIntegrationModifiedMapDataB(&out), 1);
             EXPECT_EQ(out, (std::vector<unsigned char>{'A', 'B', 'C'}));
         }},
        {"DockingState reads Docking", 90,
         R"({"Request":{"Set":{"DockingState":{"set":1},"Docking":{"set":2}}}})",
         [] {
             int32_t out = 0;
             EXPECT_EQ(reqSetDockingState(&out), 1);
             EXPECT_EQ(out, 2);
         }},
        {"OTA announcement", 80, R"({"Request":{"Set":{"OTA":{"size":1234,"checksum":"c0ffee"}}}})",
         [] {
             OTAInfo_t out{};
             EXPECT_EQ(reqSetOTA(&out), 1);
             EXPECT_EQ(out.size, 1234);
             EXPECT_EQ(out.checksum, "c0ffee");
         }},
        {"Rotation", 66, R"({"Request":{"Set":{"Rotation":{"radian":-1.5,"type":3}}}})",
         [] {
             Rotation_t out{};
             EXPECT_EQ(reqSetRotation(&out), 1);
             EXPECT_EQ(out.type, 3);
             EXPECT_EQ(out.radian, -1.5);
         }},
        {"ModifiedMapData", 63, R"({"Request":{"Set":{"ModifiedMapData":{"data":"QUJD","width":4.5,"height":2}}}})",
         [] {
             ModifiedMapDataB_t out{};
             EXPECT_EQ(reqSetModifiedMapDataB(&out), 1);
             EXPECT_EQ(out.width, 4.5);
             EXPECT_EQ(out.height, 2.0);
             EXPECT_EQ(out.data, (std::vector<unsigned char>{'A', 'B', 'C'}));
         }},
        {"SettingCommand reads Setting", 251, R"({"Request":{"Set":{"Setting":{"set":11}}}})",
         [] {
             int32_t out = 0;
             EXPECT_EQ(reqSetSettingCommand(&out), 1);
             EXPECT_EQ(out, 11);
         }},
        {"ConfigCommand reads Config", 252, R"({"Request":{"Set":{"Config":{"set":12}}}})",
         [] {
             int32_t out = 0;
             EXPECT_EQ(reqSetConfigCommand(&out), 1);
             EXPECT_EQ(out, 12);
         }},
        {"TimeData lands in its mailbox before the clock is set", 67,
         R"({"Request":{"Set":{"TimeData":{"year":2024,"month":2,"day":29,"hour":12,"minute":34,"second":56}}}})",
         [] { EXPECT_EQ(robotest::lastClockSet().seconds, 1709210096L); }},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        captureOutput([&] { parseData(message(c.code, c.body)); });
        c.check();
    }
}

TEST_F(ParserTest, TextFieldsEndAtTheirFirstNul) {
    captureOutput([] { parseData(message(73, R"({"Request":{"Set":{"PGMMapData":{"data":"QU\u0000JD","name":"n","sha256":"s"}}}})")); });
    EXPECT_EQ(globalSetPGMMapData.data, "QU");
    EXPECT_EQ(globalSetPGMMapData.name, "n");
}

TEST_F(ParserTest, ASecondCommandOverwritesTheFirst) {
    captureOutput([] {
        parseData(message(61, R"({"Request":{"Set":{"Driving":{"set":1}}}})"));
        parseData(message(61, R"({"Request":{"Set":{"Driving":{"set":2}}}})"));
    });
    int32_t out = 0;
    EXPECT_EQ(reqSetDriving(&out), 1);
    EXPECT_EQ(out, 2);
    EXPECT_EQ(reqSetDriving(&out), 0);
}

TEST_F(ParserTest, PositionPendingByteHoldsTheCode) {
    captureOutput([] { parseData(message(1, "{}")); });
    EXPECT_EQ(globalGetPosition.pending, 1);
}

TEST_F(ParserTest, CodeOnlyMessageStillRaisesAGetFlag) {
    const auto output = captureOutput([] { parseData(message(3, "")); });
    EXPECT_EQ(output.out.rfind("Failed to parse JSON: ", 0), 0u) << output.out;
    EXPECT_NE(output.out.find("\nfirst Byte : 3\n"), std::string::npos);
    EXPECT_EQ(reqGetMotorStatus(), 1);
}

TEST_F(ParserTest, UnparsedDocumentGivesNumbersTheirNullValues) {
    globalSetMaxDrivingSpeed.mS = 9;
    captureOutput([] { parseData(message(57, "not json")); });
    double out = -1;
    EXPECT_EQ(reqSetMaxDrivingSpeed(&out), 1);
    EXPECT_EQ(out, 0.0);
}

TEST_F(ParserTest, DecryptsTheBodyWhenEncryptionIsOn) {
    enableEnc = 1;
    API_GenerateKey();
    std::vector<unsigned char> cipher;
    encryptData(std::string(R"({"Request":{"Set":{"Mapping":{"set":4}}}})"), cipher, key, iv);
    const auto output = captureOutput([&] { parseData(message(62, std::string(cipher.begin(), cipher.end()))); });
    EXPECT_EQ(output.out, "first Byte : 62\n");
    int32_t out = 0;
    EXPECT_EQ(reqSetMapping(&out), 1);
    EXPECT_EQ(out, 4);
}

TEST_F(ParserTest, UndecipherableBodyIsReportedAndTheCommandGoesOn) {
    enableEnc = 1;
    API_GenerateKey();
    const auto output = captureOutput([] { parseData(message(4, std::string(32, 'x'))); });
    EXPECT_NE(output.out.find("JSON 데이터 복호화 실패\nFailed to parse JSON: "), std::string::npos) << output.out;
    EXPECT_EQ(reqGetCameraStatus(), 1);
}

TEST_F(ParserTest, FailuresEscapeToTheCaller) {
    captureOutput([] {
        EXPECT_THROW(parseData(""), std::out_of_range);
        // A root that is no object fails at the first key of a reading command...
        EXPECT_THROW(parseData(message(61, "[1,2]")), Json::LogicError);
        // ...while a parameterless one never looks.
        EXPECT_NO_THROW(parseData(message(5, "[1,2]")));
        // A text that is missing cannot be read.
        EXPECT_THROW(parseData(message(73, "{}")), Json::LogicError);
    });
    EXPECT_EQ(reqSetDriving(nullptr), 0);
    EXPECT_EQ(reqGetLineLaserStatus(), 1);
    PGMMapDataB_t pgm{};
    EXPECT_EQ(reqSetPGMMapData(&pgm), 0);
}

TEST_F(ParserTest, OTAAnnouncementLogsItsCodeTwice) {
    const auto output = captureOutput([] { parseData(message(80, R"({"Request":{"Set":{"OTA":{"size":1,"checksum":"c"}}}})")); });
    EXPECT_EQ(output.out, "first Byte : 80\nfirst Byte : 80\n");
}

TEST_F(ParserTest, FactoryResetIsLogged) {
    const auto output = captureOutput([] { parseData(message(83, "{}")); });
    EXPECT_EQ(output.out, "first Byte : 83\nsetFactoryResetIdx\n");
    EXPECT_EQ(reqSetFactoryReset(), 1);
}

TEST_F(ParserTest, OTADataIsPostedOnlyWhenItMatchesItsDigest) {
    const std::string good = R"({"Request":{"Set":{"OTA":{"data":"abc","checksum":")" + kAbcDigest + R"("}}}})";
    auto output = captureOutput([&] { parseData(message(81, good)); });
    EXPECT_EQ(output.out, "first Byte : 81\nsetOTADataIdx \nchecksum : " + kAbcDigest + "\ncalculatedHash : " +
                              kAbcDigest + "\nOTA Data : Pass\n");
    EXPECT_EQ(globalOTAdata.pending, 1);
    EXPECT_EQ(globalOTAdata.data, "abc");

    // A mismatch withdraws the one still pending and answers the client at once.
    output = captureOutput([] { parseData(message(81, R"({"Request":{"Set":{"OTA":{"data":"abd","checksum":"00"}}}})")); });
    EXPECT_NE(output.out.find("OTA Data : Fail\n"), std::string::npos) << output.out;
    EXPECT_NE(output.out.find("sendLargeJsonData"), std::string::npos) << "no failure answer attempted";
    EXPECT_EQ(globalOTAdata.pending, 0);
    EXPECT_EQ(globalOTAdata.checksum, "00");
}

TEST_F(ParserTest, TimeDataSetsTheClockAndIsNeverLeftPending) {
    robotest::resetFakeClock();
    const auto output = captureOutput([] {
        parseData(message(67, R"({"Request":{"Set":{"TimeData":{"year":2024,"month":13,"day":1,"hour":0,"minute":0,"second":0}}}})"));
    });
    EXPECT_EQ(robotest::clockSetCount(), 1);
    EXPECT_EQ(robotest::lastClockSet().seconds, 1735689600L);
    EXPECT_NE(output.out.find("System time updated successfully to: Wed Jan  1 00:00:00 2025\n"), std::string::npos);
    EXPECT_NE(output.out.find("sendLargeJsonData"), std::string::npos) << "the answer was not attempted";
    TimeData_t out{};
    EXPECT_EQ(reqSetTimeData(&out), 0);
}

TEST_F(ParserTest, TimeDataThatCannotBeSetIsNotAnswered) {
    robotest::resetFakeClock();
    robotest::failNextClockSet();
    const std::string body =
        R"({"Request":{"Set":{"TimeData":{"year":2024,"month":1,"day":1,"hour":0,"minute":0,"second":0}}}})";
    std::string what;
    const auto output = captureOutput([&] {
        try {
            parseData(message(67, body));
        } catch (const std::runtime_error& e) {
            what = e.what();
        }
    });
    EXPECT_EQ(what, "Failed to set system time.");
    EXPECT_EQ(output.out.find("sendLargeJsonData"), std::string::npos);
}

TEST_F(ParserTest, ByPassOneDataIsSavedThenPosted) {
    robotest::TempDir dir;
    const std::string savedPath = mapEditFilePath;
    mapEditFilePath = dir.path() + "/MapEdit.bin";
    API_GenerateKey();
    const std::string body =
        R"({"Request":{"Set":{"ByPass":{"info":{"uid":"u-7","version":"2","modified":"today"},)"
        R"("room_list":[{"id":"r1","robot_path":[{"x":1,"y":2}]}]}}}})";
    const std::string raw = message(71, body);

    const auto output = captureOutput([&] { parseData(raw); });
    const std::string stored = API_FileRead(mapEditFilePath, key);
    mapEditFilePath = savedPath;

    const std::string head = "first Byte : 71\nparseBypassOneData : " + raw + "\n";
    const std::string tail = "Bypass One Data parsed. UID: u-7\n";
    EXPECT_EQ(output.out.substr(0, head.size()), head);
    ASSERT_GE(output.out.size(), tail.size());
    EXPECT_EQ(output.out.substr(output.out.size() - tail.size()), tail);
    EXPECT_EQ(stored, body);
    ByPassOneData_t out;
    ASSERT_EQ(reqSetByPassOneData(&out), 1);
    EXPECT_EQ(out.version, "2");
    ASSERT_EQ(out.room_list.size(), 1u);
    EXPECT_EQ(out.room_list[0].robot_path[0].y, 2.0);
}

}  // namespace
