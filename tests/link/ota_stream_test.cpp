// The firmware image stream from a real client: progress pushes back to it
// and the image with its digest in the firmware mailbox.
#include <gtest/gtest.h>
#include <json/json.h>
#include <malloc.h>

#include <sstream>
#include <utility>
#include <vector>

#include "link_helpers.h"
#include "robocomm/intake.h"
#include "robocomm/link.h"
#include "robocomm/security.h"
#include "support/output_capture.h"
#include "support/server_test.h"

namespace {

using robotest::ServerTest;
using Push = std::pair<int, int>;  // progress, state

std::vector<Push> readPushes(robotest::LinkClient& client, size_t count) {
    std::vector<Push> pushes;
    for (size_t i = 0; i < count; ++i) {
        Json::Value root;
        std::istringstream text(client.readMessage(81).value_or(""));
        Json::parseFromStream(Json::CharReaderBuilder(), text, &root, nullptr);
        const Json::Value& ota = root["Emergency"]["Send"]["OTA"];
        pushes.emplace_back(ota["progress"].asInt(), ota["state"].asInt());
    }
    return pushes;
}

TEST_F(ServerTest, FirmwareStreamEndsInTheMailbox) {
    // The link does not check the digest, it only shows it: any 32 bytes serve.
    const std::string digest = linktest::pattern(32);
    // Bytes 100 to 199, so that the image never matches the digest's bytes.
    const std::string image = linktest::pattern(200).substr(100);
    struct Case {
        uint32_t announcedSize;
        // The first read follows its header with the digest and image bytes;
        // later reads are raw image bytes.
        std::vector<std::string> reads;
        std::vector<Push> pushes;
    };
    const Case cases[] = {
        // A read that passes no multiple of 5 (to 58 %) reports nothing.
        {100, {digest + image.substr(0, 12), image.substr(12, 33), image.substr(45, 13), image.substr(58)},
         {{12, 1}, {45, 1}, {100, 1}, {100, 2}}},
        {20, {digest + image.substr(0, 20)}, {{100, 1}, {100, 2}}},
        // Bytes beyond the announced size are counted but never stored.
        {50, {digest + image.substr(0, 30), image.substr(30, 40)}, {{60, 1}, {140, 1}, {100, 2}}},
    };
    const auto pause = std::chrono::milliseconds(300);
    for (const Case& c : cases) {
        SCOPED_TRACE(c.announcedSize);
        robotest::OutputCapture capture;
        // Each read must reach the server alone, after the pushes of the
        // previous one (100 ms each).
        client().sendRaw(linktest::header(c.announcedSize, 1, 1, 81, 14) + c.reads[0], pause);
        for (size_t i = 1; i < c.reads.size(); ++i) client().sendRaw(c.reads[i], pause);
        EXPECT_EQ(readPushes(client(), c.pushes.size()), c.pushes);
        ASSERT_TRUE(linktest::waitUntil([] { return globalOTAdata.pending == 1; }));
        const std::string out = robotest::withoutPollLines(capture.finish().out);

        const std::string stored = image.substr(0, c.announcedSize);
        EXPECT_EQ(std::string(globalOTAdata.imageData.begin(), globalOTAdata.imageData.end()), stored);
        EXPECT_EQ(globalOTAdata.imageChecksum, "000102030405060708090a0b0c0d0e0f101112131415161718191a1b1c1d1e1f");
        EXPECT_EQ(receivedBytes, 0u);
        size_t received = c.reads[0].size() - digest.size();
        for (size_t i = 1; i < c.reads.size(); ++i) {
            const std::string line =
                "receivedBytes : " + std::to_string(received) + " / " + std::to_string(c.announcedSize);
            EXPECT_TRUE(linktest::contains(out, line + "\n")) << line;
            received += c.reads[i].size();
        }
        EXPECT_TRUE(linktest::contains(out, "All data has been received.\n")) << out;
        const std::string sizeLine = "Global OTA data initialized with size: " + std::to_string(stored.size());
        EXPECT_TRUE(linktest::contains(out, sizeLine + "\n")) << out;
        globalOTAdata.pending = 0;
        EXPECT_TRUE(linktest::commandDelivered(client()));
    }
}

// An interrupted transfer keeps its buffer, but a new transfer that replaces
// it must release it: clients could otherwise exhaust the robot's memory.
TEST_F(ServerTest, InterruptedFirmwareBuffersDoNotPileUp) {
    constexpr uint32_t kAnnounced = 8 << 20;  // large enough to be mapped on its own
    const auto mappedBytes = [] { return static_cast<long long>(mallinfo2().hblkhd); };
    const long long before = mappedBytes();
    const std::string firstFrame = linktest::header(kAnnounced, 1, 1, 81, 14) + linktest::pattern(32);
    client().sendRaw(firstFrame);
    client().close();
    for (int transfer = 1; transfer < 4; ++transfer) {
        robotest::LinkClient next;
        next.sendRaw(firstFrame);
        next.close();
    }
    // Clients are served in turn, so once the last one is heard all the
    // transfers before it have begun and been cut off.
    robotest::LinkClient last;
    EXPECT_TRUE(linktest::commandDelivered(last));
    EXPECT_LT(mappedBytes() - before, 2LL * kAnnounced);
}

}  // namespace
