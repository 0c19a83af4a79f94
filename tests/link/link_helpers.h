// Shared by the link tests: bounded waits, expected wire bytes, and the proof
// that the link still delivers commands.
#pragma once

#include <openssl/sha.h>

#include <chrono>
#include <cstdint>
#include <string>
#include <thread>

#include "robocomm/intake.h"
#include "support/link_client.h"

namespace linktest {

template <typename Condition>
bool waitUntil(Condition condition, std::chrono::milliseconds timeout = std::chrono::seconds(3)) {
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    while (!condition()) {
        if (std::chrono::steady_clock::now() >= deadline) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return true;
}

// The 10 header bytes as they must appear on the wire, spelled out apart from
// the library's own header code.
inline std::string header(uint32_t size, uint16_t parts, uint16_t part, uint8_t code, uint8_t kind) {
    const uint64_t fields = uint64_t{size} << 32 | uint64_t{parts} << 16 | part;
    std::string bytes;
    for (int shift = 56; shift >= 0; shift -= 8) bytes += static_cast<char>(fields >> shift);
    return bytes + static_cast<char>(code) + static_cast<char>(kind);
}

inline bool contains(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

// Raw SHA-256 of the bytes.
inline std::string sha256(const std::string& bytes) {
    unsigned char digest[SHA256_DIGEST_LENGTH];
    SHA256(reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size(), digest);
    return std::string(reinterpret_cast<const char*>(digest), sizeof digest);
}

// `count` bytes 0, 1, 2, ... wrapping at 251, so that slices are told apart.
inline std::string pattern(size_t count) {
    std::string bytes(count, '\0');
    for (size_t i = 0; i < count; ++i) bytes[i] = static_cast<char>(i % 251);
    return bytes;
}

// A position query (code 1) from the client raised the position mailbox:
// the link is alive and delivers commands. The mailbox is read through its
// poll, as the host reads it, never behind the receive thread's back.
inline bool commandDelivered(robotest::LinkClient& client, const std::string& json = "{}") {
    reqGetPosition();
    client.sendCommand(1, json);
    return waitUntil([] { return reqGetPosition() == 1; });
}

}  // namespace linktest
