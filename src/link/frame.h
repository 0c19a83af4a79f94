// The 10-byte frame header shared by every layout on TCP and UDP, in both
// directions. Multi-byte fields are big-endian.
#pragma once

#include <cstddef>
#include <cstdint>

namespace robocomm {

constexpr size_t kHeaderSize = 10;
// Chunked layout: every frame carries a header and up to this many payload bytes.
constexpr size_t kChunkPayload = 32768;
constexpr size_t kMaxFrame = kHeaderSize + kChunkPayload;
// Stream layout (log bundle, firmware image): digest after the first header.
constexpr size_t kDigestSize = 32;
constexpr size_t kStreamSlice = 1400;

// Message kinds, header byte 9.
constexpr uint8_t kKindAnswer = 2;
constexpr uint8_t kKindOtaData = 14;
constexpr uint8_t kKindPush = 15;
constexpr uint8_t kKindJig = 200;

constexpr uint8_t kOtaDataCode = 81;

struct FrameHeader {
    uint32_t totalSize;
    uint16_t totalParts;
    uint16_t partNumber;
    uint8_t identifier;
    uint8_t object;
};

inline void writeHeader(const FrameHeader& h, unsigned char* out) {
    out[0] = static_cast<unsigned char>(h.totalSize >> 24);
    out[1] = static_cast<unsigned char>(h.totalSize >> 16);
    out[2] = static_cast<unsigned char>(h.totalSize >> 8);
    out[3] = static_cast<unsigned char>(h.totalSize);
    out[4] = static_cast<unsigned char>(h.totalParts >> 8);
    out[5] = static_cast<unsigned char>(h.totalParts);
    out[6] = static_cast<unsigned char>(h.partNumber >> 8);
    out[7] = static_cast<unsigned char>(h.partNumber);
    out[8] = h.identifier;
    out[9] = h.object;
}

inline FrameHeader readHeader(const unsigned char* in) {
    FrameHeader h;
    h.totalSize = static_cast<uint32_t>(in[0]) << 24 | static_cast<uint32_t>(in[1]) << 16 |
                  static_cast<uint32_t>(in[2]) << 8 | in[3];
    h.totalParts = static_cast<uint16_t>(in[4] << 8 | in[5]);
    h.partNumber = static_cast<uint16_t>(in[6] << 8 | in[7]);
    h.identifier = in[8];
    h.object = in[9];
    return h;
}

// How many bytes the frame that begins with `head` (`available` bytes of it
// so far) has to hold before it is read as one: a whole header first; then
// the header and the slice its part carries in the chunked layout, or the
// header and digest that open a firmware stream, whose image bytes may come
// in pieces of any size.
inline size_t announcedFrameLength(const unsigned char* head, size_t available) {
    if (available < kHeaderSize) return kHeaderSize;
    const FrameHeader h = readHeader(head);
    if (h.identifier == kOtaDataCode && h.object == kKindOtaData) return kHeaderSize + kDigestSize;
    const uint64_t start = (static_cast<uint64_t>(h.partNumber) - 1) * kChunkPayload;
    if (h.partNumber == 0 || start >= h.totalSize) return kHeaderSize;
    const uint64_t slice = h.totalSize - start < kChunkPayload ? h.totalSize - start : kChunkPayload;
    return kHeaderSize + static_cast<size_t>(slice);
}

}  // namespace robocomm
