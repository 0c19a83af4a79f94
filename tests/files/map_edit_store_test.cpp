#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sstream>
#include <stdexcept>
#include <thread>
#include <utility>

#include "file_bytes.h"
#include "robocomm/files.h"
#include "robocomm/intake.h"
#include "robocomm/link.h"
#include "robocomm/security.h"
#include "support/blocked_stdin.h"
#include "support/output_capture.h"
#include "support/server_test.h"
#include "support/stream_writes.h"
#include "support/temp_dir.h"

namespace {

using robotest::captureOutput;
using robotest::fileBytes;

const std::string kMapEditRequest = R"({"Request":{"Set":{"ByPass":{
  "info":{"uid":"map-7","version":"1.2","modified":"2024-05-01 10:00"},
  "room_list":[{"id":"r1","name":"Kitchen","color":"#ff0000","desc":"tiles",
                "robot_path":[{"x":1.5,"y":2},{"x":3,"y":4}],"image_path":[{"x":10,"y":20}]}],
  "block_area":[{"id":"b1","robot_path":[{"x":0,"y":0}],"image_path":[]}],
  "block_wall":[{"id":"w1","robot_path":[],"image_path":[{"x":5,"y":5}]}],
  "charging_station":[{"id":"c1","robot_position":{"x":0.25,"y":-1},"image_position":{"x":100,"y":200}}],
  "init_position":[{"id":"i1","robot_position":{"x":2,"y":2},"image_position":{"x":30,"y":40}}]}}}})";

std::string points(const std::vector<Position_t>& path) {
    std::ostringstream out;
    for (const Position_t& p : path) out << " (" << p.x << "," << p.y << ")";
    return out.str() + ";";
}

// Every field of the record in one line, so that two records compare whole.
std::string describe(const ByPassOneData_t& r) {
    std::string text = r.uid + "|" + r.version + "|" + r.modified + "|";
    for (const Room_t& room : r.room_list) {
        text += room.id + "," + room.name + "," + room.color + "," + room.desc + points(room.robot_path) +
                points(room.image_path) + "|";
    }
    for (const auto* areas : {&r.block_area, &r.block_wall}) {
        for (const BlockArea_t& area : *areas) text += area.id + points(area.robot_path) + points(area.image_path);
        text += "|";
    }
    for (const ChargingStation_t& s : r.charging_station) text += s.id + points({s.robot_position, s.image_position});
    for (const InitPosition_t& s : r.init_position) text += s.id + points({s.robot_position, s.image_position});
    return text;
}

// The map-edit file lives in a temporary folder, and the mailbox starts empty.
template <class Base>
class MapEditSandbox : public Base {
protected:
    void SetUp() override {
        Base::SetUp();
        API_GenerateKey();
        mapEditFilePath = dir_.path() + "/MapEdit.bin";
        clearGlobalSetByPassOneData();
    }
    void TearDown() override {
        mapEditFilePath = savedPath_;
        Base::TearDown();
    }

    robotest::TempDir dir_;
    const std::string& path_ = mapEditFilePath;

private:
    const std::string savedPath_ = mapEditFilePath;
};

using MapEditFileTest = MapEditSandbox<testing::Test>;
using MapEditLinkTest = MapEditSandbox<robotest::ServerTest>;

// The file carries its own IV (not the global one) and needs the saving key.
TEST_F(MapEditFileTest, SavedFileIsItsIvThenPaddedCipherAndNeedsItsKey) {
    const std::string ivBytes(16, '\x5a');
    const auto* fileIv = reinterpret_cast<const unsigned char*>(ivBytes.data());
    const unsigned char otherKey[16] = {};
    const std::pair<std::string, size_t> cases[] = {{"", 32}, {std::string(16, 'b'), 48}, {std::string("a\0b", 3), 32}};
    for (const auto& [savedText, fileSize] : cases) {
        // C++17 lambdas cannot capture a structured binding.
        const std::string& text = savedText;
        SCOPED_TRACE(text.size());
        const auto saved = captureOutput([&] { API_FileSave(text, path_, key, fileIv); });
        EXPECT_EQ(saved.out, "Data encrypted and saved to " + path_ + "\n");
        const std::string bytes = fileBytes(path_);
        EXPECT_EQ(bytes.size(), fileSize);
        EXPECT_EQ(bytes.substr(0, 16), ivBytes);

        std::string read;
        EXPECT_EQ(captureOutput([&] { read = API_FileRead(path_, key); }).err, "");
        EXPECT_EQ(read, text);
        const auto wrongKey = captureOutput([&] { read = API_FileRead(path_, otherKey); });
        EXPECT_EQ(read, "");
        EXPECT_EQ(wrongKey.err, "An error occurred during the encryption/decryption process. "
                                "[Error Code: 4] Decryption finalization failed.\n");
    }
}

// The read throws; apply reports it and returns false.
TEST_F(MapEditFileTest, FileShorterThanItsIvThrowsOutOfTheReadOnly) {
    robotest::writeBytes(path_, "12345");
    EXPECT_THROW(API_FileRead(path_, key), std::length_error);
    const auto output = captureOutput([] { EXPECT_FALSE(API_FileDataApply()); });
    EXPECT_EQ(output.out, "Starting API_FileDataApply...\nException caught in API_FileDataApply: "
                          "cannot create std::vector larger than max_size()\n");
}

