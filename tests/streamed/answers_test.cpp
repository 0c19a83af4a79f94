// Answers sent while they are written put on the wire exactly what the whole
// document enciphered and framed at once gives, with the same lines, for
// maps from empty to several MiB, encrypted and plain.
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <csignal>
#include <vector>

#include "capture.h"
#include "robocomm/link.h"
#include "robocomm/responses.h"
#include "robocomm/security.h"

namespace streamtest {
namespace {

const unsigned char* bytesOf(const std::string& text) { return reinterpret_cast<const unsigned char*>(text.data()); }

using StreamedAnswers = EitherEncryption;

INSTANTIATE_TEST_SUITE_P(PlainAndEncrypted, StreamedAnswers, testing::Values(0, 1));

// Around the 16-byte blocks, the 3-byte base64 groups, the data pieces of
// 16384 characters and the 32768-byte frames, up to 3 MiB.
const size_t kMapSizes[] = {0, 1, 2, 3, 4, 15, 16, 17, 12287, 12288, 12289, 24575, 24577, 49151, 49153, (3 << 20) + 7};

TEST_P(StreamedAnswers, ImageAnswersAreTheWholeDocumentFramed) {
    for (const size_t size : kMapSizes) {
        SCOPED_TRACE(size);
        const std::string map = randomBytes(size, static_cast<unsigned>(size));
        const Sent streamed = sendThrough([&] { resGetMapDataB(bytesOf(map), size, 640, 480, 0.05, -12.5, 3); });
        const std::string text = createJsonMapDataC(640, 480, 0.05, -12.5, 3, bytesOf(map), size);
        EXPECT_TRUE(streamed.wire == chunkedWire(payloadOf(text), 15, 2)) << "the map answer's bytes differ";
        const Sent whole = sendThrough([&] {
            std::cout << "Width: 640, Height: 480, Resolution: 0.05, posX: -12.5, posY: 3" << std::endl;
            sendLargeJsonData(text, 15, 2);
        });
        EXPECT_EQ(streamed.out, whole.out);
        EXPECT_EQ(streamed.err, whole.err);

        const Sent modified = sendThrough([&] { resGetModifiedMapDataB(bytesOf(map), size, 64, 48.5); });
        const std::string modifiedText = createJsonModifiedMapDataC(64, 48.5, bytesOf(map), size);
        EXPECT_TRUE(modified.wire == chunkedWire(payloadOf(modifiedText), 17, 2)) << "the modified map's bytes differ";
    }
}

// Text the writer copies unchanged is streamed; text it escapes is not, and
// both come out as the builder's document.
TEST_P(StreamedAnswers, TextAnswersAreTheWholeDocumentFramed) {
    const std::string base64 = base64Encode(bytesOf(randomBytes(100000, 7)), 100000);
    const std::string texts[] = {"", "P5 640 480", base64, "quote \" and \\ back", "caf\xc3\xa9", "tab\there", "del\x7f"};
    for (const std::string& data : texts) {
        SCOPED_TRACE(data.substr(0, 20));
        EXPECT_TRUE(sendThrough([&] { resGetMapDataS(data, 1, 2, 0.5, -1, 1e-3); }).wire ==
                    chunkedWire(payloadOf(createJsonMapDataS(1, 2, 0.5, -1, 1e-3, data)), 15, 2));
        EXPECT_TRUE(sendThrough([&] { resGetModifiedMapData(data); }).wire ==
                    chunkedWire(payloadOf(createJsonModifiedMapData(data)), 17, 2));
        EXPECT_TRUE(sendThrough([&] { resGetMapStatus(true, data); }).wire ==
                    chunkedWire(payloadOf(createJsonMapStatus(true, data)), 14, 2));
    }
}

// A failed send abandons the answer after the first frame's lines, as the
// whole-buffer sender did: no further frame and no closing line.
TEST_P(StreamedAnswers, FailedSendAbandonsTheRest) {
    const std::string map = randomBytes(100000, 3);
    // A send on a socket never connected fails with EPIPE; the host is
    // expected to ignore the signal that comes with it.
    const auto unconnected = [](const std::function<void()>& send) {
        const int fd = socket(AF_INET, SOCK_STREAM, 0);
        const auto savedAction = signal(SIGPIPE, SIG_IGN);
        const Sent sent = sendThrough([&] {
            clientfd = fd;
            send();
        });
        signal(SIGPIPE, savedAction);
        close(fd);
        return sent;
    };
    const Sent streamed = unconnected([&] { resGetMapDataB(bytesOf(map), map.size(), 1, 1, 1, 0, 0); });
    const Sent whole = unconnected([&] {
        std::cout << "Width: 1, Height: 1, Resolution: 1, posX: 0, posY: 0" << std::endl;
        sendLargeJsonData(createJsonMapDataC(1, 1, 1, 0, 0, bytesOf(map), map.size()), 15, 2);
    });
    EXPECT_EQ(streamed.out, whole.out);
    EXPECT_EQ(streamed.err, whole.err);
    EXPECT_NE(streamed.err.find("send failed"), std::string::npos) << streamed.err;
    EXPECT_EQ(streamed.out.find("Sending part 2"), std::string::npos) << streamed.out;
    EXPECT_EQ(streamed.out.find("Large JSON data sent to client"), std::string::npos) << streamed.out;
}

// Without a client nothing is built into frames and the line is the same.
TEST_P(StreamedAnswers, NoClientOnlyReportsIt) {
    const std::string map = randomBytes(5000, 4);
    const Sent sent = sendThrough([&] {
        clientfd = 0;
        resGetMapDataB(bytesOf(map), map.size(), 1, 1, 1, 0, 0);
    });
    EXPECT_EQ(sent.out, "Width: 1, Height: 1, Resolution: 1, posX: 0, posY: 0\nsendLargeJsonData #1\n");
    EXPECT_EQ(sent.err, "Invalid client socket\n");
    EXPECT_EQ(sent.wire, "");
}

}  // namespace
}  // namespace streamtest
