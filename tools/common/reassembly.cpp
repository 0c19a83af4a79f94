#include "common/reassembly.h"

#include <algorithm>

#include "common/failure.h"
#include "link/frame.h"

namespace robocomm::tools {

namespace {

// No robot answer is larger than a full-size log bundle and its padding.
constexpr size_t kMaxMessage = 256u << 20;

FrameHeader headerOf(const std::string& frame) {
    return readHeader(reinterpret_cast<const unsigned char*>(frame.data()));
}

// Payload bytes of this frame in the chunked layout.
size_t chunkLength(const FrameHeader& header) {
    if (header.partNumber == 0) return 0;
    const size_t start = static_cast<size_t>(header.partNumber - 1) * kChunkPayload;
    if (start >= header.totalSize) return 0;
    return std::min(kChunkPayload, header.totalSize - start);
}

}  // namespace

size_t Reassembly::frameSize(const std::string& buffered) {
    const FrameHeader header = headerOf(buffered);
    if (header.totalSize > kMaxMessage)
        throw Failure(Exit::BadData, "the robot announced a message of " + std::to_string(header.totalSize) +
                                         " bytes; not a frame of this protocol");
    return kHeaderSize + chunkLength(header);
}

std::optional<Message> Reassembly::add(const std::string& frame) {
    const FrameHeader header = headerOf(frame);
    const uint16_t slot = static_cast<uint16_t>(header.identifier << 8 | header.object);
    std::string& partial = partials_[slot];
    if (header.partNumber <= 1) partial.clear();
    partial.append(frame, kHeaderSize, std::string::npos);
    if (header.partNumber < header.totalParts) return std::nullopt;
    Message message{header.identifier, header.object, std::move(partial)};
    partials_.erase(slot);
    return message;
}

}  // namespace robocomm::tools
