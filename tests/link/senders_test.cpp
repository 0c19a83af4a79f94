// The framed senders: JSON answers and the log bundle read back byte for byte
// by a real TCP client, and what the UDP sender leaves behind.
#include <gtest/gtest.h>

#include <fcntl.h>
#include <unistd.h>

#include <cstring>
#include <future>
#include <locale>
#include <stdexcept>

#include "files/file_bytes.h"
#include "link_helpers.h"
#include "robocomm/link.h"
#include "robocomm/security.h"
#include "support/output_capture.h"
#include "support/server_test.h"
#include "support/temp_dir.h"

namespace {

using linktest::header;
using robotest::ServerTest;

void sendLog(const std::string& data) {
    sendLargeJsonDataLog(reinterpret_cast<const unsigned char*>(data.data()), static_cast<int>(data.size()), 26, 2);
}

TEST_F(ServerTest, PlainAnswersAreSlicedAt32768Bytes) {
    enableEnc = 0;
    struct Case {
        uint32_t size;
        uint16_t parts;
    };
    // 65536 bytes are two frames of 32778; an empty text sends no frame at all.
    for (const Case& c : {Case{65536, 2}, Case{32769, 2}, Case{0, 0}}) {
        SCOPED_TRACE(c.size);
        const std::string text = linktest::pattern(c.size);
        // Sent from another thread, so that the client drains the socket
        // while the sender fills it.
        auto sending = std::async(std::launch::async, [&] { sendLargeJsonData(text, 7, 2); });
        const std::string wire = client().readBytes(c.size + 10u * c.parts);
        sending.get();
        EXPECT_EQ(client().readBytes(1, std::chrono::milliseconds(200)), "");

        std::string expected;
        for (uint16_t part = 1; part <= c.parts; ++part)
            expected += header(c.size, c.parts, part, 7, 2) + text.substr((part - 1) * 32768u, 32768);
        EXPECT_TRUE(wire == expected);
    }
}

// Enciphered, the header announces the ciphertext's length; every packet is logged.
TEST_F(ServerTest, EncryptedAnswerAnnouncesTheCiphertextAndIsLogged) {
    const auto output = robotest::captureOutput([] { sendLargeJsonData("hello", static_cast<char>(200), 2); });
    const auto frame = client().readFrame();
    ASSERT_TRUE(frame);
    EXPECT_EQ(frame->header.totalSize, 16u);
    EXPECT_EQ(decryptData(frame->payload, key, iv), "hello");

    const std::string stars(61, '*');
    EXPECT_EQ(robotest::withoutPollLines(output.out),
              "sendLargeJsonData #1\n" + stars +
                  "\nSending part 1 of 1\nStart index: 0, End index: 16\nPacket length: 26\n"
                  "Identifier: 200\nObject: 2\n" +
                  stars + "\nPeer IP: 127.0.0.1\nPeer Port: " + std::to_string(client().localPort()) +
                  "\nLarge JSON data sent to client\n");
}

// The announced part count includes the 32 digest bytes: a multiple of 1400
// ends with an empty packet, and remainders 1369 to 1399 run past the end.
TEST_F(ServerTest, LogStreamPartsFollowTheAnnouncedCount) {
    enableEnc = 0;
    struct Case {
        int length;
        uint16_t announcedParts;
        std::string lastPacketLog;
        bool throwsAfterwards;
    };
    const Case cases[] = {
        {0, 1, "Sending part 1 of 1\nStart index: 0, End index: 0\nPacket length: 42\n", false},
        {2800, 3, "Sending part 3 of 3\nStart index: 2800, End index: 2800\nPacket length: 0\n", false},
        {1369, 2, "Sending part 1 of 2\nStart index: 0, End index: 1369\nPacket length: 1411\n", true},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.length);
        const std::string data = linktest::pattern(static_cast<size_t>(c.length));
        robotest::OutputCapture capture;
        std::string error;
        try {
            sendLog(data);
        } catch (const std::length_error& e) {
            error = e.what();
        }
        const std::string out = capture.finish().out;

        EXPECT_EQ(error, c.throwsAfterwards ? "cannot create std::vector larger than max_size()" : "");
        EXPECT_TRUE(linktest::contains(out, c.lastPacketLog + "Identifier: 26\nObject: 2\n")) << out;
        EXPECT_FALSE(linktest::contains(out, "Sending part " + std::to_string(c.announcedParts + 1)));
        EXPECT_EQ(linktest::contains(out, "Large JSON data sent to client"), !c.throwsAfterwards);
        // Only the first packet has a header, and it says part 1 of n.
        const std::string head = header(static_cast<uint32_t>(c.length), c.announcedParts, 1, 26, 2);
        EXPECT_TRUE(client().readBytes(42 + data.size()) == head + linktest::sha256(data) + data);
        EXPECT_EQ(client().readBytes(1, std::chrono::milliseconds(200)), "");
    }
}

