// The receive loop against a real client: what reaches the parser, what is
// dropped, and that the connection always survives.
#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "link_helpers.h"
#include "robocomm/intake.h"
#include "robocomm/jig.h"
#include "robocomm/link.h"
#include "robocomm/security.h"
#include "support/output_capture.h"
#include "support/server_test.h"

namespace {

using robotest::ServerTest;

const std::string kSeparator(58, '*');

bool contains(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

TEST_F(ServerTest, SinglePartCommandReachesTheParserBehindItsCode) {
    enableEnc = 0;
    robotest::OutputCapture capture;
    globalGetPosition.pending = 0;
    client().sendFrame(1, 1, "{}");
    ASSERT_TRUE(linktest::waitUntil([] { return globalGetPosition.pending == 1; }));
    globalGetPosition.pending = 0;
    const auto output = capture.finish();

    const std::string out = robotest::withoutPollLines(output.out);
    EXPECT_TRUE(contains(out,
                         "recv : 12 \nexpectedParts zero\nPacket size: 2\nTotal parts: 1\nPart number: 1\n"
                         "Identifier: 1\nObject: 1\nPart number  : 1 / last part number  : 0\nTotal Size: 2\n"
                         "Total JSON Size: 2\nExpected Packet Size: 2\n"))
        << out;
    EXPECT_TRUE(contains(out, "first Byte : 1\n")) << out;
}

// Each malformed input is dropped with its message; the next command still
// arrives.
TEST_F(ServerTest, MalformedFramesNeverEndTheConnection) {
    enableEnc = 0;
    struct Frame {
        uint16_t totalParts;
        uint16_t partNumber;
    };
    struct Case {
        const char* name;
        std::vector<Frame> frames;
        std::string expectedError;
    };
    const Case cases[] = {
        {"part number 0", {{1, 0}}, "Invalid part number: 0\n"},
        {"total parts 0", {{0, 1}}, "Invalid part number: 1\n"},
        {"part 2 before part 1", {{2, 2}}, "First part number must be 1. Skipping packet.\n"},
        // The second frame is judged by the first one's header.
        {"two-part message", {{2, 1}, {2, 2}}, kSeparator + "\nPart number out of sequence: 1\n"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        globalGetPosition.pending = 0;
        robotest::OutputCapture capture;
        for (const Frame& f : c.frames) client().sendFrame(1, 1, "{}", f.totalParts, f.partNumber);
        const auto output = capture.finish();
        EXPECT_EQ(globalGetPosition.pending, 0);
        EXPECT_TRUE(contains(output.err, c.expectedError)) << output.err;
        EXPECT_TRUE(linktest::commandDelivered(client()));
    }
}

TEST_F(ServerTest, ReadsShorterThanAHeaderAreIgnored) {
    robotest::OutputCapture capture;
    client().sendRaw(std::string("\x00\x00\x00\x02\x00\x01\x00\x01\x01", 9));
    const auto output = capture.finish();
    EXPECT_TRUE(contains(output.out, "recv : 9 \n"));
    EXPECT_FALSE(contains(output.out, "expectedParts zero"));
    EXPECT_TRUE(linktest::commandDelivered(client()));
}

// An exception leaving the parser is reported; the message it interrupted is
// still under way, so the next frame fails the order test and clears it.
TEST_F(ServerTest, ParserExceptionsAreReportedAndTheLoopGoesOn) {
    enableEnc = 0;
    robotest::OutputCapture capture;
    // Integration map data reads a text that this document lacks.
    client().sendFrame(70, 1, "{}");
    globalGetPosition.pending = 0;
    client().sendFrame(1, 1, "{}");
    const auto output = capture.finish();

    EXPECT_TRUE(contains(output.err, "Exception occurred: ")) << output.err;
    EXPECT_TRUE(contains(output.err, "Part number out of sequence: 1\n")) << output.err;
    EXPECT_EQ(globalGetPosition.pending, 0);
    EXPECT_TRUE(linktest::commandDelivered(client()));
}

TEST_F(ServerTest, JigFramesGoToTheJigTableAndTurnStandardOutputHexadecimal) {
    enableEnc = 0;
    const std::string block = linktest::pattern(26);
    robotest::OutputCapture capture;
    client().sendFrame(5, 200, block);
    std::vector<unsigned char> stored;
    const bool arrived = linktest::waitUntil([&] { return API_RecvJigData(5, stored); });
    // The switch to hexadecimal is never reverted: the next command's sizes show it.
    client().sendFrame(1, 1, std::string(26, ' '));
    const auto output = capture.finish();
    std::cout << std::dec;

    ASSERT_TRUE(arrived);
    EXPECT_EQ(std::string(stored.begin(), stored.end()), block);
    const std::string out = robotest::withoutPollLines(output.out);
    EXPECT_TRUE(contains(out, "Total size: 26\nTotal size (hex): 0x1a\nExpected packet size (hex): 0x1a\n")) << out;
    EXPECT_TRUE(contains(out, "recv : 36 \nexpectedParts zero\nPacket size: 1a\n")) << out;
    EXPECT_TRUE(contains(out, "Total JSON Size: 1a\n")) << out;
}

TEST_F(ServerTest, SilenceDropsThePartialMessageButKeepsTheClient) {
    enableEnc = 0;
    robotest::OutputCapture capture;
    client().sendFrame(1, 1, "{}", 2, 1);
    // 52 empty polls of 100 ms clear the message under way.
    std::this_thread::sleep_for(std::chrono::milliseconds(6000));
    client().sendFrame(1, 1, "{}", 2, 2);
    const auto output = capture.finish();

    EXPECT_TRUE(contains(output.err, kSeparator + "\nwait Clear\n" + kSeparator + "\n")) << output.err;
    // Nothing is under way any more: the second part's own header is read.
    EXPECT_TRUE(contains(output.err, "First part number must be 1. Skipping packet.\n")) << output.err;
    EXPECT_FALSE(contains(output.err, "out of sequence"));
    EXPECT_TRUE(linktest::commandDelivered(client()));
}

// One client at a time: a second one waits in the listen backlog until the
// first leaves.
TEST_F(ServerTest, SecondClientIsServedWhenTheFirstLeaves) {
    robotest::OutputCapture capture;
    robotest::LinkClient next;
    ASSERT_TRUE(next.connected());
    globalGetPosition.pending = 0;
    next.sendCommand(1, "{}");
    const bool servedTooEarly = globalGetPosition.pending != 0;
    client().close();
    const bool served = linktest::waitUntil([] { return globalGetPosition.pending == 1; });
    globalGetPosition.pending = 0;
    const auto output = capture.finish();

    EXPECT_FALSE(servedTooEarly);
    EXPECT_TRUE(served);
    const std::string out = robotest::withoutPollLines(output.out);
    EXPECT_TRUE(contains(out, "Connection closed by peer Test \nWaiting for connection...\nClient connected\n")) << out;
    EXPECT_TRUE(contains(output.err, kSeparator + "\n" + kSeparator + "\nClosing client connection\n"));
}

}  // namespace
