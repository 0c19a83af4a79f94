// The two senders that write to the connected client: JSON documents in the
// chunked layout and the log bundle in the stream layout.
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <stdexcept>
#include <vector>

#include "link/log_lines.h"
#include "link/outbound.h"
#include "link/peer.h"
#include "robocomm/link.h"
#include "robocomm/security.h"

namespace {

using robocomm::PacketInfo;
using robocomm::Slice;

// The stream layout's part count adds the digest bytes to the payload
// (size + 32 + 1399) / 1400, although its slices are cut from the payload alone.
constexpr long long kStreamCountBias = robocomm::kDigestSize + robocomm::kStreamSlice - 1;

bool haveClient() {
    if (clientfd > 0) return true;
    robocomm::logErr() << "Invalid client socket";
    return false;
}

// Logs the packet's lines and the peer's in one write: the peer lookup comes
// first, its failure reported after the lines as when each line was flushed
// on its own.
void logPacketAndPeer(const PacketInfo& info) {
    robocomm::Peer peer{};
    const bool known = robocomm::lookUpPeer(clientfd, peer);
    const int lookupError = errno;
    {
        auto log = robocomm::logOut();
        log << robocomm::kSendSeparator << '\n';
        robocomm::logPacket(log, info);
        log << '\n' << robocomm::kSendSeparator;
        if (known) {
            log << '\n';
            robocomm::logPeer(log, peer);
        }
    }
    if (!known) {
        errno = lookupError;
        perror("getpeername failed");
    }
}

// Logs, sends and paces one packet. False when the send failed: the rest of
// the message is then abandoned.
bool sendPacket(const unsigned char* packet, const PacketInfo& info) {
    logPacketAndPeer(info);
    // A short write is neither detected nor completed, as the client expects
    // one frame per send.
    if (send(clientfd, packet, static_cast<size_t>(info.packetLength), 0) < 0) {
        perror("send failed");
        return false;
    }
    robocomm::pacePacket();
    return true;
}

Slice streamSlice(long long part, long long payloadSize) {
    const long long start = (part - 1) * static_cast<long long>(robocomm::kStreamSlice);
    return {start, std::min(start + static_cast<long long>(robocomm::kStreamSlice), payloadSize)};
}

// First packet of the stream layout: header, digest of the whole payload, first slice.
std::vector<unsigned char> streamHead(const unsigned char* payload, long long payloadSize, long long parts,
                                      const Slice& slice, char identifier, char object) {
    std::vector<unsigned char> packet(robocomm::kHeaderSize + robocomm::kDigestSize + slice.length());
    const robocomm::FrameHeader header{static_cast<uint32_t>(payloadSize), static_cast<uint16_t>(parts), 1,
                                       static_cast<uint8_t>(identifier), static_cast<uint8_t>(object)};
    robocomm::writeHeader(header, packet.data());
    const auto digest = compute_sha256(payload, static_cast<unsigned long>(payloadSize));
    std::memcpy(packet.data() + robocomm::kHeaderSize, digest.data(), robocomm::kDigestSize);
    if (slice.length() > 0)
        std::memcpy(packet.data() + robocomm::kHeaderSize + robocomm::kDigestSize, payload, slice.length());
    return packet;
}

}  // namespace

void sendLargeJsonData(const std::string& text, char identifier, char object) {
    robocomm::logOut() << "sendLargeJsonData #1";
    if (!haveClient()) return;
    std::vector<unsigned char> cipher;
    const auto* payload = reinterpret_cast<const unsigned char*>(text.data());
    size_t payloadSize = text.size();
    if (enableEnc) {
        encryptData(text, cipher, key, iv);
        payload = cipher.data();
        payloadSize = cipher.size();
    }

    const size_t parts = robocomm::chunkCount(payloadSize);
    const auto frame = robocomm::chunkFrameBuffer(payloadSize);
    for (size_t part = 1; part <= parts; ++part) {
        robocomm::fillChunkFrame(frame.get(), payload, payloadSize, part, parts, identifier, object);
        const Slice slice = robocomm::chunkSlice(part, payloadSize);
        const PacketInfo info{static_cast<long long>(part), static_cast<long long>(parts), slice,
                              slice.length() + static_cast<long long>(robocomm::kHeaderSize), identifier, object};
        if (!sendPacket(frame.get(), info)) return;
    }
    robocomm::logOut() << "Large JSON data sent to client";
}

void sendLargeJsonDataLog(const unsigned char* data, int length, char identifier, char object) {
    robocomm::logOut() << "sendLargeJsonData #1";
    if (!haveClient()) return;
    std::vector<unsigned char> cipher;
    const unsigned char* payload = data;
    long long payloadSize = length;
    if (enableEnc) {
        encryptData(data, static_cast<unsigned long>(length), cipher, key, iv);
        payload = cipher.data();
        payloadSize = static_cast<long long>(cipher.size());
    }

    const long long parts = (payloadSize + kStreamCountBias) / static_cast<long long>(robocomm::kStreamSlice);
    for (long long part = 1; part <= parts; ++part) {
        const Slice slice = streamSlice(part, payloadSize);
        // The digest counted into the parts can place the last slice past the
        // payload's end; building that packet fails with the vector's length
        // error, after the earlier packets went out. The caller receives it.
        if (slice.length() < 0) throw std::length_error("cannot create std::vector larger than max_size()");
        if (part == 1) {
            const auto head = streamHead(payload, payloadSize, parts, slice, identifier, object);
            const PacketInfo info{part, parts, slice, static_cast<long long>(head.size()), identifier, object};
            if (!sendPacket(head.data(), info)) return;
        } else {
            const PacketInfo info{part, parts, slice, slice.length(), identifier, object};
            if (!sendPacket(payload + slice.start, info)) return;
        }
    }
    robocomm::logOut() << "Large JSON data sent to client";
}
