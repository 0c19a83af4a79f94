// The socket-free frame handler: header bytes and per-connection state.
#include <gtest/gtest.h>

#include <string>

#include "link/frame.h"
#include "link/reassembly.h"
#include "robocomm/link.h"
#include "robocomm/security.h"
#include "support/output_capture.h"

namespace {

using robocomm::Connection;
using robocomm::FrameHeader;

std::string frame(const FrameHeader& header, const std::string& payload) {
    std::string bytes(robocomm::kHeaderSize, '\0');
    robocomm::writeHeader(header, reinterpret_cast<unsigned char*>(bytes.data()));
    return bytes + payload;
}

void handle(Connection& connection, const std::string& bytes) {
    robocomm::handleFrame(connection, reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size());
}

TEST(FrameHeader, BigEndianFieldsInOrder) {
    const FrameHeader header{0x01020304, 0x0506, 0x0708, 0x09, 0xc8};
    unsigned char bytes[robocomm::kHeaderSize];
    robocomm::writeHeader(header, bytes);
    EXPECT_EQ(std::string(reinterpret_cast<char*>(bytes), sizeof bytes), "\x01\x02\x03\x04\x05\x06\x07\x08\x09\xc8");
    const FrameHeader back = robocomm::readHeader(bytes);
    EXPECT_EQ(back.totalSize, header.totalSize);
    EXPECT_EQ(back.totalParts, header.totalParts);
    EXPECT_EQ(back.partNumber, header.partNumber);
    EXPECT_EQ(back.identifier, header.identifier);
    EXPECT_EQ(back.object, header.object);
}

// While a message is under way no header is read: a second part is judged
// by the first part's number and the message is dropped.
TEST(Reassembly, LaterFramesAreJudgedByTheFirstHeader) {
    enableEnc = 0;
    Connection connection;
    robotest::OutputCapture capture;
    handle(connection, frame({4, 2, 1, 3, 1}, "{}{}"));
    EXPECT_EQ(connection.expectedParts, 2u);
    EXPECT_EQ(connection.lastPart, 1);
    EXPECT_EQ(connection.expectedSize, 4u);

    handle(connection, frame({4, 2, 2, 3, 1}, "{}{}"));
    const auto output = capture.finish();
    EXPECT_EQ(partNumber, 1);
    EXPECT_EQ(connection.expectedParts, 0u);
    EXPECT_EQ(connection.lastPart, 0);
    EXPECT_TRUE(connection.parts.empty());
    EXPECT_EQ(output.err, std::string(58, '*') + "\nPart number out of sequence: 1\n");
}

TEST(Reassembly, ShortReadsChangeNothing) {
    Connection connection;
    packetSize = 77;
    robotest::OutputCapture capture;
    handle(connection, std::string("\x00\x00\x00\x01\x00\x01\x00\x01\x01", 9));
    const auto output = capture.finish();
    EXPECT_EQ(packetSize, 77u);
    EXPECT_EQ(connection.expectedParts, 0u);
    EXPECT_EQ(output.out, "");
    EXPECT_EQ(output.err, "");
}

}  // namespace
