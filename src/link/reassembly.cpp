#include "link/reassembly.h"

#include <vector>

#include "link/log_lines.h"
#include "link/ota_stream.h"
#include "robocomm/intake.h"
#include "robocomm/jig.h"
#include "robocomm/link.h"

namespace robocomm {

namespace {

// How a completed chunked message leaves the link, and the bookkeeping that
// differs between JSON commands and jig blocks.
struct Route {
    const char* totalSizeLabel;
    // JSON commands trace their part numbers, mark a sequence error with a
    // separator and reset the link counters (receivedBytes on a sequence
    // error, waitClear on delivery).
    bool jsonBookkeeping;
    void (*deliver)(const std::string& assembled, uint64_t expectedSize);
};

// The parser reads the command code from the first character.
void deliverJson(const std::string& assembled, uint64_t expectedSize) {
    logOut() << "Total JSON Size: " << assembled.size();
    logOut() << "Expected Packet Size: " << expectedSize;
    parseData(std::string(1, static_cast<char>(identifier)) + assembled);
}

void deliverJig(const std::string& assembled, uint64_t expectedSize) {
    // Standard output stays hexadecimal from here on: every number the process
    // later writes through the stream appears in hexadecimal. Kept so.
    std::cout << std::hex;
    logOut() << "Total size (hex): 0x" << assembled.size();
    logOut() << "Expected packet size (hex): 0x" << expectedSize;
    parseJigData(identifier, std::vector<unsigned char>(assembled.begin(), assembled.end()));
}

constexpr Route kJsonRoute{"Total Size: ", true, deliverJson};
constexpr Route kJigRoute{"Total size: ", false, deliverJig};

void readHeaderIntoGlobals(const unsigned char* data) {
    logOut() << "expectedParts zero";
    const FrameHeader header = readHeader(data);
    packetSize = header.totalSize;
    totalParts = header.totalParts;
    partNumber = header.partNumber;
    identifier = header.identifier;
    object = header.object;
    logOut() << "Packet size: " << packetSize;
    logOut() << "Total parts: " << totalParts;
    logOut() << "Part number: " << partNumber;
    logOut() << "Identifier: " << identifier;
    logOut() << "Object: " << object;
}

// Range and order tests of the part number; false drops the frame. Within a
// message the header is not read again, so a second part is judged by the
// first part's number and fails here: only single-part messages get through.
bool acceptsPart(Connection& connection, const Route& route) {
    if (static_cast<uint16_t>(partNumber - 1) >= totalParts) {
        logErr() << "Invalid part number: " << partNumber;
        return false;
    }
    if (connection.lastPart == 0) {
        if (partNumber == 1) return true;
        logErr() << "First part number must be 1. Skipping packet.";
        return false;
    }
    if (partNumber == connection.lastPart + 1) return true;
    if (route.jsonBookkeeping) logErr() << kReceiveSeparator;
    logErr() << "Part number out of sequence: " << partNumber;
    connection.forgetMessage();
    waitClear = 0;
    if (route.jsonBookkeeping) receivedBytes = 0;
    return false;
}

std::string assemble(const Connection& connection) {
    std::string message;
    for (uint32_t part = 1; part <= connection.expectedParts; ++part) {
        const auto found = connection.parts.find(static_cast<int>(part));
        if (found == connection.parts.end()) {
            logErr() << "Missing part " << part << " of the message";
            continue;
        }
        message += found->second;
    }
    return message;
}

void collectPart(Connection& connection, const Route& route, const unsigned char* data, size_t length) {
    if (!acceptsPart(connection, route)) return;
    if (route.jsonBookkeeping)
        logOut() << "Part number  : " << partNumber << " / last part number  : " << connection.lastPart;
    if (connection.expectedParts == 0) {
        connection.expectedParts = totalParts;
        connection.expectedSize = packetSize;
        logOut() << route.totalSizeLabel << connection.expectedSize;
    }
    // The size field is not compared with what arrived.
    connection.parts[partNumber] = std::string(data + kHeaderSize, data + length);
    connection.lastPart = partNumber;
    if (connection.parts.size() != connection.expectedParts) return;
    // A parser exception leaves the message in place: the next frame then
    // fails the order test and clears it.
    route.deliver(assemble(connection), connection.expectedSize);
    connection.forgetMessage();
    if (route.jsonBookkeeping) waitClear = 0;
}

}  // namespace

void Connection::forgetMessage() {
    parts.clear();
    expectedParts = 0;
    lastPart = 0;
    expectedSize = 0;
}

FrameOutcome handleFrame(Connection& connection, const unsigned char* data, size_t length) {
    // Too short for a header: nothing usable.
    if (length < kHeaderSize) return FrameOutcome::Handled;
    if (connection.expectedParts == 0) readHeaderIntoGlobals(data);
    if (identifier == kOtaDataCode && object == kKindOtaData) return handleOtaFrame(connection, data, length);
    collectPart(connection, object == kKindJig ? kJigRoute : kJsonRoute, data, length);
    return FrameOutcome::Handled;
}

}  // namespace robocomm
