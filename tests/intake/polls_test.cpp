// The polls that hand a command over in another form than the parser stored it.
#include <gtest/gtest.h>

#include "intake_fixture.h"
#include "robocomm/intake.h"
#include "robocomm/security.h"

namespace {

const std::vector<unsigned char> kABC = {'A', 'B', 'C'};

class PollsTest : public intaketest::IntakeTest {};

TEST_F(PollsTest, ModifiedMapIsTakenByWhicheverViewPollsFirst) {
    globalSetModifiedMapData.data = "QUJD";
    globalSetModifiedMapData.pending = 1;
    std::string text;
    EXPECT_EQ(reqSetModifiedMapDataS(&text), 1);
    EXPECT_EQ(text, "QUJD");
    ModifiedMapDataB_t map{};
    EXPECT_EQ(reqSetModifiedMapDataB(&map), 0);
}

// The digest is of the base64 text as received, not of the decoded map.
TEST_F(PollsTest, PGMMapMatchingItsDigestIsVerified) {
    static_cast<PGMMapData_t&>(globalSetPGMMapData) = {"floor", calculateSHA256(std::string("QUJD")), "QUJD"};
    globalSetPGMMapData.pending = 1;
    PGMMapDataB_t out{};
    EXPECT_EQ(reqSetPGMMapData(&out), 1);
    EXPECT_TRUE(out.checksumOk);
}

TEST_F(PollsTest, OTADataHandsOverTheImageAndLeavesItInPlace) {
    otadataB_t out{"keep", {}};
    EXPECT_EQ(intaketest::captureOutput([&] { EXPECT_EQ(reqSetOTAdata(&out), 0); }).out, "");
    EXPECT_EQ(out.checksum, "keep");
    globalOTAdata = {"c", "d", "digest", kABC, 1};
    const auto output = intaketest::captureOutput([&] { EXPECT_EQ(reqSetOTAdata(&out), 1); });
    EXPECT_EQ(output.out, "Data size in globalOTAdata: 3\n");
    EXPECT_EQ(out.checksum, "digest");
    EXPECT_EQ(out.data, kABC);
    EXPECT_EQ(globalOTAdata.checksum + globalOTAdata.data, "");
    // The firmware stream owns the image: a second OTAdata hands the same one over.
    EXPECT_EQ(globalOTAdata.imageChecksum, "digest");
    EXPECT_EQ(globalOTAdata.imageData, kABC);
}

TEST_F(PollsTest, ByPassOneDataIsDeepCopiedThenCleared) {
    ByPassOneData_t out;
    out.uid = "keep";
    EXPECT_EQ(reqSetByPassOneData(&out), 0);
    EXPECT_EQ(out.uid, "keep");
    globalSetByPassOne.uid = "u";
    globalSetByPassOne.block_wall.push_back({"w", {{1, 2}}, {}});
    globalSetByPassOne.pending = 1;
    out.room_list.resize(3);
    EXPECT_EQ(reqSetByPassOneData(&out), 1);
    EXPECT_EQ(out.uid, "u");
    EXPECT_TRUE(out.room_list.empty());
    ASSERT_EQ(out.block_wall.size(), 1u);
    EXPECT_EQ(out.block_wall[0].robot_path[0].y, 2.0);
    EXPECT_TRUE(globalSetByPassOne.uid.empty() && globalSetByPassOne.block_wall.empty());
}

}  // namespace
