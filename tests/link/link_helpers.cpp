#include "link_helpers.h"

#include <openssl/sha.h>

#include <cstdio>

#include "robocomm/intake.h"

namespace linktest {

std::string sha256(const std::string& bytes) {
    unsigned char digest[SHA256_DIGEST_LENGTH];
    SHA256(reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size(), digest);
    return std::string(reinterpret_cast<const char*>(digest), sizeof digest);
}

std::string hex(const std::string& bytes) {
    std::string text;
    char pair[3];
    for (unsigned char byte : bytes) {
        std::snprintf(pair, sizeof pair, "%02x", byte);
        text += pair;
    }
    return text;
}

bool commandDelivered(robotest::LinkClient& client) {
    globalGetPosition.pending = 0;
    client.sendCommand(1, "{}");
    const bool raised = waitUntil([] { return globalGetPosition.pending == 1; });
    globalGetPosition.pending = 0;
    return raised;
}

std::string pattern(size_t count) {
    std::string bytes(count, '\0');
    for (size_t i = 0; i < count; ++i) bytes[i] = static_cast<char>(i % 251);
    return bytes;
}

}  // namespace linktest
