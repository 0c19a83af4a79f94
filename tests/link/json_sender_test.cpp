// Answers to the client in the chunked layout, read back by a real client.
#include <gtest/gtest.h>

#include <future>
#include <vector>

#include "link_helpers.h"
#include "robocomm/link.h"
#include "robocomm/security.h"
#include "support/output_capture.h"
#include "support/server_test.h"

namespace {

using robotest::ServerTest;

// Sent from another thread, so the client drains the socket while the
// sender fills it.
std::future<void> sendInBackground(const std::string& text, char code, char kind) {
    return std::async(std::launch::async, [=] { sendLargeJsonData(text, code, kind); });
}

std::string bytesAt(const std::string& wire, size_t offset, size_t count) { return wire.substr(offset, count); }

TEST_F(ServerTest, PlainAnswerOf65536BytesIsTwoFullFrames) {
    enableEnc = 0;
    const std::string text = linktest::pattern(65536);
    auto sending = sendInBackground(text, 7, 2);
    const std::string wire = client().readBytes(2 * 32778);
    sending.get();

    ASSERT_EQ(wire.size(), 2u * 32778);
    EXPECT_EQ(bytesAt(wire, 0, 10), std::string("\x00\x01\x00\x00\x00\x02\x00\x01\x07\x02", 10));
    EXPECT_EQ(bytesAt(wire, 10, 32768), text.substr(0, 32768));
    EXPECT_EQ(bytesAt(wire, 32778, 10), std::string("\x00\x01\x00\x00\x00\x02\x00\x02\x07\x02", 10));
    EXPECT_EQ(bytesAt(wire, 32788, 32768), text.substr(32768));
}

TEST_F(ServerTest, PlainAnswersAreSlicedAt32768Bytes) {
    enableEnc = 0;
    struct Case {
        size_t textSize;
        std::vector<size_t> slices;
    };
    const Case cases[] = {{32768, {32768}}, {32769, {32768, 1}}, {0, {}}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.textSize);
        const std::string text = linktest::pattern(c.textSize);
        auto sending = sendInBackground(text, 12, 2);
        std::string received;
        for (size_t k = 0; k < c.slices.size(); ++k) {
            const auto frame = client().readFrame();
            ASSERT_TRUE(frame);
            EXPECT_EQ(frame->header.totalSize, c.textSize);
            EXPECT_EQ(frame->header.totalParts, c.slices.size());
            EXPECT_EQ(frame->header.partNumber, k + 1);
            EXPECT_EQ(frame->header.identifier, 12);
            EXPECT_EQ(frame->header.object, 2);
            EXPECT_EQ(frame->payload.size(), c.slices[k]);
            received += frame->payload;
        }
        sending.get();
        EXPECT_EQ(received, text);
        EXPECT_EQ(client().readBytes(1, std::chrono::milliseconds(200)), "");
    }
}

TEST_F(ServerTest, EncryptedAnswerAnnouncesTheCiphertextLength) {
    const std::string text = R"({"a":1})";
    auto sending = sendInBackground(text, 51, 2);
    const auto frame = client().readFrame();
    sending.get();

    ASSERT_TRUE(frame);
    EXPECT_EQ(frame->header.totalSize, 16u);
    EXPECT_EQ(frame->header.totalParts, 1);
    ASSERT_EQ(frame->payload.size(), 16u);
    EXPECT_EQ(decryptData(frame->payload, key, iv), text);
}

TEST_F(ServerTest, AnswerIsLoggedPacketByPacket) {
    enableEnc = 0;
    robotest::OutputCapture capture;
    sendLargeJsonData("hello", static_cast<char>(200), 2);
    const auto output = capture.finish();

    const std::string stars(61, '*');
    EXPECT_EQ(robotest::withoutPollLines(output.out),
              "sendLargeJsonData #1\n" + stars +
                  "\nSending part 1 of 1\nStart index: 0, End index: 5\nPacket length: 15\n"
                  "Identifier: 200\nObject: 2\n" +
                  stars + "\nPeer IP: 127.0.0.1\nPeer Port: " + std::to_string(client().localPort()) +
                  "\nLarge JSON data sent to client\n");
    EXPECT_EQ(client().readBytes(15), std::string("\x00\x00\x00\x05\x00\x01\x00\x01\xc8\x02hello", 15));
}

// Descriptor 0 counts as no client, like any negative one.
TEST(NoClient, SendersOnlyReportTheMissingSocket) {
    const int savedClient = clientfd;
    const unsigned char bytes[] = {1, 2, 3};
    for (int fd : {0, -1}) {
        SCOPED_TRACE(fd);
        clientfd = fd;
        robotest::OutputCapture json;
        sendLargeJsonData("{}", 1, 2);
        auto output = json.finish();
        EXPECT_EQ(output.out, "sendLargeJsonData #1\n");
        EXPECT_EQ(output.err, "Invalid client socket\n");

        robotest::OutputCapture log;
        sendLargeJsonDataLog(bytes, sizeof bytes, 26, 2);
        output = log.finish();
        EXPECT_EQ(output.out, "sendLargeJsonData #1\n");
        EXPECT_EQ(output.err, "Invalid client socket\n");
    }
    clientfd = savedClient;
}

}  // namespace
