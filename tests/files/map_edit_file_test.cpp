#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iterator>
#include <sstream>
#include <thread>

#include <json/json.h>

#include "support/output_capture.h"
#include "robocomm/files.h"
#include "robocomm/intake.h"
#include "robocomm/security.h"
#include "support/server_test.h"
#include "support/temp_dir.h"

namespace {

using robotest::captureOutput;
using testing::HasSubstr;
using testing::StartsWith;

const char kMapEditRequest[] = R"({"Request":{"Set":{"ByPass":{
  "info":{"uid":"map-7","version":"1.2","modified":"2024-05-01 10:00"},
  "room_list":[{"id":"r1","name":"Kitchen","color":"#ff0000","desc":"tiles",
                "robot_path":[{"x":1.5,"y":2},{"x":3,"y":4}],"image_path":[{"x":10,"y":20}]}],
  "block_area":[{"id":"b1","robot_path":[{"x":0,"y":0}],"image_path":[]}],
  "block_wall":[{"id":"w1","robot_path":[],"image_path":[{"x":5,"y":5}]}],
  "charging_station":[{"id":"c1","robot_position":{"x":0.25,"y":-1},"image_position":{"x":100,"y":200}}],
  "init_position":[{"id":"i1","robot_position":{"x":2,"y":2},"image_position":{"x":30,"y":40}}]}}}})";

void describePath(std::ostream& out, const std::vector<Position_t>& path) {
    for (const Position_t& p : path) out << " (" << p.x << "," << p.y << ")";
    out << ";";
}

// Every field of the record in one line, so that two records compare whole.
std::string describe(const ByPassOneData_t& r) {
    std::ostringstream out;
    out << r.uid << "|" << r.version << "|" << r.modified << "|";
    for (const Room_t& room : r.room_list) {
        out << "room " << room.id << "," << room.name << "," << room.color << "," << room.desc;
        describePath(out, room.robot_path);
        describePath(out, room.image_path);
    }
    for (const auto* areas : {&r.block_area, &r.block_wall}) {
        for (const BlockArea_t& area : *areas) {
            out << "area " << area.id;
            describePath(out, area.robot_path);
            describePath(out, area.image_path);
        }
        out << "|";
    }
    for (const ChargingStation_t& s : r.charging_station) {
        describePath(out, {s.robot_position, s.image_position});
    }
    for (const InitPosition_t& s : r.init_position) {
        describePath(out, {s.robot_position, s.image_position});
    }
    return out.str();
}

const std::string kExpectedRecord =
    "map-7|1.2|2024-05-01 10:00|room r1,Kitchen,#ff0000,tiles (1.5,2) (3,4); (10,20);"
    "area b1 (0,0);;|area w1; (5,5);| (0.25,-1) (100,200); (2,2) (30,40);";

// For its lifetime the map-edit file lives in a temporary folder and the
// mailbox starts and ends empty.
class MapEditSandbox {
public:
    MapEditSandbox() : savedPath_(mapEditFilePath) {
        mapEditFilePath = dir_.path() + "/MapEdit.bin";
        clearGlobalSetByPassOneData();
    }
    ~MapEditSandbox() {
        clearGlobalSetByPassOneData();
        mapEditFilePath = savedPath_;
    }

private:
    robotest::TempDir dir_;
    std::string savedPath_;
};

class MapEditFileTest : public testing::Test {
protected:
    void SetUp() override { API_GenerateKey(); }

    void store(const std::string& text) {
        captureOutput([&] { API_FileSave(text, mapEditFilePath, key, iv); });
    }
    void storeRaw(const std::string& bytes) { std::ofstream(mapEditFilePath, std::ios::binary) << bytes; }

private:
    MapEditSandbox sandbox_;
};

TEST_F(MapEditFileTest, ApplyPostsTheStoredEditIntoTheMailbox) {
    store(kMapEditRequest);
    bool applied = false;
    const auto output = captureOutput([&] { applied = API_FileDataApply(); });
    EXPECT_TRUE(applied);
    EXPECT_EQ(output.out, "Starting API_FileDataApply...\nDecrypted File Content: " + std::string(kMapEditRequest) +
                              "\nBypass One Data parsed successfully. UID: map-7\n");
    EXPECT_EQ(globalSetByPassOne.pending, 1);
    EXPECT_EQ(describe(globalSetByPassOne), kExpectedRecord);
}

TEST_F(MapEditFileTest, ApplyTwiceOverwritesWithTheSameRecord) {
    store(kMapEditRequest);
    captureOutput([] { API_FileDataApply(); });
    globalSetByPassOne.uid = "changed meanwhile";
    captureOutput([] { EXPECT_TRUE(API_FileDataApply()); });
    EXPECT_EQ(describe(globalSetByPassOne), kExpectedRecord);
}

