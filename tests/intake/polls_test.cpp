// The host's polls: idle polls, and the ones that hand data over transformed.
#include <gtest/gtest.h>

#include "intake_fixture.h"
#include "robocomm/intake.h"
#include "robocomm/security.h"

namespace {

using intaketest::captureOutput;

class PollsTest : public intaketest::IntakeTest {};

TEST_F(PollsTest, IdlePollsLeaveTheOutRecordAlone) {
    int32_t number = 77;
    EXPECT_EQ(reqSetDriving(&number), 0);
    EXPECT_EQ(number, 77);
    double pose[3] = {1, 2, 3};
    EXPECT_EQ(reqSetTargetPosition(pose), 0);
    EXPECT_EQ(pose[2], 3.0);
    Rotation_t rotation{5, 0.5};
    EXPECT_EQ(reqSetRotation(&rotation), 0);
    EXPECT_EQ(rotation.type, 5);
    bool start = true;
    EXPECT_EQ(reqSetFactoryMode(&start), 0);
    EXPECT_TRUE(start);
    ModifiedMapDataB_t map{1, 2, {9, 9}};
    EXPECT_EQ(reqSetModifiedMapDataB(&map), 0);
    EXPECT_EQ(map.data, (std::vector<unsigned char>{9, 9}));
    otadataB_t ota{"keep", {1}};
    const auto output = captureOutput([&] { EXPECT_EQ(reqSetOTAdata(&ota), 0); });
    EXPECT_EQ(output.out, "");
    EXPECT_EQ(ota.checksum, "keep");
    ByPassOneData_t edit;
    edit.uid = "keep";
    EXPECT_EQ(reqSetByPassOneData(&edit), 0);
    EXPECT_EQ(edit.uid, "keep");
    EXPECT_FALSE(RecvErrorRes());
}

TEST_F(PollsTest, ModifiedMapIsTakenByWhicheverViewPollsFirst) {
    globalSetModifiedMapData.data = "QUJD";
    globalSetModifiedMapData.width = 3;
    globalSetModifiedMapData.pending = 1;
    ModifiedMapDataB_t map{0, 0, {1, 2, 3, 4, 5}};
    EXPECT_EQ(reqSetModifiedMapDataB(&map), 1);
    EXPECT_EQ(map.data, (std::vector<unsigned char>{'A', 'B', 'C'}));
    EXPECT_EQ(map.width, 3.0);
    std::string text = "keep";
    EXPECT_EQ(reqSetModifiedMapDataS(&text), 0);
    EXPECT_EQ(text, "keep");
    EXPECT_EQ(globalSetModifiedMapData.data, "");
}

TEST_F(PollsTest, InvalidBase64IsHandedOverAsDecoded) {
    globalSetModifiedMapData.data = "QU!!";
    globalSetModifiedMapData.pending = 1;
    ModifiedMapDataB_t map{};
    EXPECT_EQ(reqSetModifiedMapDataB(&map), 1);
    EXPECT_EQ(map.data, base64Decode("QU!!"));
}

TEST_F(PollsTest, ByPassTwoDataDecodesWhateverTheMailboxHolds) {
    captureOutput([] { parseData(intaketest::message(72, "{}")); });
    std::vector<unsigned char> out = {7};
    EXPECT_EQ(reqSetIntegrationModifiedMapDataB(&out), 1);
    EXPECT_TRUE(out.empty());
}

TEST_F(PollsTest, PGMMapIsHandedOverWithItsVerdict) {
    // The digest is of the base64 text as received, not of the decoded bytes.
    const std::string digest = "6a94721a1ca68b4ed1900eeee4b29d2b40ac7a20b10ee99afeb2d3d58b6e9853";
    for (const bool match : {true, false}) {
        SCOPED_TRACE(match);
        static_cast<PGMMapData_t&>(globalSetPGMMapData) = {"floor", match ? digest : std::string(64, '0'), "QUJDRA=="};
        globalSetPGMMapData.pending = 1;
        PGMMapDataB_t out{};
        EXPECT_EQ(reqSetPGMMapData(&out), 1);
        EXPECT_EQ(out.name, "floor");
        EXPECT_EQ(out.checksumOk, match);
        EXPECT_EQ(out.data, (std::vector<unsigned char>{'A', 'B', 'C', 'D'}));
        EXPECT_EQ(globalSetPGMMapData.sha256, "");
    }
}

TEST_F(PollsTest, OTADataHandsOverTheAssembledImageAndKeepsIt) {
    globalOTAdata.imageData = {1, 2, 3};
    globalOTAdata.imageChecksum = "digest";
    for (int round = 0; round < 2; ++round) {
        globalOTAdata.checksum = "c";
        globalOTAdata.data = "d";
        globalOTAdata.pending = 1;
        otadataB_t out{};
        const auto output = captureOutput([&] { EXPECT_EQ(reqSetOTAdata(&out), 1); });
        EXPECT_EQ(output.out, "Data size in globalOTAdata: 3\n");
        EXPECT_EQ(out.data, (std::vector<unsigned char>{1, 2, 3}));
        EXPECT_EQ(out.checksum, "digest");
        EXPECT_EQ(globalOTAdata.checksum, "");
        EXPECT_EQ(globalOTAdata.data, "");
        EXPECT_EQ(globalOTAdata.imageData.size(), 3u);
    }
}

TEST_F(PollsTest, ByPassOneDataIsDeepCopiedThenCleared) {
    globalSetByPassOne.uid = "u";
    globalSetByPassOne.block_wall.push_back({"w", {{1, 2}}, {}});
    globalSetByPassOne.init_position.push_back({"i", {3, 4}, {5, 6}});
    globalSetByPassOne.pending = 1;
    ByPassOneData_t out;
    out.room_list.resize(3);
    EXPECT_EQ(reqSetByPassOneData(&out), 1);
    EXPECT_EQ(out.uid, "u");
    EXPECT_TRUE(out.room_list.empty());
    ASSERT_EQ(out.block_wall.size(), 1u);
    EXPECT_EQ(out.block_wall[0].robot_path[0].y, 2.0);
    EXPECT_EQ(out.init_position[0].image_position.x, 5.0);
    EXPECT_EQ(globalSetByPassOne.uid, "");
    EXPECT_TRUE(globalSetByPassOne.block_wall.empty());
    EXPECT_TRUE(globalSetByPassOne.init_position.empty());
}

TEST_F(PollsTest, TargetPositionCalculateAlwaysComesOutZero) {
    captureOutput([] {
        parseData(intaketest::message(20, R"({"Request":{"Set":{"TargetPositionCalculate":{"x":1,"y":2,"theta":3}}}})"));
    });
    double out[3] = {9, 9, 9};
    EXPECT_EQ(reqGetTargetPositionCalculate(out), 1);
    EXPECT_EQ(out[0], 0.0);
    EXPECT_EQ(out[1], 0.0);
    EXPECT_EQ(out[2], 0.0);
}

TEST_F(PollsTest, ClearOperationsResetEveryField) {
    globalSetTimeData.year = 2024;
    globalSetTimeData.second = 5;
    globalSetTimeData.pending = 1;
    clearGlobalSetTimeData();
    EXPECT_EQ(globalSetTimeData.year, 0);
    EXPECT_EQ(globalSetTimeData.second, 0);
    EXPECT_EQ(globalSetTimeData.pending, 0);
    globalOTA.checksum = "c";
    globalOTA.size = 4;
    clearGlobalSetOTA();
    EXPECT_EQ(globalOTA.checksum, "");
    EXPECT_EQ(globalOTA.size, 0);
}

}  // namespace
