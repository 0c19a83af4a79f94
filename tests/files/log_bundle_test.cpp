#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <random>
#include <stdexcept>

#include <json/json.h>

#include "support/output_capture.h"
#include "files/log_bundle.h"
#include "link/frame.h"
#include "robocomm/files.h"
#include "robocomm/security.h"
#include "support/server_test.h"
#include "support/temp_dir.h"

namespace {

namespace fs = std::filesystem;
using robotest::captureOutput;
using testing::EndsWith;
using testing::HasSubstr;

std::string fileBytes(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
}

void writeBytes(const fs::path& path, const std::string& bytes) {
    fs::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary) << bytes;
}

// Relative path -> content of every regular file below root.
std::map<std::string, std::string> tree(const fs::path& root) {
    std::map<std::string, std::string> files;
    for (const auto& entry : fs::recursive_directory_iterator(root)) {
        if (entry.is_regular_file()) files[fs::relative(entry.path(), root).string()] = fileBytes(entry.path());
    }
    return files;
}

// A text log and some incompressible bytes, so that the archive needs two
// stream slices and stays small.
void fillLogFolder(const fs::path& folder) {
    writeBytes(folder / "robot.log", "2024-05-01 10:00:00 boot\n2024-05-01 10:00:01 ready\n");
    std::mt19937 random(7);
    std::string noise(1500, '\0');
    for (char& c : noise) c = static_cast<char>(random());
    writeBytes(folder / "sub" / "trace.bin", noise);
}

TEST(LogArchiveLimit, ExactlyTheLimitIsStillSent) {
    struct Case {
        int64_t size;
        bool fits;
    };
    const int64_t limit = static_cast<int64_t>(MAX_SIZE_LOG);
    const Case cases[] = {{0, true}, {limit - 1, true}, {limit, true}, {limit + 1, false}, {-1, false}};
    for (const Case& c : cases) EXPECT_EQ(robocomm::logArchiveFits(c.size), c.fits) << c.size;
}

class LogBundleTest : public testing::Test {
protected:
    robotest::TempDir dir_;
    fs::path root() const { return dir_.path(); }
};

TEST_F(LogBundleTest, ArchiveLandsBesideTheFolderAndUnpacksToItsFiles) {
    const fs::path folder = root() / "logs";
    fillLogFolder(folder);
    std::string archive;
    captureOutput([&] { archive = compressFolderToTarGz(folder.string()); });
    EXPECT_EQ(archive, folder.string() + ".tar.gz");

    const CompressedFile_t file = readCompressedFile(archive);
    EXPECT_EQ(file.size, static_cast<int64_t>(fs::file_size(archive)));
    EXPECT_EQ(file.data, fileBytes(archive));

    robotest::TempDir unpacked;
    ASSERT_EQ(std::system(("tar -xzf " + archive + " -C " + unpacked.path()).c_str()), 0);
    EXPECT_EQ(tree(fs::path(unpacked.path()) / "logs"), tree(folder));
}

TEST_F(LogBundleTest, MissingArchiveCannotBeRead) {
    const std::string path = (root() / "absent.tar.gz").string();
    try {
        readCompressedFile(path);
        FAIL() << "no exception";
    } catch (const std::runtime_error& e) {
        EXPECT_EQ(std::string(e.what()), "Failed to open compressed file: " + path);
    }
}

TEST_F(LogBundleTest, AnythingButAFolderIsRefusedBeforeTarRuns) {
    writeBytes(root() / "plain.log", "x");
    for (const fs::path& path : {root() / "absent", root() / "plain.log"}) {
        bool result = true;
        const auto output = captureOutput([&] { result = resGetLogData(path.string()); });
        EXPECT_FALSE(result);
        EXPECT_EQ(output.err, "Folder does not exist: " + path.string() + "\n");
        EXPECT_EQ(output.out, "");
    }
    EXPECT_FALSE(fs::exists(root() / "absent.tar.gz"));
}

TEST_F(LogBundleTest, BlankInTheFolderPathBreaksTheTarCommand) {
    const fs::path folder = root() / "with blank";
    fillLogFolder(folder);
    bool result = true;
    const auto output = captureOutput([&] { result = resGetLogData(folder.string()); });
    EXPECT_FALSE(result);
    EXPECT_THAT(output.err, EndsWith("Error: Failed to create tar.gz file.\n"));
    EXPECT_THAT(output.out, testing::Not(HasSubstr("[DEBUG]")));
}

