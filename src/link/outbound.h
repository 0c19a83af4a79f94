// What the framed senders share: slicing a payload into packets, building
// chunked frames, the per-packet log and the pause that paces the link.
#pragma once

#include <cstddef>
#include <memory>

#include "link/frame.h"
#include "link/log_lines.h"

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
// One buffer serves every frame of a message: room for the header and the
// largest slice. Left uninitialised, as every byte sent is written first.
std::unique_ptr<unsigned char[]> chunkFrameBuffer(size_t payloadSize);
// Writes the header and the slice of `part` into `frame`.
void fillChunkFrame(unsigned char* frame, const unsigned char* payload, size_t payloadSize, size_t part, size_t parts,
                    char identifier, char object);

// The "Sending part" to "Object: " lines, the last without its line end.
void logPacket(LogLine& log, const PacketInfo& info);
// Every sent packet is followed by this pause: the link's rate limit.
void pacePacket();

}  // namespace robocomm
