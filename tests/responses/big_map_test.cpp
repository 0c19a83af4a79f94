// A map image far larger than one frame arrives whole and in order.
#include <json/reader.h>

#include <random>
#include <sstream>
#include <thread>
#include <vector>

#include "robocomm/responses.h"
#include "robocomm/security.h"
#include "support/server_test.h"

namespace restest {
namespace {

using BigMapTest = robotest::ServerTest;

TEST_F(BigMapTest, FourMebibyteMapArrivesWholeInChunks) {
    std::mt19937 generator(20240611);
    std::vector<unsigned char> map(4 << 20);
    for (unsigned char& byte : map) byte = static_cast<unsigned char>(generator());
    const size_t textSize = createJsonMapDataC(640, 480, 0.05, -1, 2, map.data(), map.size()).size();
    const size_t cipherSize = (textSize / 16 + 1) * 16;
    const size_t expectedParts = (cipherSize + 32767) / 32768;

    // The sender paces itself; it must run while we read, or the socket
    // buffers fill up and its sends fail.
    std::thread sender([&] { resGetMapDataB(map.data(), map.size(), 640, 480, 0.05, -1, 2); });
    std::string payload;
    size_t parts = 0;
    while (parts < expectedParts) {
        const auto frame = client().readFrame();
        if (!frame) break;
        ++parts;
        EXPECT_EQ(frame->header.identifier, 15);
        EXPECT_EQ(frame->header.object, 2);
        EXPECT_EQ(frame->header.totalSize, cipherSize);
        EXPECT_EQ(frame->header.totalParts, expectedParts);
        EXPECT_EQ(frame->header.partNumber, parts);
        payload += frame->payload;
    }
    sender.join();
    ASSERT_EQ(parts, expectedParts);

    Json::Value document;
    std::istringstream text(decryptData(payload, key, iv));
    ASSERT_TRUE(Json::parseFromStream(Json::CharReaderBuilder(), text, &document, nullptr));
    const Json::Value& data = document["Response"]["Get"]["MapData"]["data"];
    EXPECT_TRUE(base64Decode(data.asString()) == map) << "the map came back changed";
}

}  // namespace
}  // namespace restest
