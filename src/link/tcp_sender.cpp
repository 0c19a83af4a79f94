// The two senders that write to the connected client: JSON documents in the
// chunked layout and the log bundle in the stream layout, both sent while
// their payload is produced.
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <stdexcept>
#include <vector>

#include "link/log_lines.h"
#include "link/outbound.h"
#include "link/peer.h"
#include "link/tcp_streams.h"
#include "robocomm/link.h"
#include "robocomm/security.h"

namespace {

using robocomm::PacketInfo;
using robocomm::Slice;

// The stream layout's part count adds the digest bytes to the payload
// (size + 32 + 1399) / 1400, although its slices are cut from the payload alone.
constexpr long long kStreamCountBias = robocomm::kDigestSize + robocomm::kStreamSlice - 1;
// Text is enciphered in pieces of this size: the ciphertext held at once.
constexpr size_t kCipherPiece = 4096;
// The digest pass reads the stream layout's payload in pieces of this size.
constexpr size_t kDigestPiece = 65536;

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

// Copies the payload's next `length` bytes to `out`.
void readExactly(robocomm::PayloadSource& payload, unsigned char* out, size_t length) {
    while (length > 0) {
        const unsigned char* at = nullptr;
        const size_t got = payload.read(at, length);
        if (got == 0) throw std::runtime_error("payload shorter than announced");
        std::memcpy(out, at, got);
        out += got;
        length -= got;
    }
}

std::array<unsigned char, robocomm::kDigestSize> digestOf(robocomm::PayloadSource& payload, long long payloadSize) {
    robocomm::DigestStream digest;
    for (auto left = static_cast<size_t>(payloadSize); left > 0;) {
        const unsigned char* at = nullptr;
        const size_t got = payload.read(at, std::min(left, kDigestPiece));
        if (got == 0) throw std::runtime_error("payload shorter than announced");
        digest.update(at, got);
        left -= got;
    }
    payload.restart();
    return digest.finish();
}

// A payload already in memory.
class MemoryPayload : public robocomm::PayloadSource {
public:
    MemoryPayload(const unsigned char* data, size_t size) : data_(data), size_(size) {}
    size_t read(const unsigned char*& at, size_t most) override {
        const size_t count = std::min(most, size_ - offset_);
        at = data_ + offset_;
        offset_ += count;
        return count;
    }
    void restart() override { offset_ = 0; }

private:
    const unsigned char* data_;
    size_t size_;
    size_t offset_ = 0;
};

}  // namespace

