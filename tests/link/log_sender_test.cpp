// The log bundle in the stream layout: one header, the digest, raw slices.
#include <gtest/gtest.h>

#include <future>
#include <numeric>
#include <stdexcept>
#include <vector>

#include "link_helpers.h"
#include "robocomm/link.h"
#include "robocomm/security.h"
#include "support/output_capture.h"
#include "support/server_test.h"

namespace {

using robotest::ServerTest;

std::future<void> sendLogInBackground(const std::string& data) {
    return std::async(std::launch::async, [data] {
        sendLargeJsonDataLog(reinterpret_cast<const unsigned char*>(data.data()), static_cast<int>(data.size()), 26,
                             2);
    });
}

std::string streamHeader(uint32_t size, uint16_t parts) {
    const unsigned char bytes[] = {static_cast<unsigned char>(size >> 24),
                                   static_cast<unsigned char>(size >> 16),
                                   static_cast<unsigned char>(size >> 8),
                                   static_cast<unsigned char>(size),
                                   static_cast<unsigned char>(parts >> 8),
                                   static_cast<unsigned char>(parts),
                                   0,
                                   1,
                                   26,
                                   2};
    return std::string(reinterpret_cast<const char*>(bytes), sizeof bytes);
}

// The "Packet length: " values of the log, in order.
std::vector<long> loggedPacketLengths(const std::string& out) {
    std::vector<long> lengths;
    const std::string label = "\nPacket length: ";
    for (size_t at = out.find(label); at != std::string::npos; at = out.find(label, at + 1))
        lengths.push_back(std::stol(out.substr(at + label.size())));
    return lengths;
}

// The announced part count includes the 32 digest bytes: a multiple of 1400
// ends with an empty packet, and remainders 1369 to 1399 run past the end.
TEST_F(ServerTest, LogStreamPartsFollowTheAnnouncedCount) {
    enableEnc = 0;
    struct Case {
        int length;
        uint16_t announcedParts;
        std::vector<long> packets;
        bool throwsAfterwards;
    };
    const Case cases[] = {
        {0, 1, {42}, false},
        {1368, 1, {1410}, false},
        {2800, 3, {1442, 1400, 0}, false},
        {1369, 2, {1411}, true},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.length);
        const std::string data = linktest::pattern(static_cast<size_t>(c.length));
        robotest::OutputCapture capture;
        auto sending = sendLogInBackground(data);
        const long total = std::accumulate(c.packets.begin(), c.packets.end(), 0L);
        const std::string wire = client().readBytes(static_cast<size_t>(total));
        std::string error;
        try {
            sending.get();
        } catch (const std::length_error& e) {
            error = e.what();
        }
        const auto output = capture.finish();

        EXPECT_EQ(error, c.throwsAfterwards ? "cannot create std::vector larger than max_size()" : "");
        EXPECT_EQ(loggedPacketLengths(output.out), c.packets);
        EXPECT_EQ(output.out.find("Large JSON data sent to client") != std::string::npos, !c.throwsAfterwards);
        ASSERT_EQ(wire.size(), static_cast<size_t>(total));
        EXPECT_EQ(wire.substr(0, 10), streamHeader(static_cast<uint32_t>(c.length), c.announcedParts));
        EXPECT_EQ(wire.substr(10, 32), linktest::sha256(data));
        EXPECT_EQ(wire.substr(42), data);
        EXPECT_EQ(client().readBytes(1, std::chrono::milliseconds(200)), "");
    }
}

TEST_F(ServerTest, EmptyFinalPacketIsLogged) {
    enableEnc = 0;
    robotest::OutputCapture capture;
    auto sending = sendLogInBackground(linktest::pattern(1400));
    client().readBytes(1442);
    sending.get();
    const auto output = capture.finish();

    EXPECT_NE(robotest::withoutPollLines(output.out)
                  .find("Sending part 2 of 2\nStart index: 1400, End index: 1400\nPacket length: 0\n"
                        "Identifier: 26\nObject: 2\n"),
              std::string::npos);
}

TEST_F(ServerTest, EncryptedLogDigestsTheCiphertext) {
    const std::string data = linktest::pattern(100);
    auto sending = sendLogInBackground(data);
    const std::string wire = client().readBytes(42 + 112);
    sending.get();

    ASSERT_EQ(wire.size(), 42u + 112);
    EXPECT_EQ(wire.substr(0, 10), streamHeader(112, 1));
    const std::string cipher = wire.substr(42);
    EXPECT_EQ(wire.substr(10, 32), linktest::sha256(cipher));
    EXPECT_EQ(decryptData(cipher, key, iv), data);
}

}  // namespace
