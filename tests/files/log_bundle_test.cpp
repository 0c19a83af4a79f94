#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <map>
#include <random>

#include <json/json.h>

#include "file_bytes.h"
#include "files/log_bundle.h"
#include "link/frame.h"
#include "robocomm/files.h"
#include "robocomm/security.h"
#include "support/output_capture.h"
#include "support/server_test.h"
#include "support/temp_dir.h"

namespace {

namespace fs = std::filesystem;
using robotest::captureOutput;

// Relative path -> content of every regular file below root.
std::map<std::string, std::string> tree(const fs::path& root) {
    std::map<std::string, std::string> files;
    for (const auto& entry : fs::recursive_directory_iterator(root)) {
        if (entry.is_regular_file()) files[fs::relative(entry.path(), root)] = robotest::fileBytes(entry.path());
    }
    return files;
}

// A text log and enough incompressible bytes for two stream slices.
void fillLogFolder(const fs::path& folder) {
    robotest::writeBytes(folder / "robot.log", "2024-05-01 10:00:00 boot\n");
    std::mt19937 random(7);
    std::string noise(1500, '\0');
    for (char& c : noise) c = static_cast<char>(random());
    robotest::writeBytes(folder / "sub" / "trace.bin", noise);
}

TEST(LogBundle, ExactlyTheSizeLimitIsStillSent) {
    const int64_t limit = static_cast<int64_t>(MAX_SIZE_LOG);
    EXPECT_TRUE(robocomm::logArchiveFits(limit));
    EXPECT_FALSE(robocomm::logArchiveFits(limit + 1));
}

// The archive path goes to tar unquoted, so a blank in it breaks the command.
TEST(LogBundle, MissingFolderOrBlankInItsPathFails) {
    robotest::TempDir dir;
    const std::string missing = dir.path() + "/absent";
    EXPECT_EQ(captureOutput([&] { EXPECT_FALSE(resGetLogData(missing)); }).err,
              "Folder does not exist: " + missing + "\n");
    const fs::path blank = fs::path(dir.path()) / "with blank";
    fillLogFolder(blank);
    const auto output = captureOutput([&] { EXPECT_FALSE(resGetLogData(blank.string())); });
    EXPECT_THAT(output.err, testing::EndsWith("Error: Failed to create tar.gz file.\n"));
}

TEST(LogBundle, DocumentCarriesNameDigestAndBase64) {
    robotest::TempDir dir;
    const std::string path = dir.path() + "/log.json";
    const unsigned char bytes[] = {'a', 'b', 'c'};
    Json::Value expected;
    Json::Value& log = expected["Response"]["Get"]["LogData"];
    log["name"] = "logs.tar.gz";
    log["sha256"] = "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad";
    log["data"] = "YWJj";
    EXPECT_EQ(createJsonLogData("logs.tar.gz", bytes, 3), expected);
    const auto written =
        captureOutput([&] { EXPECT_EQ(createJsonLogDataFile("logs.tar.gz", bytes, 3, path), expected); });
    EXPECT_EQ(written.out, "JSON 파일 생성 완료: " + path + "\n");
    EXPECT_EQ(robotest::fileBytes(path), Json::writeString(Json::StreamWriterBuilder(), expected));
}

// The file takes the base64 text into its document directly; it must stay
// what the writer makes of the returned document, small or several megabytes.
TEST(LogBundle, DocumentFileIsWhatTheWriterMakesOfTheDocument) {
    robotest::TempDir dir;
    const std::string path = dir.path() + "/log.json";
    std::vector<unsigned char> bytes(4 << 20);
    for (size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<unsigned char>(i * 2654435761u >> 13);
    for (const size_t size : {size_t{0}, size_t{1}, size_t{2}, size_t{3}, bytes.size()}) {
        SCOPED_TRACE(size);
        Json::Value document;
        captureOutput([&] { document = createJsonLogDataFile("logs \"1\".tar.gz", bytes.data(), size, path); });
        EXPECT_TRUE(robotest::fileBytes(path) == Json::writeString(Json::StreamWriterBuilder(), document));
        EXPECT_TRUE(document == createJsonLogData("logs \"1\".tar.gz", bytes.data(), size));
    }
}

// The client receives the archive in the stream layout (header, digest,
// payload) and unpacks the same files.
using LogBundleLinkTest = robotest::ServerTest;

TEST_F(LogBundleLinkTest, ArchiveIsStreamedAndRemoved) {
    robotest::TempDir dir;
    const fs::path folder = fs::path(dir.path()) / "logs";
    fillLogFolder(folder);
    const auto output = captureOutput([&] { EXPECT_TRUE(resGetLogData(folder.string())); });
    EXPECT_FALSE(fs::exists(folder.string() + ".tar.gz"));

    const std::string head = client().readBytes(robocomm::kHeaderSize + robocomm::kDigestSize);
    ASSERT_EQ(head.size(), robocomm::kHeaderSize + robocomm::kDigestSize);
    const auto header = robocomm::readHeader(reinterpret_cast<const unsigned char*>(head.data()));
    const std::string payload = client().readBytes(header.totalSize);
    EXPECT_EQ(header.identifier, 26);
    EXPECT_EQ(header.object, 2);

    const std::string archive = decryptData(payload, key, iv);
    const std::string n = std::to_string(archive.size());
    const std::string lines = robotest::withoutPollLines(output.out);
    EXPECT_THAT(lines, testing::HasSubstr(
                           "[DEBUG] dataLength (" + n + ") is within the allowed maximum size (209715200).\n" +
                           "[DEBUG] Creating JSON log data using compressedFileName: logs.tar.gz\n" +
                           "[DEBUG] Preparing to send JSON log data. Data length: " + n +
                           ", getLogDataIdx: 26, objectRes: 2\n"));
    EXPECT_THAT(lines, testing::EndsWith("[DEBUG] sendLargeJsonDataLog call completed.\n"));

    robotest::TempDir copy;
    robotest::writeBytes(fs::path(copy.path()) / "logs.tar.gz", archive);
    ASSERT_EQ(std::system(("tar -xzf " + copy.path() + "/logs.tar.gz -C " + copy.path()).c_str()), 0);
    EXPECT_EQ(tree(fs::path(copy.path()) / "logs"), tree(folder));
}

}  // namespace