namespace robocomm {

bool openMessage() {
    logOut() << "sendLargeJsonData #1";
    if (clientfd > 0) return true;
    logErr() << "Invalid client socket";
    return false;
}

ChunkedMessage::ChunkedMessage(size_t textLength, char identifier, char object)
    : identifier_(identifier), object_(object), live_(openMessage()) {
    if (!live_) return;
    payloadSize_ = textLength;
    if (enableEnc) {
        cipher_.emplace(key, iv);
        // A cipher that could not be set up yields no payload, and so no frame.
        payloadSize_ = cipher_->ok() ? EncryptStream::cipherLength(textLength) : 0;
    }
    parts_ = chunkCount(payloadSize_);
    frame_ = chunkFrameBuffer(payloadSize_);
}

bool ChunkedMessage::write(const char* text, size_t length) {
    const auto* bytes = reinterpret_cast<const unsigned char*>(text);
    if (!cipher_) {
        append(bytes, length);
        return live_;
    }
    for (size_t done = 0; live_ && done < length;) {
        const size_t piece = std::min(kCipherPiece, length - done);
        // CBC gives out whole blocks of what it has taken in so far.
        const size_t coming = (enciphered_ + piece) / 16 * 16 - enciphered_ / 16 * 16;
        enciphered_ += piece;
        unsigned char* out = cipherRoom(coming);
        placeCipher(out, cipher_->update(bytes + done, piece, out));
        done += piece;
    }
    return live_;
}

void ChunkedMessage::finish() {
    if (live_ && cipher_) {
        unsigned char* out = cipherRoom(16);
        placeCipher(out, cipher_->finish(out));
    }
    if (live_) logOut() << "Large JSON data sent to client";
}

// Ciphertext goes straight into the frame where it fits (a small answer never
// needs more), otherwise through a piece of its own.
unsigned char* ChunkedMessage::cipherRoom(size_t coming) {
    if (part_ <= parts_ && static_cast<size_t>(chunkSlice(part_, payloadSize_).length()) - filled_ >= coming)
        return frame_.get() + kHeaderSize + filled_;
    if (!cipherPiece_) cipherPiece_.reset(new unsigned char[kCipherPiece + 16]);
    return cipherPiece_.get();
}

void ChunkedMessage::placeCipher(const unsigned char* out, size_t length) {
    if (out != cipherPiece_.get()) {
        filled_ += length;
        if (part_ <= parts_ && filled_ == static_cast<size_t>(chunkSlice(part_, payloadSize_).length())) sendFrame();
        return;
    }
    append(out, length);
}

void ChunkedMessage::append(const unsigned char* payload, size_t length) {
    while (live_ && length > 0 && part_ <= parts_) {
        const auto slice = static_cast<size_t>(chunkSlice(part_, payloadSize_).length());
        const size_t take = std::min(length, slice - filled_);
        std::memcpy(frame_.get() + kHeaderSize + filled_, payload, take);
        filled_ += take;
        payload += take;
        length -= take;
        if (filled_ == slice) sendFrame();
    }
}

void ChunkedMessage::sendFrame() {
    const FrameHeader header{static_cast<uint32_t>(payloadSize_), static_cast<uint16_t>(parts_),
                             static_cast<uint16_t>(part_), static_cast<uint8_t>(identifier_),
                             static_cast<uint8_t>(object_)};
    writeHeader(header, frame_.get());
    const Slice slice = chunkSlice(part_, payloadSize_);
    const PacketInfo info{static_cast<long long>(part_), static_cast<long long>(parts_), slice,
                          slice.length() + static_cast<long long>(kHeaderSize), identifier_, object_};
    live_ = sendPacket(frame_.get(), info);
    ++part_;
    filled_ = 0;
}

void sendStreamLayout(PayloadSource& payload, long long payloadSize, char identifier, char object) {
    const long long parts = (payloadSize + kStreamCountBias) / static_cast<long long>(kStreamSlice);
    std::vector<unsigned char> packet(kHeaderSize + kDigestSize + kStreamSlice);
    for (long long part = 1; part <= parts; ++part) {
        const Slice slice = streamSlice(part, payloadSize);
        // The digest counted into the parts can place the last slice past the
        // payload's end; building that packet fails with the vector's length
        // error, after the earlier packets went out. The caller receives it.
        if (slice.length() < 0) throw std::length_error("cannot create std::vector larger than max_size()");
        const auto length = static_cast<size_t>(slice.length());
        size_t offset = 0;
        if (part == 1) {
            const FrameHeader header{static_cast<uint32_t>(payloadSize), static_cast<uint16_t>(parts), 1,
                                     static_cast<uint8_t>(identifier), static_cast<uint8_t>(object)};
            writeHeader(header, packet.data());
            // Only now is the payload known not to be negative in length.
            const auto digest = digestOf(payload, payloadSize);
            std::memcpy(packet.data() + kHeaderSize, digest.data(), kDigestSize);
            offset = kHeaderSize + kDigestSize;
        }
        readExactly(payload, packet.data() + offset, length);
        const PacketInfo info{part, parts, slice, static_cast<long long>(offset + length), identifier, object};
        if (!sendPacket(packet.data(), info)) return;
    }
    logOut() << "Large JSON data sent to client";
}

}  // namespace robocomm

void sendLargeJsonData(const std::string& text, char identifier, char object) {
    robocomm::ChunkedMessage message(text.size(), identifier, object);
    message.write(text.data(), text.size());
    message.finish();
}

void sendLargeJsonDataLog(const unsigned char* data, int length, char identifier, char object) {
    if (!robocomm::openMessage()) return;
    std::vector<unsigned char> cipher;
    const unsigned char* payload = data;
    long long payloadSize = length;
    if (enableEnc) {
        encryptData(data, static_cast<unsigned long>(length), cipher, key, iv);
        payload = cipher.data();
        payloadSize = static_cast<long long>(cipher.size());
    }
    MemoryPayload source(payload, static_cast<size_t>(payloadSize));
    robocomm::sendStreamLayout(source, payloadSize, identifier, object);
}
