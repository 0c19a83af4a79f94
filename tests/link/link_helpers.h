// Shared by the link tests: waiting with a bound, digests and the proof that
// the link still delivers commands.
#pragma once

#include <chrono>
#include <string>
#include <thread>

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

// Raw SHA-256 of the bytes, and lowercase hexadecimal of any bytes.
std::string sha256(const std::string& bytes);
std::string hex(const std::string& bytes);

// A position query (code 1) from the client raised the position mailbox:
// the link is alive and delivers commands.
bool commandDelivered(robotest::LinkClient& client);

// `count` bytes 0, 1, 2, ... wrapping at 251 so slices are told apart.
std::string pattern(size_t count);

}  // namespace linktest
