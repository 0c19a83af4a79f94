// The firmware image stream from a real client: progress pushes back to it
// and the image with its digest in the firmware mailbox.
#include <gtest/gtest.h>
#include <json/json.h>

#include <optional>
#include <sstream>
#include <utility>
#include <vector>

#include "link/frame.h"
#include "link_helpers.h"
#include "robocomm/intake.h"
#include "robocomm/link.h"
#include "robocomm/security.h"
#include "support/output_capture.h"
#include "support/server_test.h"

namespace {

using robotest::ServerTest;
using Push = std::pair<int, int>;  // progress, state

// Each read must reach the server alone, after it finished the pushes of
// the previous one (100 ms each).
constexpr auto kStreamPause = std::chrono::milliseconds(300);

struct Case {
    const char* name;
    uint32_t announcedSize;
    // Bytes after the first header: digest, then image bytes.
    std::string first;
    std::vector<std::string> later;
    std::vector<Push> pushes;
    std::string image;
    std::string checksum;
};

std::string otaHeader(uint32_t size) {
    std::string bytes(robocomm::kHeaderSize, '\0');
    robocomm::writeHeader({size, 1, 1, 81, 14}, reinterpret_cast<unsigned char*>(bytes.data()));
    return bytes;
}

std::optional<Push> readPush(robotest::LinkClient& client) {
    const auto frame = client.readFrame();
    if (!frame || frame->header.identifier != 81 || frame->header.object != 15) return std::nullopt;
    Json::Value root;
    std::istringstream text(decryptData(frame->payload, key, iv));
    if (!Json::parseFromStream(Json::CharReaderBuilder(), text, &root, nullptr)) return std::nullopt;
    const Json::Value& ota = root["Emergency"]["Send"]["OTA"];
    return Push{ota["progress"].asInt(), ota["state"].asInt()};
}

// "receivedBytes : " lines: the count before each later read.
std::vector<std::string> progressLines(const Case& c) {
    std::vector<std::string> lines;
    size_t count = c.first.size() > robocomm::kDigestSize ? c.first.size() - robocomm::kDigestSize : 0;
    for (const std::string& read : c.later) {
        lines.push_back("receivedBytes : " + std::to_string(count) + " / " + std::to_string(c.announcedSize) + "\n");
        count += read.size();
    }
    return lines;
}

std::vector<Case> cases() {
    const std::string stream = linktest::pattern(100);
    const std::string small = linktest::pattern(20);
    const std::string excess = linktest::pattern(70);
    const std::string shortDigest = "0123456789";
    return {
        // A read that passes no multiple of 5 (58 %) reports nothing.
        {"stream",
         100,
         linktest::sha256(stream) + stream.substr(0, 12),
         {stream.substr(12, 33), stream.substr(45, 13), stream.substr(58)},
         {{12, 1}, {45, 1}, {100, 1}, {100, 2}},
         stream,
         linktest::hex(linktest::sha256(stream))},
        {"image within the first frame",
         20,
         linktest::sha256(small) + small,
         {},
         {{100, 1}, {100, 2}},
         small,
         linktest::hex(linktest::sha256(small))},
        // Bytes beyond the announced size are counted but never stored.
        {"more bytes than announced",
         50,
         linktest::sha256(excess.substr(0, 50)) + excess.substr(0, 30),
         {excess.substr(30)},
         {{60, 1}, {140, 1}, {100, 2}},
         excess.substr(0, 50),
         linktest::hex(linktest::sha256(excess.substr(0, 50)))},
        // Too short for the whole digest: the rest of it reads as zero.
        {"first frame shorter than its digest",
         12,
         shortDigest,
         {"abcdefghijkl"},
         {{0, 1}, {100, 1}, {100, 2}},
         "abcdefghijkl",
         linktest::hex(shortDigest) + std::string(44, '0')},
    };
}

TEST_F(ServerTest, FirmwareStreamEndsInTheMailbox) {
    for (const Case& c : cases()) {
        SCOPED_TRACE(c.name);
        globalOTAdata.pending = 0;
        robotest::OutputCapture capture;
        client().sendRaw(otaHeader(c.announcedSize) + c.first, kStreamPause);
        for (const std::string& read : c.later) client().sendRaw(read, kStreamPause);
        std::vector<Push> pushes;
        for (size_t i = 0; i < c.pushes.size(); ++i)
            if (const auto push = readPush(client())) pushes.push_back(*push);
        const bool completed = linktest::waitUntil([] { return globalOTAdata.pending == 1; });
        const auto output = capture.finish();

        EXPECT_EQ(pushes, c.pushes);
        ASSERT_TRUE(completed);
        EXPECT_EQ(std::string(globalOTAdata.imageData.begin(), globalOTAdata.imageData.end()), c.image);
        EXPECT_EQ(globalOTAdata.imageChecksum, c.checksum);
        EXPECT_EQ(packetData, nullptr);
        EXPECT_EQ(receivedBytes, 0u);
        const std::string out = robotest::withoutPollLines(output.out);
        for (const std::string& line : progressLines(c)) EXPECT_NE(out.find(line), std::string::npos) << line;
        EXPECT_NE(out.find("All data has been received.\n"), std::string::npos) << out;
        EXPECT_NE(out.find("Global OTA data initialized with size: " + std::to_string(c.image.size()) + "\n"),
                  std::string::npos)
            << out;
        globalOTAdata.imageData.clear();
        globalOTAdata.imageChecksum.clear();
        globalOTAdata.pending = 0;
        EXPECT_TRUE(linktest::commandDelivered(client()));
    }
}

}  // namespace
