#include "link/outbound.h"

#include <unistd.h>

#include <algorithm>
#include <cstring>

namespace robocomm {

namespace {

constexpr useconds_t kPacketPauseMicros = 100000;

// The target's char is unsigned, so header bytes are logged as 0 to 255.
int byteValue(char c) { return static_cast<unsigned char>(c); }

}  // namespace

size_t chunkCount(size_t payloadSize) { return (payloadSize + kChunkPayload - 1) / kChunkPayload; }

Slice chunkSlice(size_t part, size_t payloadSize) {
    const size_t start = (part - 1) * kChunkPayload;
    const size_t end = std::min(part * kChunkPayload, payloadSize);
    return {static_cast<long long>(start), static_cast<long long>(end)};
}

std::unique_ptr<unsigned char[]> chunkFrameBuffer(size_t payloadSize) {
    return std::unique_ptr<unsigned char[]>(new unsigned char[kHeaderSize + std::min(payloadSize, kChunkPayload)]);
}

void fillChunkFrame(unsigned char* frame, const unsigned char* payload, size_t payloadSize, size_t part, size_t parts,
                    char identifier, char object) {
    const FrameHeader header{static_cast<uint32_t>(payloadSize), static_cast<uint16_t>(parts),
                             static_cast<uint16_t>(part), static_cast<uint8_t>(identifier),
                             static_cast<uint8_t>(object)};
    writeHeader(header, frame);
    const Slice slice = chunkSlice(part, payloadSize);
    if (slice.length() > 0) std::memcpy(frame + kHeaderSize, payload + slice.start, slice.length());
}

void logPacket(LogLine& log, const PacketInfo& info) {
    log << "Sending part " << info.part << " of " << info.parts << '\n';
    log << "Start index: " << info.slice.start << ", End index: " << info.slice.end << '\n';
    log << "Packet length: " << info.packetLength << '\n';
    log << "Identifier: " << byteValue(info.identifier) << '\n';
    log << "Object: " << byteValue(info.object);
}

void pacePacket() { usleep(kPacketPauseMicros); }

}  // namespace robocomm
