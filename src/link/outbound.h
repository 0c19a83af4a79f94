// What the framed senders share: slicing a payload into packets, building
// chunked frames, the per-packet log and the pause that paces the link.
#pragma once

#include <cstddef>
#include <vector>

#include "link/frame.h"

namespace robocomm {

// Bytes [start, end) of the message payload carried by one packet. Signed:
// the log layout can place a slice beyond the payload's end.
struct Slice {
    long long start;
    long long end;
    long long length() const { return end - start; }
};

struct PacketInfo {
    long long part;
    long long parts;
    Slice slice;
    long long packetLength;
    char identifier;
    char object;
};

// Chunked layout: ceil(size / 32768) parts, part k (from 1) carrying
// bytes (k-1)*32768 up to k*32768.
size_t chunkCount(size_t payloadSize);
Slice chunkSlice(size_t part, size_t payloadSize);
// A zero-filled frame of the full 32778 bytes holding the header and the slice.
std::vector<unsigned char> chunkFrame(const unsigned char* payload, size_t payloadSize, size_t part, size_t parts,
                                      char identifier, char object);

// The "Sending part" to "Object: " lines on standard output.
void logPacket(const PacketInfo& info);
// Every sent packet is followed by this pause: the link's rate limit.
void pacePacket();

}  // namespace robocomm