TEST_F(LogBundleTest, DocumentCarriesNameDigestAndBase64) {
    const unsigned char bytes[] = {'a', 'b', 'c'};
    const Json::Value document = createJsonLogData("logs.tar.gz", bytes, sizeof bytes);
    Json::Value expected;
    Json::Value& log = expected["Response"]["Get"]["LogData"];
    log["name"] = "logs.tar.gz";
    log["sha256"] = "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad";
    log["data"] = "YWJj";
    EXPECT_EQ(document, expected);
}

TEST_F(LogBundleTest, DocumentFileHoldsTheDefaultWriterText) {
    const unsigned char bytes[] = {0x00, 0xff, 0x10, 0x20};
    const std::string path = (root() / "log.json").string();
    Json::Value document;
    const auto written = captureOutput([&] { document = createJsonLogDataFile("x", bytes, sizeof bytes, path); });
    EXPECT_EQ(written.out, "JSON 파일 생성 완료: " + path + "\n");
    EXPECT_EQ(document, createJsonLogData("x", bytes, sizeof bytes));
    EXPECT_EQ(fileBytes(path), Json::writeString(Json::StreamWriterBuilder(), document));

    const std::string unopenable = (root() / "missing" / "log.json").string();
    const auto failed = captureOutput([&] { document = createJsonLogDataFile("x", bytes, sizeof bytes, unopenable); });
    EXPECT_EQ(failed.err, "JSON 파일을 저장할 수 없습니다: " + unopenable + "\n");
    EXPECT_EQ(document["Response"]["Get"]["LogData"]["name"], "x");
}

// The client receives the archive in the stream layout and unpacks the same
// files, with frame encryption on and off.
class LogBundleLinkTest : public robotest::ServerTest {
protected:
    void TearDown() override {
        enableEnc = 1;
        robotest::ServerTest::TearDown();
    }
    robotest::TempDir dir_;
};

std::string debugLines(size_t size) {
    const std::string n = std::to_string(size);
    return "[DEBUG] dataLength (" + n + ") is within the allowed maximum size (209715200).\n" +
           "[DEBUG] Creating JSON log data using compressedFileName: logs.tar.gz\n" +
           "[DEBUG] Preparing to send JSON log data. Data length: " + n + ", getLogDataIdx: 26, objectRes: 2\n";
}

TEST_F(LogBundleLinkTest, ArchiveIsStreamedWithItsDigestAndRemoved) {
    const fs::path folder = fs::path(dir_.path()) / "logs";
    fillLogFolder(folder);
    for (const unsigned char encrypted : {1, 0}) {
        SCOPED_TRACE(static_cast<int>(encrypted));
        enableEnc = encrypted;
        bool sent = false;
        const auto output = captureOutput([&] { sent = resGetLogData(folder.string()); });
        ASSERT_TRUE(sent) << output.err;
        EXPECT_FALSE(fs::exists(folder.string() + ".tar.gz"));

        const std::string head = client().readBytes(robocomm::kHeaderSize + robocomm::kDigestSize);
        ASSERT_EQ(head.size(), robocomm::kHeaderSize + robocomm::kDigestSize);
        const auto header = robocomm::readHeader(reinterpret_cast<const unsigned char*>(head.data()));
        const std::string payload = client().readBytes(header.totalSize);
        ASSERT_EQ(payload.size(), header.totalSize);
        EXPECT_EQ(header.identifier, 26);
        EXPECT_EQ(header.object, 2);
        EXPECT_EQ(header.partNumber, 1);
        EXPECT_EQ(header.totalParts, (header.totalSize + 1431) / 1400);
        EXPECT_GT(header.totalParts, 1);
        const auto digest = compute_sha256(reinterpret_cast<const unsigned char*>(payload.data()), payload.size());
        EXPECT_EQ(head.substr(robocomm::kHeaderSize), std::string(digest.begin(), digest.end()));

        const std::string archive = encrypted ? decryptData(payload, key, iv) : payload;
        const std::string lines = robotest::withoutPollLines(output.out);
        EXPECT_THAT(lines, HasSubstr(debugLines(archive.size())));
        EXPECT_THAT(lines, EndsWith("[DEBUG] sendLargeJsonDataLog call completed.\n"));

        robotest::TempDir received;
        const fs::path copy = fs::path(received.path()) / "logs.tar.gz";
        writeBytes(copy, archive);
        ASSERT_EQ(std::system(("tar -xzf " + copy.string() + " -C " + received.path()).c_str()), 0);
        EXPECT_EQ(tree(fs::path(received.path()) / "logs"), tree(folder));
    }
}

}  // namespace
