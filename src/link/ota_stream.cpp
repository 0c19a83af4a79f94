#include "link/ota_stream.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>

#include "intake/mailbox_access.h"
#include "link/log_lines.h"
#include "robocomm/intake.h"
#include "robocomm/link.h"
#include "robocomm/responses.h"
#include "security/hex.h"

namespace robocomm {

namespace {

constexpr size_t kImageOffset = kHeaderSize + kDigestSize;
constexpr int kProgressStep = 5;
constexpr int kStateReceiving = 1;
constexpr int kStateComplete = 2;

// Converting a NaN or out-of-range double to int is undefined in C++; this
// saturates as the target's conversion instruction does (NaN gives 0). Only
// an announced size of 0, or far more bytes than announced, gets there.
int progressPercent(uint64_t expectedSize) {
    const double percent = static_cast<double>(receivedBytes) / static_cast<double>(expectedSize) * 100;
    if (std::isnan(percent)) return 0;
    if (percent >= static_cast<double>(INT_MAX)) return INT_MAX;
    return static_cast<int>(percent);
}

// A client must not send more image bytes than it announced; those that it
// does send anyway are counted but not stored, since they would land past
// the end of packetData.
void storeImageBytes(const Connection& connection, uint64_t offset, const unsigned char* bytes, size_t count) {
    if (offset >= connection.otaCapacity) return;
    std::memcpy(packetData + offset, bytes, std::min<uint64_t>(count, connection.otaCapacity - offset));
}

// False when the image buffer cannot be allocated.
bool beginTransfer(Connection& connection, const unsigned char* data, size_t length) {
    connection.expectedSize = packetSize;
    // A first frame shorter than 42 bytes carries only part of the digest
    // (the rest reads as zero) and no image bytes.
    connection.otaDigest.fill(0);
    std::memcpy(connection.otaDigest.data(), data + kHeaderSize, std::min(length - kHeaderSize, kDigestSize));
    // Total parts only marks the transfer as under way.
    connection.expectedParts = totalParts;
    // An interrupted transfer leaves its buffer behind on purpose; once a new
    // transfer replaces packetData nothing can reach it any more.
    std::free(packetData);
    packetData = static_cast<unsigned char*>(std::malloc(connection.expectedSize));
    if (packetData == nullptr) {
        std::printf("메모리 할당 실패!\n");
        std::fflush(stdout);
        connection.parts.clear();
        return false;
    }
    connection.otaCapacity = connection.expectedSize;
    const size_t imageBytes = length > kImageOffset ? length - kImageOffset : 0;
    storeImageBytes(connection, 0, data + kImageOffset, imageBytes);
    receivedBytes += static_cast<uint32_t>(imageBytes);
    resSetOTAdata(progressPercent(connection.expectedSize), kStateReceiving);
    previousValue = -1;
    return true;
}

// Later frames are all image bytes; progress is pushed once per multiple of 5.
void continueTransfer(const Connection& connection, const unsigned char* data, size_t length) {
    logOut() << "receivedBytes : " << receivedBytes << " / " << connection.expectedSize;
    storeImageBytes(connection, receivedBytes, data, length);
    receivedBytes += static_cast<uint32_t>(length);
    const int percent = progressPercent(connection.expectedSize);
    if (percent % kProgressStep != 0 || percent == previousValue) return;
    resSetOTAdata(percent, kStateReceiving);
    previousValue = percent;
}

// Hands the image to the host through the mailbox; checking it against the
// digest is the host's call.
void completeTransfer(Connection& connection) {
    logOut() << "All data has been received.";
    resSetOTAdata(100, kStateComplete);
    const uint64_t imageSize = std::min<uint64_t>(packetSize, connection.otaCapacity);
    {
        // The host may be copying the mailbox out right now: a vector replaced
        // under it would tear, so this takes the lock the polls take.
        std::lock_guard<std::mutex> lock(mailboxMutex());
        globalOTAdata.imageData.assign(packetData, packetData + imageSize);
        globalOTAdata.imageChecksum = hexText(connection.otaDigest.data(), connection.otaDigest.size());
        storePending(globalOTAdata.pending, 1);
    }
    std::free(packetData);
    // Not left dangling for the host or for a later transfer.
    packetData = nullptr;
    logOut() << "Global OTA data initialized with size: " << globalOTAdata.imageData.size();
    connection.forgetMessage();
    connection.otaCapacity = 0;
    receivedBytes = 0;
}

}  // namespace

FrameOutcome handleOtaFrame(Connection& connection, const unsigned char* data, size_t length) {
    if (connection.expectedParts == 0 && connection.expectedSize == 0) {
        if (!beginTransfer(connection, data, length)) return FrameOutcome::OutOfMemory;
    } else {
        continueTransfer(connection, data, length);
    }
    if (connection.expectedSize > receivedBytes) return FrameOutcome::Handled;
    completeTransfer(connection);
    return FrameOutcome::Handled;
}

}  // namespace robocomm