// Enciphered, the log announces and digests the ciphertext.
TEST_F(ServerTest, EncryptedLogDigestsTheCiphertext) {
    const std::string data = linktest::pattern(100);
    sendLog(data);
    const std::string wire = client().readBytes(42 + 112);
    EXPECT_EQ(wire.substr(0, 10), header(112, 1, 1, 26, 2));
    EXPECT_EQ(wire.substr(10, 32), linktest::sha256(wire.substr(42)));
    EXPECT_EQ(decryptData(wire.substr(42), key, iv), data);
}

// Descriptor 0 counts as no client, like any negative one.
TEST(NoClient, SendersOnlyReportTheMissingSocket) {
    const unsigned char bytes[] = {1, 2, 3};
    for (int fd : {0, -1}) {
        clientfd = fd;
        for (const auto& output : {robotest::captureOutput([] { sendLargeJsonData("{}", 1, 2); }),
                                   robotest::captureOutput([&] { sendLargeJsonDataLog(bytes, 3, 26, 2); })}) {
            EXPECT_EQ(output.out, "sendLargeJsonData #1\n");
            EXPECT_EQ(output.err, "Invalid client socket\n");
        }
    }
}

// A packet's lines are written at once, in the stream's base, and a failed
// peer lookup is still reported after them and before the failed send, with
// both streams in one file.
TEST(NoPeer, PacketLinesKeepTheirBaseAndPrecedeTheFailures) {
    enableEnc = 0;
    robotest::TempDir dir;
    const std::string path = dir.path() + "/console";
    std::cout.flush();
    const int saved[] = {dup(STDOUT_FILENO), dup(STDERR_FILENO)};
    const int console = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    dup2(console, STDOUT_FILENO);
    dup2(console, STDERR_FILENO);
    close(console);
    clientfd = open("/dev/null", O_WRONLY);
    std::cout << std::hex;
    sendLargeJsonData(linktest::pattern(26), 1, 2);
    std::cout << std::dec << std::flush;
    close(clientfd);
    clientfd = -1;
    dup2(saved[0], STDOUT_FILENO);
    dup2(saved[1], STDERR_FILENO);
    close(saved[0]);
    close(saved[1]);

    const std::string stars(61, '*');
    EXPECT_EQ(robotest::fileBytes(path),
              "sendLargeJsonData #1\n" + stars +
                  "\nSending part 1 of 1\nStart index: 0, End index: 1a\nPacket length: 24\nIdentifier: 1\n"
                  "Object: 2\n" +
                  stars + "\ngetpeername failed: Socket operation on non-socket\n"
                          "send failed: Socket operation on non-socket\n");
}

// The datagrams' bytes are the jig's concern; here, what the sender leaves
// behind: its log, and its closed socket in the listening socket's global.
TEST(UdpSender, LogsEachDatagramAndLeavesItsSocketInSockfd) {
    std::strcpy(senderIP, "127.0.0.1");
    const auto output = robotest::captureOutput([] { sendLargeData({'a', 'b', 'c'}, 7, static_cast<char>(200)); });
    EXPECT_EQ(output.out,
              "sendLargeData #1 \nsendLargeData #2 \nsendLargeData #3 \n"
              "Sending part 1 of 1\nStart index: 0, End index: 3\nPacket length: 13\nIdentifier: 7\nObject: 200\n"
              "Large data sent to server\n");
    EXPECT_GT(sockfd, 0);
    EXPECT_EQ(fcntl(sockfd, F_GETFD), -1);
    sockfd = -1;
}

// Numbers in log lines follow the locale the host gave the stream.
TEST(UdpSender, LogNumbersFollowTheStreamsLocale) {
    struct Thousands : std::numpunct<char> {
        char do_thousands_sep() const override { return '.'; }
        std::string do_grouping() const override { return "\3"; }
    };
    std::strcpy(senderIP, "127.0.0.1");
    const std::locale previous = std::cout.imbue(std::locale(std::cout.getloc(), new Thousands));
    const auto output = robotest::captureOutput([] { sendLargeData(std::vector<unsigned char>(1234), 7, 1); });
    std::cout.imbue(previous);
    sockfd = -1;
    EXPECT_TRUE(linktest::contains(output.out, "Start index: 0, End index: 1.234\nPacket length: 1.244\n"))
        << output.out;
}

}  // namespace