// Even with a host thread blocked reading stdin. Before the server runs the
// process ends through exit(), so the host's atexit handlers run. The server
// starts in the forked child: see the death tests of the link.
TEST_F(MapEditFileTest, UnopenableFileEndsTheProcessEvenWhileTheServerRuns) {
    const std::string path = dir_.path() + "/no-such-folder/store.bin";
    EXPECT_EXIT(
        {
            robotest::blockStdinReader();
            std::atexit([] { std::fputs("host cleanup\n", stderr); });
            API_FileSave("text", path, key, iv);
        },
        testing::ExitedWithCode(1), "^Failed to open file for writing\\.\nhost cleanup\n$");
    // A joinable receive thread must not turn the exit into an abort.
    EXPECT_EXIT(
        {
            robotest::blockStdinReader();
            start_server();
            API_FileSave("text", path, key, iv);
        },
        testing::ExitedWithCode(1), "Failed to open file for writing\\.\n");
}

TEST_F(MapEditFileTest, PlainFileHelpersReportEachOutcome) {
    EXPECT_EQ(captureOutput([&] { saveStringToFile(path_, "line one\nline two"); }).out,
              "String successfully saved to " + path_ + "\n");
    EXPECT_EQ(fileBytes(path_), "line one\nline two");
    EXPECT_TRUE(API_FileExist(dir_.path()));
    EXPECT_EQ(captureOutput([&] { API_FileDelete(path_); }).out, "File " + path_ + " deleted successfully.\n");
    EXPECT_FALSE(API_FileExist(path_));
    EXPECT_EQ(captureOutput([&] { API_FileDelete(path_); }).err, "File " + path_ + " does not exist.\n");
}

// Failures end in false with the reason on standard output, and nothing is
// posted.
TEST_F(MapEditFileTest, MissingOrUnparsableFileIsReportedAndNotPosted) {
    auto output = captureOutput([] { EXPECT_FALSE(API_FileDataApply()); });
    EXPECT_EQ(output.out, "Starting API_FileDataApply...\nFailed to decrypt file or file is empty.\n");
    EXPECT_EQ(output.err, "Failed to open file for reading.\n");
    captureOutput([&] { API_FileSave("map edit", path_, key, iv); });
    output = captureOutput([] { EXPECT_FALSE(API_FileDataApply()); });
    EXPECT_EQ(output.out,
              "Starting API_FileDataApply...\nDecrypted File Content: map edit\nFailed to parse JSON: * Line 1, "
              "Column 1\n  Syntax error: value, object or array expected.\n\n");
    EXPECT_EQ(globalSetByPassOne.pending, 0);
}

// Each line of the store, the map-edit file and the log bundle reaches its
// stream in one write, so no other thread's line can cut into it.
TEST_F(MapEditFileTest, EveryLineIsOneWrite) {
    robotest::StreamWrites streams;
    API_FileDataApply();
    API_FileSave(kMapEditRequest, path_, key, iv);
    ByPassOneData_t record;
    API_FileDataRead(&record);
    API_FileDataApply();
    API_FileSave("not json", path_, key, iv);
    API_FileDataApply();
    saveStringToFile(path_, "text");
    saveStringToFile(dir_.path() + "/missing/file", "text");
    API_FileDelete(path_);
    API_FileDelete(path_);
    resGetLogData(dir_.path() + "/missing");
    createJsonLogDataFile("bundle", nullptr, 0, dir_.path() + "/missing/bundle.json");
    createJsonLogDataFile("bundle", nullptr, 0, dir_.path() + "/bundle.json");
    handleErrors(DecryptFinalFailed);
    EXPECT_GE(streams.writes().size(), 17u);
    EXPECT_EQ(streams.brokenLines(), std::vector<std::string>());
}

// The client's map edit survives in the file and comes back to the host
// after the key has been derived anew, as after a restart.
TEST_F(MapEditLinkTest, EditSentByTheClientIsReadAndAppliedAgainFromTheFile) {
    client().sendCommand(71, kMapEditRequest);
    ByPassOneData_t received;
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(5);
    while (reqSetByPassOneData(&received) == 0 && std::chrono::steady_clock::now() < deadline) {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    ASSERT_EQ(received.uid, "map-7") << "the map edit never reached the mailbox";
    std::memset(key, 0, sizeof key);
    API_GenerateKey();

    ByPassOneData_t read;
    const auto reading = captureOutput([&] { EXPECT_TRUE(API_FileDataRead(&read)); });
    EXPECT_EQ(robotest::withoutPollLines(reading.out),
              "Starting API_FileDataRead...\nDecrypted File Content: " + kMapEditRequest + "\n");
    EXPECT_EQ(describe(read), describe(received));
    EXPECT_EQ(globalSetByPassOne.pending, 0);

    const auto applying = captureOutput([] { EXPECT_TRUE(API_FileDataApply()); });
    EXPECT_EQ(robotest::withoutPollLines(applying.out), "Starting API_FileDataApply...\nDecrypted File Content: " +
                                                            kMapEditRequest +
                                                            "\nBypass One Data parsed successfully. UID: map-7\n");
    ByPassOneData_t restored;
    ASSERT_EQ(reqSetByPassOneData(&restored), 1);
    EXPECT_EQ(describe(restored), describe(received));
}

}  // namespace
