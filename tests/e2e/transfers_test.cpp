// The two streams: a firmware image to the robot, the log bundle from it.
#include <gtest/gtest.h>

#include <sys/stat.h>

#include <cstdlib>
#include <fstream>
#include <random>
#include <thread>

#include "e2e/fake_robot.h"
#include "e2e/robot_fixture.h"
#include "robocomm/security.h"
#include "support/link_client.h"
#include "support/temp_dir.h"

namespace e2e {
namespace {

std::string pseudoRandomBytes(size_t size) {
    std::mt19937 generator(size);
    std::string bytes(size, '\0');
    for (char& b : bytes) b = static_cast<char>(generator());
    return bytes;
}

bool exists(const std::string& path) {
    struct stat info {};
    return stat(path.c_str(), &info) == 0;
}

TEST_F(EncryptedRobot, StreamsAFirmwareImageThatTheRobotVerifies) {
    robotest::TempDir folder;
    const std::string path = folder.path() + "/firmware.bin";
    const std::string image = pseudoRandomBytes(50000);
    std::ofstream(path, std::ios::binary) << image;

    const ClientRun run = client({"--json", "ota", path});
    ASSERT_EQ(run.status, 0) << run.err;
    const Json::Value summary = answer(run);
    EXPECT_EQ(summary["bytes"].asUInt64(), image.size());
    EXPECT_EQ(summary["sha256"].asString(), calculateSHA256(image));
    EXPECT_TRUE(summary["accepted"].asBool());
    EXPECT_TRUE(host().awaitOutput("firmware image of 50000 bytes verified", Millis(3000))) << host().output();
}

// The client always sends the right digest; a raw stream with a wrong one
// shows the host's check and the verdict the client would report.
TEST_F(EncryptedRobot, TheRobotRejectsAnImageWithAWrongDigest) {
    API_GenerateKey();
    robotest::LinkClient raw;
    ASSERT_TRUE(raw.connected());
    const std::string image = pseudoRandomBytes(3000);
    raw.sendRaw(chunkFrame(81, 14, image.size(), 3, 1, std::string(32, '\0') + image));
    std::string verdict;
    for (int i = 0; i < 5 && verdict.find("result") == std::string::npos; ++i)
        verdict = raw.readMessage(81).value_or("");
    const Json::Value& result = parseJson(verdict)["Response"]["Set"]["OTA"]["result"];
    ASSERT_TRUE(result.isBool()) << verdict;
    EXPECT_FALSE(result.asBool());
    EXPECT_TRUE(host().awaitOutput("firmware image of 3000 bytes REJECTED", Millis(3000))) << host().output();
}

TEST_F(EncryptedRobot, RefusesAnEmptyOrMissingImage) {
    robotest::TempDir folder;
    std::ofstream(folder.path() + "/empty.bin");
    EXPECT_EQ(client({"ota", folder.path() + "/empty.bin"}).status, 2);
    EXPECT_EQ(client({"ota", folder.path() + "/missing.bin"}).status, 2);
}

void expectLogBundle(const ClientRun& run, const std::string& archive, const std::string& folder) {
    ASSERT_EQ(run.status, 0) << run.err;
    const std::string bytes = fileText(archive);
    EXPECT_EQ(answer(run)["sha256"].asString(), calculateSHA256(bytes));
    const std::string unpack = "tar -xzf '" + archive + "' -C '" + folder + "'";
    ASSERT_EQ(std::system(unpack.c_str()), 0);
    EXPECT_EQ(fileText(folder + "/logs/robot.log").rfind("demo robot log", 0), 0u);
}

TEST_F(EncryptedRobot, FetchesTheLogBundle) {
    robotest::TempDir folder;
    const std::string archive = folder.path() + "/logs.tar.gz";
    expectLogBundle(client({"--json", "log", archive}), archive, folder.path());
    // The library removes its archive once sent, after the last frame's pause.
    const std::string leftover = host().runFolder() + "/logs.tar.gz";
    for (int i = 0; i < 50 && exists(leftover); ++i) std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_FALSE(exists(leftover));
}

TEST_F(PlainRobot, FetchesTheLogBundle) {
    robotest::TempDir folder;
    const std::string archive = folder.path() + "/logs.tar.gz";
    expectLogBundle(client({"--json", "log", archive}), archive, folder.path());
}

TEST(Client, RejectsALogBundleThatDoesNotMatchItsDigest) {
    const std::string bundle = pseudoRandomBytes(3000);
    FakeRobot robot([&bundle](int fd) { sendAll(fd, chunkFrame(26, 2, bundle.size(), 3, 1, std::string(32, 'x') + bundle)); });
    robotest::TempDir folder;
    const std::string archive = folder.path() + "/logs.tar.gz";
    const ClientRun run = runClient({"--plain", "--port", std::to_string(robot.port()), "log", archive});
    EXPECT_EQ(run.status, 5) << run.err;
    EXPECT_NE(run.err.find("does not match its digest"), std::string::npos) << run.err;
    EXPECT_FALSE(exists(archive));
}

}  // namespace
}  // namespace e2e