TEST_F(MapEditFileTest, ReadHandsTheEditOverAndLeavesTheMailboxAlone) {
    store(kMapEditRequest);
    ByPassOneData_t out;
    bool read = false;
    const auto output = captureOutput([&] { read = API_FileDataRead(&out); });
    EXPECT_TRUE(read);
    EXPECT_EQ(output.out,
              "Starting API_FileDataRead...\nDecrypted File Content: " + std::string(kMapEditRequest) + "\n");
    EXPECT_EQ(describe(out), kExpectedRecord);
    EXPECT_EQ(globalSetByPassOne.pending, 0);
    EXPECT_EQ(globalSetByPassOne.uid, "");
}

TEST_F(MapEditFileTest, DocumentWithoutTheEditGivesAnEmptyRecord) {
    store(R"({"Request":{"Get":{}}})");
    const auto output = captureOutput([] { EXPECT_TRUE(API_FileDataApply()); });
    EXPECT_THAT(output.out, testing::EndsWith("Bypass One Data parsed successfully. UID: \n"));
    EXPECT_EQ(describe(globalSetByPassOne), "|||||");
}

struct FailureCase {
    const char* name;
    std::string content;  // empty: no file at all
    bool cipherFile;      // through API_FileSave rather than raw bytes
    std::string expectedOut;
    std::string expectedErr;
};

// Every failure ends in false with the reason on standard output; the
// caller's record and the mailbox stay as they were.
TEST_F(MapEditFileTest, FailuresReturnFalseAndTouchNothing) {
    const FailureCase cases[] = {
        {"no file", "", false, "Failed to decrypt file or file is empty.\n", "Failed to open file for reading.\n"},
        {"empty text", "", true, "Failed to decrypt file or file is empty.\n", ""},
        {"not json", "map edit, not json", true, "Failed to parse JSON: * Line 1, Column 1", ""},
        {"too short", "short", false, "Exception caught in @: cannot create std::vector larger than max_size()\n",
         ""},
        {"wrong kind", R"({"Request":{"Set":{"ByPass":{"info":{"uid":{"nested":1}}}}}})", true, "Exception caught in @: ", ""},
    };
    for (const FailureCase& c : cases) {
        for (const char* entry : {"API_FileDataApply", "API_FileDataRead"}) {
            SCOPED_TRACE(std::string(c.name) + " / " + entry);
            std::remove(mapEditFilePath.c_str());
            if (c.cipherFile) {
                store(c.content);
            } else if (!c.content.empty()) {
                storeRaw(c.content);
            }
            ByPassOneData_t out;
            out.uid = "untouched";
            bool result = true;
            const bool apply = std::strcmp(entry, "API_FileDataApply") == 0;
            const auto output = captureOutput([&] { result = apply ? API_FileDataApply() : API_FileDataRead(&out); });
            EXPECT_FALSE(result);
            std::string expected = c.expectedOut;
            if (const auto at = expected.find('@'); at != std::string::npos) expected.replace(at, 1, entry);
            EXPECT_THAT(output.out, StartsWith("Starting " + std::string(entry) + "...\n"));
            EXPECT_THAT(output.out, HasSubstr(expected));
            EXPECT_EQ(output.err, c.expectedErr);
            EXPECT_EQ(out.uid, "untouched");
            EXPECT_EQ(globalSetByPassOne.pending, 0);
        }
    }
}

// The client's map edit survives in the file and comes back to the host
// after the key has been derived anew, as after a restart.
class MapEditLinkTest : public robotest::ServerTest {
private:
    MapEditSandbox sandbox_;
};

bool pollMapEdit(ByPassOneData_t& out) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(5);
    while (std::chrono::steady_clock::now() < deadline) {
        if (reqSetByPassOneData(&out) == 1) return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    return false;
}

TEST_F(MapEditLinkTest, EditSentByTheClientIsAppliedAgainFromTheFile) {
    client().sendCommand(71, kMapEditRequest);
    ByPassOneData_t received;
    ASSERT_TRUE(pollMapEdit(received)) << "the map edit never reached the mailbox";
    EXPECT_EQ(describe(received), kExpectedRecord);

    std::fill(std::begin(key), std::end(key), 0);
    API_GenerateKey();
    ASSERT_TRUE(API_FileDataApply());
    ByPassOneData_t restored;
    ASSERT_EQ(reqSetByPassOneData(&restored), 1);
    EXPECT_EQ(describe(restored), describe(received));
}

}  // namespace
